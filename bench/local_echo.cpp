#include "bench/local_echo.h"

#include <QCoreApplication>
#include <QtEndian>

#include <stdexcept>

namespace bench {

LocalEcho::LocalEcho(const QString &socket, EchoPace pace)
    : m_pace(pace)
{
    connect(&m_socket, &QLocalSocket::readyRead, this, &LocalEcho::answer);
    connect(&m_socket, &QLocalSocket::disconnected, QCoreApplication::instance(), &QCoreApplication::quit);
    m_socket.connectToServer(socket);
    if (!m_socket.waitForConnected())
        throw std::runtime_error("no link to " + socket.toStdString());
}

void LocalEcho::answer()
{
    constexpr qint64 kLengthBytes = sizeof(qint32);
    for (;;) {
        if (m_awaited == 0) {
            if (m_socket.bytesAvailable() < kLengthBytes)
                return;
            m_awaited = kLengthBytes + qFromBigEndian<qint32>(m_socket.peek(kLengthBytes).constData());
        }
        if (m_socket.bytesAvailable() < m_awaited)
            return;
        m_socket.write(m_socket.read(m_awaited));
        m_awaited = 0;
        if (m_pace == EchoPace::EachAtOnce)
            m_socket.flush();
    }
}

} // namespace bench

#include "hub/link.h"

#include "bus/frame.h"
#include "hub/log_line.h"

#include <QPointer>

namespace hub {

Link::Link(LinkId id, QLocalSocket *socket, qint64 sendLimit, QObject *parent)
    : QObject(parent)
    , m_id(id)
    , m_socket(socket)
    , m_sendLimit(sendLimit)
    , m_name(QStringLiteral("link %1").arg(id))
{
    socket->setParent(this);
    connect(socket, &QLocalSocket::readyRead, this, &Link::readFrames);
    connect(socket, &QLocalSocket::disconnected, this, [this] {
        if (std::exchange(m_open, false))
            emit closed(m_id);
    });
}

void Link::send(const QByteArray &frame)
{
    if (!m_open)
        return;
    if (!hasRoomFor(frame.size())) {
        abortBecause(QStringLiteral("more than %1 bytes wait for it and it does not read").arg(m_sendLimit));
        return;
    }
    // Not flushed: flush() reports a peer that has gone by closing the link here and now, in the middle of the
    // caller's work. The event loop writes as soon as it gets control.
    m_socket->write(frame);
}

void Link::readFrames()
{
    const QPointer<Link> self(this);
    QByteArray body;
    while (self && m_open) {
        switch (m_cutter.next(body)) {
        case bus::FrameCutter::Result::FrameReady:
            emit frameArrived(m_id, body);
            break;
        case bus::FrameCutter::Result::NeedMore:
            if (m_socket->bytesAvailable() > 0 && m_cutter.readFrom(*m_socket))
                break;
            return;
        case bus::FrameCutter::Result::TooLong:
            m_sentTooLongFrame = true;
            abortBecause(QStringLiteral("its frame is longer than %1 bytes").arg(bus::kFrameLimit));
            return;
        }
    }
}

void Link::abortBecause(const QString &reason)
{
    logLine(QStringLiteral("%1 is cut off: %2").arg(m_name, reason));
    m_socket->abort();
}

} // namespace hub

#include "ctl/frame_link.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <limits>

namespace ctl {
namespace {

int millisecondsLeft(QDeadlineTimer deadline)
{
    return int(std::min<qint64>(deadline.remainingTime(), std::numeric_limits<int>::max()));
}

} // namespace

FrameLink::FrameLink(QObject *parent)
    : QObject(parent)
{
    connect(&m_socket, &QLocalSocket::readyRead, this, &FrameLink::readFrames);
    connect(&m_socket, &QLocalSocket::bytesWritten, this, &FrameLink::changed);
    connect(&m_socket, &QLocalSocket::disconnected, this, &FrameLink::changed);
}

Outcome FrameLink::open(const QString &path, QDeadlineTimer deadline)
{
    m_socket.connectToServer(path);
    if (m_socket.state() == QLocalSocket::ConnectedState || m_socket.waitForConnected(millisecondsLeft(deadline)))
        return std::nullopt;
    m_missing = m_socket.error() == QLocalSocket::ServerNotFoundError ||
                m_socket.error() == QLocalSocket::ConnectionRefusedError;
    return Failure{m_socket.errorString()};
}

Outcome FrameLink::send(const QByteArray &frame)
{
    if (frame.size() - qsizetype(sizeof(qint32)) > bus::kFrameLimit) {
        return Failure{QStringLiteral("the request is too large: %1 bytes, a frame may hold %2")
                           .arg(frame.size())
                           .arg(bus::kFrameLimit),
                       true};
    }
    if (hasEnded() || m_socket.write(frame) != frame.size())
        return Failure{endReason()};
    return std::nullopt;
}

Outcome FrameLink::flush(QDeadlineTimer deadline)
{
    while (m_socket.bytesToWrite() > 0 && !hasEnded()) {
        if (deadline.hasExpired())
            return Failure{QStringLiteral("does not read what is sent to it")};
        waitForChange(deadline);
    }
    if (hasEnded())
        return Failure{endReason()};
    return std::nullopt;
}

std::optional<QByteArray> FrameLink::next(QDeadlineTimer deadline)
{
    while (m_frames.empty() && !hasEnded() && !deadline.hasExpired())
        waitForChange(deadline);
    if (m_frames.empty())
        return std::nullopt;
    QByteArray frame = std::move(m_frames.front());
    m_frames.pop_front();
    return frame;
}

void FrameLink::readFrames()
{
    m_cutter.append(m_socket.readAll());
    QByteArray body;
    auto result = m_cutter.next(body);
    for (; result == bus::FrameCutter::Result::FrameReady; result = m_cutter.next(body))
        m_frames.push_back(std::move(body));
    if (result == bus::FrameCutter::Result::TooLong) {
        m_endReason = QStringLiteral("sent a frame of more than %1 bytes, which cannot be taken").arg(bus::kFrameLimit);
        m_socket.abort();
    }
    emit changed();
}

void FrameLink::waitForChange(QDeadlineTimer deadline)
{
    QEventLoop loop;
    connect(this, &FrameLink::changed, &loop, &QEventLoop::quit);
    QTimer timer;
    if (!deadline.isForever()) {
        timer.setSingleShot(true);
        connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
        timer.start(millisecondsLeft(deadline));
    }
    loop.exec();
}

} // namespace ctl

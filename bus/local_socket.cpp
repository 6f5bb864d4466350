#include "bus/local_socket.h"

#include <cerrno>
#include <utility>

#include <sys/socket.h>

namespace {

/// Most bytes that are kept back to be sent together.
constexpr qsizetype kMostGathered = 64 * 1024;

/// Copying a larger frame to the others costs more than a system call of its own.
constexpr qsizetype kLargestGathered = 8 * 1024;

} // namespace

TMyLocalSocket::TMyLocalSocket(QObject *parent)
    : QLocalSocket(parent)
{
    connect(this, &QLocalSocket::readyRead, this, &TMyLocalSocket::processReadyRead);
    connect(this, &QLocalSocket::disconnected, this, &TMyLocalSocket::dropWaiting);
}

TMyLocalSocket::~TMyLocalSocket()
{
    // QLocalSocket says goodbye when of this only QLocalSocket is left.
    disconnect(this, nullptr, this, nullptr);
}

// Frames go straight to the system, and wait as they are where it does not take them: QLocalSocket would copy each into
// a buffer of its own and register with the event loop for it.
void TMyLocalSocket::send(const QByteArray &frame)
{
    sendGathered();
    if (isOpen()) // or that has met the end of the link
        sendOrWait(frame);
}

void TMyLocalSocket::gather(const QByteArray &frame)
{
    if (frame.size() > kLargestGathered) {
        send(frame);
        return;
    }
    m_gathered += frame;
    if (m_gathered.size() > kMostGathered)
        sendGathered();
}

void TMyLocalSocket::sendGathered()
{
    if (!m_gathered.isEmpty())
        sendOrWait(std::exchange(m_gathered, {}));
}

void TMyLocalSocket::sendOrWait(const QByteArray &frames)
{
    const qint64 sent = bytesToWrite() == 0 ? sendNow(frames) : 0;
    if (sent < 0) {
        // QLocalSocket meets the same error and tells of it.
        write(frames);
        flush();
        return;
    }
    if (sent == frames.size())
        return;
    if (m_waiting.isEmpty())
        m_sentOfFirst = qsizetype(sent);
    m_waiting.append(frames);
    // A frame may have come with much more room than it needs, and many may wait for long.
    if (frames.capacity() > 2 * frames.size())
        m_waiting.last().squeeze();
    m_waitingBytes += frames.size() - sent;
    if (!m_writable) {
        m_writable = std::make_unique<QSocketNotifier>(socketDescriptor(), QSocketNotifier::Write);
        connect(m_writable.get(), &QSocketNotifier::activated, this, &TMyLocalSocket::sendWaiting);
    }
}

/// How many bytes were taken; below 0 when the link is not in order.
qint64 TMyLocalSocket::sendNow(QByteArrayView bytes)
{
    const ssize_t sent =
        ::send(int(socketDescriptor()), bytes.data(), size_t(bytes.size()), MSG_DONTWAIT | MSG_NOSIGNAL);
    return sent < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : sent;
}

void TMyLocalSocket::sendWaiting()
{
    const qint64 sent = sendNow(QByteArrayView(m_waiting.first()).sliced(m_sentOfFirst));
    if (sent < 0) {
        // The peer has gone, which reading tells; nothing of this can reach it any more.
        dropWaiting();
        return;
    }
    m_sentOfFirst += qsizetype(sent);
    m_waitingBytes -= sent;
    if (m_sentOfFirst == m_waiting.first().size()) {
        m_waiting.removeFirst();
        m_sentOfFirst = 0;
    }
    if (m_waiting.isEmpty())
        stopWaiting();
}

void TMyLocalSocket::dropWaiting()
{
    m_gathered.clear();
    m_waiting.clear();
    m_waitingBytes = 0;
    stopWaiting();
}

void TMyLocalSocket::stopWaiting()
{
    if (!m_writable)
        return;
    m_writable->setEnabled(false);
    m_writable.release()->deleteLater(); // it may be the one that calls
}

void TMyLocalSocket::processReadyRead()
{
    emit NewData(this);
}

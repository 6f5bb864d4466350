#include "wire.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>
#include <utility>

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace support {

namespace {

constexpr int kChunk = 1 << 20;
constexpr int kRetryMs = 10;

bool makeAddress(const QString &path, sockaddr_un &address)
{
    const QByteArray name = QFile::encodeName(path);
    address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= qsizetype(sizeof address.sun_path))
        return false;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    return true;
}

bool waitFor(int descriptor, short events, int timeoutMs)
{
    pollfd entry{descriptor, events, 0};
    int ready = 0;
    do
        ready = ::poll(&entry, 1, timeoutMs);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

} // namespace

Wire::Wire(int descriptor)
    : m_descriptor(descriptor)
{}

Wire::Wire(Wire &&other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_received(std::move(other.m_received))
    , m_ended(other.m_ended)
{}

Wire &Wire::operator=(Wire &&other) noexcept
{
    if (this == &other)
        return *this;
    close();
    m_descriptor = std::exchange(other.m_descriptor, -1);
    m_received = std::move(other.m_received);
    m_ended = other.m_ended;
    return *this;
}

Wire::~Wire()
{
    close();
}

Wire Wire::connectTo(const QString &path, int timeoutMs)
{
    sockaddr_un address;
    if (!makeAddress(path, address))
        return {};
    const QDeadlineTimer deadline(timeoutMs);
    do {
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
            return Wire(descriptor);
        ::close(descriptor);
        QThread::msleep(kRetryMs);
    } while (!deadline.hasExpired());
    return {};
}

bool Wire::send(const QByteArray &bytes, int timeoutMs)
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count =
            ::send(m_descriptor, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0)
            sent += count;
        else if (errno != EAGAIN || !waitFor(m_descriptor, POLLOUT, timeoutMs))
            return false;
    }
    return true;
}

bool Wire::waitUntilRead(int timeoutMs) const
{
    const QDeadlineTimer deadline(timeoutMs);
    int unread = 0;
    while (::ioctl(m_descriptor, SIOCOUTQ, &unread) == 0 && unread > 0 && !deadline.hasExpired())
        QThread::usleep(200);
    return unread == 0;
}

bool Wire::fill(int timeoutMs)
{
    if (m_descriptor < 0 || m_ended || !waitFor(m_descriptor, POLLIN, timeoutMs))
        return false;
    static QByteArray chunk(kChunk, Qt::Uninitialized);
    const ssize_t count = ::recv(m_descriptor, chunk.data(), size_t(chunk.size()), MSG_DONTWAIT);
    if (count > 0)
        m_received.append(chunk.constData(), count);
    m_ended = count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR);
    return !m_ended;
}

QByteArray Wire::nextFrame(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        if (m_received.size() >= 4) {
            quint32 length = 0;
            for (int i = 0; i < 4; ++i)
                length = length << 8 | quint8(m_received[i]);
            if (m_received.size() - 4 >= qsizetype(length)) {
                const QByteArray frame = m_received.left(4 + qsizetype(length));
                m_received.remove(0, frame.size());
                return frame;
            }
        }
        if (!fill(int(deadline.remainingTime())))
            return {};
    }
}

bool Wire::ended(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!m_ended && fill(int(deadline.remainingTime())))
        m_received.clear();
    return m_ended;
}

bool Wire::isSilent()
{
    return m_received.isEmpty() && !fill(0) && !m_ended;
}

void Wire::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
    m_ended = false;
    m_received.clear();
}

Listener::Listener(const QString &path)
    : m_path(path)
{
    sockaddr_un address;
    if (!makeAddress(path, address))
        qFatal("socket path too long: %s", qPrintable(path));
    QFile::remove(path);
    m_descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::bind(m_descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(m_descriptor, 50) != 0)
        qFatal("cannot listen at %s: %s", qPrintable(path), std::strerror(errno));
}

Listener::~Listener()
{
    close();
}

Wire Listener::accept(int timeoutMs)
{
    if (m_descriptor < 0 || !waitFor(m_descriptor, POLLIN, timeoutMs))
        return {};
    return Wire(::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC));
}

bool Listener::hasCaller() const
{
    return m_descriptor >= 0 && waitFor(m_descriptor, POLLIN, 0);
}

void Listener::close()
{
    if (m_descriptor < 0)
        return;
    ::close(m_descriptor);
    m_descriptor = -1;
    QFile::remove(m_path);
}

} // namespace support

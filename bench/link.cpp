#include "bench/link.h"

#include <QtEndian>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int kPatienceMs = 30000;
constexpr qsizetype kLengthBytes = sizeof(qint32);
constexpr qsizetype kRoomBytes = 64 * 1024;

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

void waitFor(int descriptor, short event, const char *silence)
{
    pollfd waiting{descriptor, event, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, kPatienceMs);
    } while (ready < 0 && errno == EINTR);
    if (ready < 0)
        fail("poll");
    if (ready == 0)
        throw std::runtime_error(silence);
}

} // namespace

Link::Link(int descriptor)
    : m_descriptor(descriptor)
{}

Link::~Link()
{
    ::close(m_descriptor);
}

void Link::send(const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const auto written =
            ::send(m_descriptor, bytes.constData() + sent, static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (written < 0)
            fail("the link cannot be written to");
        sent += written;
    }
}

const QByteArray &Link::receive()
{
    if (!receiveOrEnd())
        throw std::runtime_error("the other end has closed the link");
    return m_frame;
}

bool Link::receiveOrEnd()
{
    m_frame.resize(kRoomBytes);
    qsizetype wanted = kLengthBytes;
    qsizetype arrived = 0;
    while (arrived < wanted) {
        waitFor(m_descriptor, POLLIN, "no answer in 30 s");
        const auto got =
            ::read(m_descriptor, m_frame.data() + arrived, static_cast<std::size_t>(m_frame.size() - arrived));
        if (got < 0)
            fail("the link cannot be read");
        if (got == 0)
            return false;
        arrived += got;
        if (arrived < kLengthBytes)
            continue;
        wanted = kLengthBytes + qFromBigEndian<qint32>(m_frame.constData());
        if (wanted > m_frame.size())
            m_frame.resize(wanted);
    }
    if (arrived != wanted)
        throw std::runtime_error("more arrived than was asked for");
    m_frame.resize(wanted);
    return true;
}

int acceptOne(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("the socket's path is too long: " + path);
    path.copy(address.sun_path, path.size());
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener < 0)
        fail("socket");
    if (::bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, 1) != 0)
        fail("cannot listen under " + path);
    waitFor(listener, POLLIN, "the service made no link in 30 s");
    const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    ::close(listener);
    ::unlink(path.c_str());
    if (descriptor < 0)
        fail("accept");
    return descriptor;
}

} // namespace bench

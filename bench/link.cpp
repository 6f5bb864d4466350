#include "bench/link.h"

#include <QtEndian>

#include <algorithm>
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

const QByteArray &Link::receive(int frames)
{
    if (!receiveOrEnd(frames))
        throw std::runtime_error("the other end has closed the link");
    return m_frames;
}

bool Link::receiveOrEnd(int frames)
{
    m_frames.resize(kRoomBytes);
    qsizetype arrived = 0;
    qsizetype whole = 0; // of it, in frames that are complete
    while (frames > 0) {
        qsizetype end = whole + kLengthBytes;
        if (arrived >= end)
            end += qFromBigEndian<qint32>(m_frames.constData() + whole);
        if (arrived >= end) {
            whole = end;
            --frames;
            continue;
        }
        if (end > m_frames.size() || arrived == m_frames.size())
            m_frames.resize(std::max(end, arrived + kRoomBytes));
        waitFor(m_descriptor, POLLIN, "no answer in 30 s");
        const auto got =
            ::read(m_descriptor, m_frames.data() + arrived, static_cast<std::size_t>(m_frames.size() - arrived));
        if (got < 0)
            fail("the link cannot be read");
        if (got == 0)
            return false;
        arrived += got;
    }
    if (arrived != whole)
        throw std::runtime_error("more arrived than was asked for");
    m_frames.resize(whole);
    return true;
}

pid_t Link::peer() const
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(m_descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        fail("the link's other end is unknown");
    return credentials.pid;
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

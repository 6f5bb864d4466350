#include "bench/link.h"

#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <vector>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);
constexpr qsizetype kRoomBytes = 64 * 1024;

[[noreturn]] void fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

void waitFor(int descriptor, short event, int patienceMs, const char *silence)
{
    pollfd waiting{descriptor, event, 0};
    int ready = 0;
    do {
        ready = poll(&waiting, 1, patienceMs);
    } while (ready < 0 && errno == EINTR);
    if (ready < 0)
        fail("poll");
    if (ready == 0)
        throw std::runtime_error(silence);
}

sockaddr_un addressOf(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("the socket's path is too long: " + path);
    path.copy(address.sun_path, path.size());
    return address;
}

int newSocket()
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        fail("socket");
    return descriptor;
}

} // namespace

Link::Link(int descriptor, int patienceMs)
    : m_descriptor(descriptor)
    , m_patienceMs(patienceMs)
{}

Link::~Link()
{
    ::close(m_descriptor);
}

void Link::send(QByteArrayView bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const auto written =
            ::send(m_descriptor, bytes.data() + sent, static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
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

QByteArray Link::receiveThrough(const QByteArray &last)
{
    QByteArray bytes;
    std::vector<char> room(kRoomBytes);
    while (!bytes.endsWith(last)) {
        const qsizetype got = readSome(room.data(), std::ssize(room));
        if (got == 0)
            throw std::runtime_error("the other end has closed the link");
        bytes.append(room.data(), got);
    }
    return bytes;
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
        const qsizetype got = readSome(m_frames.data() + arrived, m_frames.size() - arrived);
        if (got == 0)
            return false;
        arrived += got;
    }
    if (arrived != whole)
        throw std::runtime_error("more arrived than was asked for");
    m_frames.resize(whole);
    return true;
}

qsizetype Link::readSome(char *room, qsizetype most)
{
    waitFor(m_descriptor, POLLIN, m_patienceMs, "no answer for too long");
    const auto got = ::read(m_descriptor, room, static_cast<std::size_t>(most));
    if (got < 0)
        fail("the link cannot be read");
    return got;
}

pid_t Link::peer() const
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (::getsockopt(m_descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        fail("the link's other end is unknown");
    return credentials.pid;
}

Listener::Listener(const std::string &path)
    : m_path(path)
    , m_descriptor(newSocket())
{
    const sockaddr_un address = addressOf(path);
    if (::bind(m_descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(m_descriptor, 1) != 0)
        fail("cannot listen under " + path);
}

Listener::~Listener()
{
    ::close(m_descriptor);
    ::unlink(m_path.c_str());
}

int Listener::accept()
{
    waitFor(m_descriptor, POLLIN, Link::kPatienceMs, "nobody made a link in 30 s");
    const int descriptor = ::accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0)
        fail("accept");
    return descriptor;
}

int acceptOne(const std::string &path)
{
    return Listener(path).accept();
}

int connectTo(const std::string &path)
{
    const sockaddr_un address = addressOf(path);
    const int descriptor = newSocket();
    if (::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        fail("cannot connect to " + path);
    return descriptor;
}

} // namespace bench

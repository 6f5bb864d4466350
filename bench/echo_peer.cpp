#include "bench/echo_peer.h"

#include <array>
#include <csignal>
#include <exception>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

/// Answers until the other end goes. A descriptor that a forked child kept would hold other links open, hence only its
/// own is left to it.
[[noreturn]] void answerAll(int descriptor, const QByteArray &answer)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(descriptor, STDIN_FILENO);
    ::close_range(STDERR_FILENO + 1, ~0U, 0);
    try {
        Link link(STDIN_FILENO, Link::kForever);
        while (link.receiveOrEnd())
            link.send(answer);
    } catch (const std::exception &) {
        ::_exit(1); // the parent sees the link end
    }
    ::_exit(0);
}

} // namespace

EchoPeer::EchoPeer(const QByteArray &answer)
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::runtime_error("no socket pair");
    m_process = ::fork();
    if (m_process == 0)
        answerAll(ends[1], answer);
    ::close(ends[1]);
    m_link = std::make_unique<Link>(ends[0]);
    if (m_process < 0)
        throw std::runtime_error("no process for the echo");
}

EchoPeer::~EchoPeer()
{
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

} // namespace bench

#pragma once

#include <QFile>
#include <QString>

#include <cerrno>
#include <cstring>

#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

/// A user and a group that nothing of the tests belongs to.
inline constexpr uid_t kStranger = 65534;
inline constexpr gid_t kStrangersGroup = 65534;

/// Only root can become another user; without it tests check what the modes of the files say.
[[nodiscard]] inline bool mayBecomeStranger()
{
    return ::geteuid() == 0;
}

/// errno of a connection to the socket `path` that a process of user kStranger in `group` alone tries; 0 when it came
/// about, -1 when it could not be tried.
[[nodiscard]] inline int strangerConnects(const QString &path, gid_t group = kStrangersGroup)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (name.size() >= qsizetype(sizeof address.sun_path))
        return -1;
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setgid(group) != 0 || ::setuid(kStranger) != 0)
            ::_exit(255);
        const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ::_exit(::connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 ? 0 : errno);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) == 255)
        return -1;
    return WEXITSTATUS(status);
}

/// The permission bits of a file of this process's own user and group; -1 where it is missing or somebody else's.
[[nodiscard]] inline int ownFileMode(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || status.st_uid != ::geteuid() ||
        status.st_gid != ::getegid())
        return -1;
    return int(status.st_mode & 07777);
}

/// What processes started while it lives have as their umask.
class UmaskScope
{
public:
    explicit UmaskScope(mode_t mask)
        : m_before(::umask(mask))
    {}
    ~UmaskScope() { ::umask(m_before); }
    Q_DISABLE_COPY_MOVE(UmaskScope)

private:
    mode_t m_before;
};

} // namespace support

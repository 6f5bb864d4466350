#include "bus/socket_mode.h"

#include <QLocalServer>

#include <sys/stat.h>

namespace bus {

namespace {

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

constexpr mode_t kOnlyUser = S_IXUSR | S_IRWXG | S_IRWXO;
constexpr mode_t kUserAndGroup = S_IXUSR | S_IXGRP | S_IRWXO;

} // namespace

std::optional<SocketMode> socketModeNamed(QStringView name)
{
    if (name == u"user")
        return SocketMode::User;
    if (name == u"group")
        return SocketMode::Group;
    return std::nullopt;
}

bool listenWithMode(QLocalServer &server, const QString &name, SocketMode mode)
{
    // QLocalServer's own access options would make the socket in a folder beside it and rename it: nine bytes more of
    // path, a folder left behind by a killed process, and the file of another, living server replaced without a word.
    const UmaskScope scope(mode == SocketMode::Group ? kUserAndGroup : kOnlyUser);
    return server.listen(name);
}

} // namespace bus

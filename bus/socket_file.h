#pragma once

#include <QString>

#include <optional>
#include <utility>

#include <sys/types.h>

class QLocalServer;

namespace bus {

/// Path of the local socket `name`: absolute names stay, others lie in the system's temporary folder.
[[nodiscard]] QString socketPath(const QString &name);

/// Whether a process of this system listens on a socket that was bound to `path`, other than the socket with the
/// number `own` of the system's. Looks it up in the system's list, so that nobody sees a connection come and go.
[[nodiscard]] bool isListenedOn(const QString &path, ino_t own = 0);

/// Which file a listening server's socket is, so that it learns when another process has taken its name.
class SocketFile
{
public:
    enum class State {
        Ours,
        Taken, ///< another process listens there
        Free   ///< gone, or left behind by another process
    };

    /// `server` has just begun to listen.
    void remember(const QLocalServer &server);

    /// What stands in its place now. The system keeps the number of a file whose socket is open, so nobody else's file
    /// can have it.
    [[nodiscard]] State state() const;

private:
    using Identity = std::pair<dev_t, ino_t>;

    [[nodiscard]] static std::optional<Identity> identityOf(const QString &path);

    QString m_path;
    std::optional<Identity> m_identity;
    ino_t m_socket = 0;
};

} // namespace bus

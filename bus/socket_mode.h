#pragma once

#include <QStringView>

#include <optional>

class QLocalServer;
class QString;

namespace bus {

/// Who may connect to a local server, besides root.
enum class SocketMode {
    User, ///< the user that the process runs as
    Group ///< and the members of its group
};

/// The mode of that name, "user" or "group".
[[nodiscard]] std::optional<SocketMode> socketModeNamed(QStringView name);

/// As QLocalServer::listen(); the socket file has mode 0600 or 0660 from its first moment on, whatever the process's
/// umask, which is changed meanwhile: for processes whose other threads, if any, make no files.
[[nodiscard]] bool listenWithMode(QLocalServer &server, const QString &name, SocketMode mode);

} // namespace bus

#pragma once

#include <QString>

#include <optional>

namespace hub {

/// Why no server can listen on a path, as one line.
struct ClaimProblem
{
    QString text;
    bool wrongUsage = false; ///< the path itself can never work, whatever the state of the machine
};

/// Makes sure that a server can listen on the socket path: an old socket file that nobody serves is removed.
/// Nothing is returned when it can.
[[nodiscard]] std::optional<ClaimProblem> claimSocket(const QString &path);

} // namespace hub

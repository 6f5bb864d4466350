#pragma once

#include <libpq-fe.h>

#include <chrono>

namespace database {

/// Sees what has been handed to libpq on `connection`, which is in non-blocking mode, through to its next result; null
/// where libpq has none. The caller owns it.
///
/// The server bounds a statement by its own timeout, which a client's text can switch off and which a server that hangs
/// does not keep. So a connection on which nothing moves for `limit` and a grace is given up: its socket is shut, and
/// it counts as lost. A limit of 0 is none.
[[nodiscard]] PGresult *nextResult(PGconn *connection, std::chrono::milliseconds limit);

/// The same to the end of the statement or statements. Gives the last result, or the first that leaves the session in a
/// COPY, or the server's reason where it ended the session; null when there is none.
[[nodiscard]] PGresult *lastResult(PGconn *connection, std::chrono::milliseconds limit);

} // namespace database

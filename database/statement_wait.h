#pragma once

#include <QByteArrayView>

#include <libpq-fe.h>

#include <chrono>
#include <memory>

namespace database {

/// Sees what has been handed to libpq on `connection`, which is in non-blocking mode, through to its next result; null
/// where libpq has none. The caller owns it.
///
/// The server bounds a statement by its own timeout, which a client's text can switch off and which a server that hangs
/// does not keep. So a connection on which nothing moves for `limit` and a grace is given up: its socket is shut, and
/// it counts as lost. A limit of 0 is none.
[[nodiscard]] PGresult *nextResult(PGconn *connection, std::chrono::milliseconds limit);

/// What a COPY sends for one row, or nothing.
class CopiedBytes
{
public:
    CopiedBytes() = default;
    CopiedBytes(char *bytes, int size) ///< takes ownership of what libpq has given
        : m_bytes(bytes)
        , m_size(size)
    {}

    explicit operator bool() const { return m_bytes != nullptr; }
    [[nodiscard]] QByteArrayView view() const { return {m_bytes.get(), m_size}; }

private:
    struct Free
    {
        void operator()(char *bytes) const { PQfreemem(bytes); }
    };

    std::unique_ptr<char, Free> m_bytes;
    int m_size = 0;
};

/// The next row of the COPY that `connection` is in; nothing at its end, for which there is a last result then.
[[nodiscard]] CopiedBytes nextCopied(PGconn *connection, std::chrono::milliseconds limit);

/// As nextResult(), to the end of the statement or statements. Gives the last result, or the first that leaves the
/// session in a COPY, or the server's reason where it ended the session; null when there is none.
[[nodiscard]] PGresult *lastResult(PGconn *connection, std::chrono::milliseconds limit);

} // namespace database

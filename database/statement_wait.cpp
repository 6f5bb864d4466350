#include "database/statement_wait.h"

#include <QDeadlineTimer>

#include <poll.h>
#include <sys/socket.h>

namespace database {

namespace {

using std::chrono::milliseconds;
using namespace std::chrono_literals;

constexpr milliseconds kGrace = 1000ms;

QDeadlineTimer deadlineAfter(milliseconds limit)
{
    return limit > 0ms ? QDeadlineTimer(limit + kGrace) : QDeadlineTimer(QDeadlineTimer::Forever);
}

/// False when the socket was not ready for any of `events` before the deadline.
bool waitFor(PGconn *connection, int events, const QDeadlineTimer &deadline)
{
    pollfd socket{PQsocket(connection), static_cast<short>(events), 0};
    const int left = deadline.isForever() ? -1 : static_cast<int>(deadline.remainingTime());
    return poll(&socket, 1, left) != 0;
}

/// False when nothing moved before the deadline. A connection that is lost in the meantime is in time: the next result
/// says so.
bool waitForInput(PGconn *connection, const QDeadlineTimer &deadline)
{
    for (;;) {
        const bool sending = PQflush(connection) == 1;
        if (!sending && PQisBusy(connection) == 0)
            return true;
        if (!waitFor(connection, sending ? POLLIN | POLLOUT : POLLIN, deadline))
            return false;
        // Also while sending: the server may be waiting for us to read before it reads on.
        if (PQconsumeInput(connection) == 0)
            return true;
    }
}

bool endsTheWait(PGconn *connection, const PGresult *result)
{
    const ExecStatusType status = PQresultStatus(result);
    return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH ||
           PQstatus(connection) == CONNECTION_BAD;
}

/// A server that ends a session says why, and only then the connection is found lost: the first of the two counts.
bool isLesserError(const PGresult *last, const PGresult *result)
{
    return last && PQresultStatus(last) == PGRES_FATAL_ERROR && !PQresultErrorField(result, PG_DIAG_SQLSTATE);
}

} // namespace

PGresult *nextResult(PGconn *connection, milliseconds limit)
{
    if (!waitForInput(connection, deadlineAfter(limit)))
        shutdown(PQsocket(connection), SHUT_RDWR);
    return PQgetResult(connection);
}

CopiedBytes nextCopied(PGconn *connection, milliseconds limit)
{
    constexpr int kDoNotWait = 1;
    for (;;) {
        char *bytes = nullptr;
        const int size = PQgetCopyData(connection, &bytes, kDoNotWait);
        if (size != 0)
            return size > 0 ? CopiedBytes(bytes, size) : CopiedBytes();
        if (!waitFor(connection, POLLIN, deadlineAfter(limit)))
            shutdown(PQsocket(connection), SHUT_RDWR);
        // A connection that is lost ends the copy, of which libpq says nothing here.
        if (PQconsumeInput(connection) == 0)
            return {};
    }
}

PGresult *lastResult(PGconn *connection, milliseconds limit)
{
    PGresult *last = nullptr;
    for (;;) {
        PGresult *result = nextResult(connection, limit);
        if (!result)
            return last;
        if (isLesserError(last, result)) {
            PQclear(result);
        } else {
            PQclear(last);
            last = result;
        }
        if (endsTheWait(connection, last))
            return last;
    }
}

} // namespace database

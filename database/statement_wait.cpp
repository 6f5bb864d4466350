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

/// The connection must be in non-blocking mode. False when the server took nothing more before the deadline.
bool sendAll(PGconn *connection, const QDeadlineTimer &deadline)
{
    while (PQflush(connection) == 1) {
        if (!waitFor(connection, POLLIN | POLLOUT, deadline))
            return false;
        // The server may be waiting for us to read before it reads on.
        if (PQconsumeInput(connection) == 0)
            break;
    }
    return true;
}

bool receive(PGconn *connection, const QDeadlineTimer &deadline)
{
    while (PQisBusy(connection) != 0) {
        if (!waitFor(connection, POLLIN, deadline))
            return false;
        if (PQconsumeInput(connection) == 0)
            break; // lost: the next result says so
    }
    return true;
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

PGresult *waitForResult(PGconn *connection, milliseconds limit)
{
    PGresult *last = nullptr;
    bool inTime = sendAll(connection, deadlineAfter(limit));
    for (;;) {
        inTime = inTime && receive(connection, deadlineAfter(limit));
        if (!inTime)
            shutdown(PQsocket(connection), SHUT_RDWR);
        PGresult *result = PQgetResult(connection);
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

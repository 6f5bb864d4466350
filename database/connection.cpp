#include "database/connection.h"

#include "database/statement_wait.h"

#include <QElapsedTimer>
#include <QSqlDriver>
#include <QVariant>

#include <algorithm>
#include <utility>

#include <poll.h>

namespace database {

namespace {

constexpr qint64 kLongestPauseMs = 5000;
constexpr qint64 kPausePerAttempt = 10; ///< a pause is this many times as long as the failed attempt took
constexpr qint64 kAtOnceMs = 1000;      ///< a server that starts takes some time to refuse, and will be there soon

/// What "DISCARD ALL" does, but for the statements that the session keeps prepared; the last result tells of them.
constexpr const char *kReset =
    "CLOSE ALL; SET SESSION AUTHORIZATION DEFAULT; RESET ALL; UNLISTEN *; SELECT pg_catalog.pg_advisory_unlock_all(); "
    "DISCARD TEMP; DISCARD SEQUENCES; SELECT name, from_sql FROM pg_catalog.pg_prepared_statements";

QSqlError statementError(const QString &text, const QString &code = {})
{
    return {QStringLiteral("QPSQL: Unable to create query"), text, QSqlError::StatementError, code};
}

QSqlError impossibleText()
{
    return statementError(QStringLiteral("a text with a zero character cannot be sent"));
}

/// The session has lost a statement that it had prepared, or its plan no longer fits the tables: preparing it again
/// helps.
bool isStale(const PGresult *result)
{
    constexpr const char *kNoSuchStatement = "26000";
    constexpr const char *kChangedResult = "0A000";
    const char *code = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    return code && (qstrcmp(code, kNoSuchStatement) == 0 || qstrcmp(code, kChangedResult) == 0);
}

} // namespace

void Connection::setName(const QString &name)
{
    m_name = name;
    m_native = nullptr;
    m_prepared = false;
    m_wasOpen = false;
    m_queue.forgetAll();
    m_ahead.clear();
    m_checked = false;
    m_outageTold = false;
    m_openError = QSqlError();
    m_nextAttempt = QDeadlineTimer();
}

void Connection::setStatementTimeout(std::chrono::milliseconds limit)
{
    m_statementTimeout = limit;
    m_prepared = false;
}

PGconn *Connection::handleOfQt() const
{
    const QSqlDatabase db = qtDatabase();
    if (!db.isOpen())
        return nullptr;
    const QVariant handle = db.driver()->handle();
    // The type that libpq calls PGconn, under its own name.
    if (qstrcmp(handle.typeName(), "pg_conn*") != 0)
        return nullptr;
    return *static_cast<PGconn *const *>(handle.constData());
}

Connection::Backend Connection::backend() const
{
    return {QByteArray(PQhost(m_native)) + ':' + PQport(m_native), PQbackendPID(m_native)};
}

bool Connection::isAlive() const
{
    if (!m_native || PQstatus(m_native) != CONNECTION_OK)
        return false;
    // A server that has gone has closed its end, or is about to and has said so: libpq learns it only from a statement
    // that fails. Between commands it has nothing else to say.
    pollfd socket{PQsocket(m_native), POLLIN | POLLRDHUP, 0};
    return poll(&socket, 1, 0) == 0;
}

bool Connection::ready()
{
    if (!m_checked) {
        m_checked = true;
        m_native = handleOfQt();
        // What was sent ahead makes a server speak that is still there; one that has gone is met by what waits for it.
        const bool speaks = isAhead() && m_native && PQstatus(m_native) == CONNECTION_OK;
        if (!speaks && !isAlive()) {
            tellLost();
            return open();
        }
        if (!m_prepared)
            prepareSession();
    }
    return m_native != nullptr;
}

void Connection::beginCommand()
{
    settle();
    m_checked = false;
}

void Connection::prepareSession()
{
    m_prepared = true;
    m_wasOpen = true;
    m_backend = backend();
    m_queue.forgetAll();
    m_ahead.clear();
    PQsetnonblocking(m_native, 1);
    // Notices are for people at a terminal; a client's text could fill any log with them.
    PQsetNoticeProcessor(
        m_native, [](void *, const char *) {}, nullptr);
    applySettings();
    const Backend abandoned = std::exchange(m_abandonedBackend, {});
    if (abandoned.process != 0 && abandoned.server == m_backend.server)
        PQclear(run("SELECT pg_terminate_backend(" + QByteArray::number(abandoned.process) + ')'));
}

/// Those that a reset undoes.
void Connection::applySettings()
{
    // A reset session has the encoding that it was opened with, unless a pooler stands between: then the database's.
    if (qstrcmp(PQparameterStatus(m_native, "client_encoding"), "UTF8") != 0)
        PQclear(run("SET client_encoding = 'UTF8'"));
    if (m_statementTimeout.count() > 0)
        PQclear(run("SET statement_timeout = " + QByteArray::number(qint64(m_statementTimeout.count()))));
}

void Connection::resetSession()
{
    settle();
    dropAhead();
    if (!m_native || PQstatus(m_native) != CONNECTION_OK)
        return;
    // Preparing and planning all statements anew would cost the next commands more than they take themselves.
    PGresult *prepared = run(kReset);
    const bool isClean = m_queue.isAllThatIs(prepared);
    PQclear(prepared);
    if (isClean)
        applySettings();
    else
        openAnew();
}

void Connection::tellLost()
{
    if (std::exchange(m_wasOpen, false) && m_onLost)
        m_onLost();
}

bool Connection::openAnew()
{
    if (PQstatus(m_native) != CONNECTION_OK)
        tellLost();
    m_native = nullptr;
    qtDatabase().close();
    return open();
}

bool Connection::open()
{
    QSqlDatabase db = qtDatabase();
    if (!db.isValid() || !m_nextAttempt.hasExpired())
        return false;
    m_native = nullptr;
    m_queue.forgetAll();
    m_ahead.clear();
    aboutToWait();
    db.close();
    QElapsedTimer taken;
    taken.start();
    if (!db.open()) {
        if (taken.elapsed() > kAtOnceMs)
            m_nextAttempt.setRemainingTime(std::min(kLongestPauseMs, taken.elapsed() * kPausePerAttempt));
        m_openError = db.lastError();
        if (!m_outageTold && m_onUnavailable)
            m_onUnavailable(m_openError);
        m_outageTold = true;
        return false;
    }
    m_outageTold = false;
    m_native = handleOfQt();
    prepareSession();
    if (m_onOpened)
        m_onOpened();
    return true;
}

Result Connection::query(const Statement &statement)
{
    // A session that is found lost takes with it what was sent ahead.
    if (isAhead())
        (void)ready();
    PGresult *outcome = nullptr;
    if (isAhead() && m_ahead.front() == statement)
        outcome = takeAhead();
    else if (send(&StatementQueue::add, statement.text, statement.values))
        outcome = takeAllButLast();
    else
        return {};
    if (isStale(outcome)) {
        PQclear(outcome);
        m_queue.forget(statement.text);
        if (!send(&StatementQueue::add, statement.text, statement.values))
            return {};
        outcome = takeAllButLast();
    }
    return take(outcome);
}

bool Connection::sendAhead(const Statement &statement)
{
    const bool isPossible = std::ranges::none_of(statement.values, &Value::isImpossible);
    settle();
    if (!isPossible || !ready() || m_queue.isFull())
        return false;
    if (!m_queue.add(m_native, statement.text, statement.values)) {
        dropAhead();
        if (PQstatus(m_native) == CONNECTION_OK)
            openAnew();
        return false;
    }
    m_ahead.push_back(statement);
    return true;
}

void Connection::forgetAhead()
{
    // Their outcomes have still to be taken, in their turn.
    for (Statement &statement : m_ahead)
        statement = {};
}

/// The outcome of the first that was sent ahead.
PGresult *Connection::takeAhead()
{
    m_ahead.pop_front();
    if (PQisBusy(m_native) == 1)
        aboutToWait();
    PGresult *outcome = m_queue.takeOldest(m_native, m_statementTimeout);
    if (m_queue.isEmpty())
        return leavePipeline(outcome);
    noteAbandoned();
    return outcome;
}

/// Those that nobody has asked for.
void Connection::dropAhead()
{
    if (!isAhead())
        return;
    while (isAhead())
        PQclear(takeAhead());
    // The session may have been lost with them, which is no concern of the command that runs.
    m_checked = false;
}

void Connection::post(const QByteArray &text, const QList<Value> &values)
{
    if (send(&StatementQueue::add, text, values) && m_queue.isFull())
        settle();
}

void Connection::settle()
{
    if (!isAhead() && !m_queue.isEmpty())
        take(takeAllButLast());
}

/// Hands a statement to the queue by `add`, one of its two ways.
bool Connection::send(Add add, const QByteArray &text, const QList<Value> &values)
{
    if (text.contains('\0') || std::ranges::any_of(values, &Value::isImpossible)) {
        fail(impossibleText());
        return false;
    }
    dropAhead();
    if (!ready()) {
        fail(notOpenError());
        return false;
    }
    if ((m_queue.*add)(m_native, text, values))
        return true;
    const QString reason = QString::fromUtf8(PQerrorMessage(m_native));
    settle();
    // A session that took a statement by half can take no other. One that is lost stays so until the next command.
    if (PQstatus(m_native) == CONNECTION_OK)
        openAnew();
    fail(statementError(reason));
    return false;
}

/// The outcome of the statement sent last; those before it have then been told of.
PGresult *Connection::takeAllButLast()
{
    aboutToWait();
    PGresult *outcome = m_queue.takeOldest(m_native, m_statementTimeout);
    while (!m_queue.isEmpty()) {
        take(outcome);
        outcome = m_queue.takeOldest(m_native, m_statementTimeout);
    }
    return leavePipeline(outcome);
}

/// Once the queue is empty: what does not go through it takes no pipeline.
PGresult *Connection::leavePipeline(PGresult *outcome)
{
    PQexitPipelineMode(m_native);
    noteAbandoned();
    return outcome;
}

Result Connection::queryOnce(const QString &text, const QList<Value> &values)
{
    return send(&StatementQueue::addOnce, text.toUtf8(), values) ? take(takeAllButLast()) : Result();
}

bool Connection::forEachRow(const QByteArray &query, const std::function<void(const CopiedRow &)> &takeRow)
{
    settle();
    dropAhead();
    if (!ready()) {
        fail(notOpenError());
        return false;
    }
    // A copy costs libpq less for each row than a result.
    PGresult *begun = run("COPY (" + query + ") TO STDOUT (FORMAT binary)");
    if (PQresultStatus(begun) != PGRES_COPY_OUT)
        return take(begun).ok();
    PQclear(begun);
    CopiedRow row;
    for (CopiedBytes bytes = nextCopied(m_native, m_statementTimeout); bytes;
         bytes = nextCopied(m_native, m_statementTimeout)) {
        // The last one is the end's mark, and no row.
        if (row.read(bytes.view()))
            takeRow(row);
    }
    PGresult *outcome = lastResult(m_native, m_statementTimeout);
    noteAbandoned();
    return take(outcome).ok();
}

Result Connection::script(const QString &text)
{
    settle();
    dropAhead();
    if (text.contains(QChar(0)))
        return fail(impossibleText());
    if (!ready())
        return fail(notOpenError());
    PGresult *result = run(text.toUtf8());
    if (PQstatus(m_native) != CONNECTION_OK || PQtransactionStatus(m_native) == PQTRANS_IDLE)
        return take(result);
    const QString reason = QString::fromUtf8(PQresultErrorMessage(result));
    PQclear(result);
    openAnew();
    return fail(
        statementError(reason.isEmpty() ? QStringLiteral("the text left a transaction or a COPY open") : reason));
}

Result Connection::foreignScript(const QString &text)
{
    Result result = script(text);
    resetSession();
    return result;
}

/// The outcome of a text without values; null where it could not be sent, and libpq says why.
PGresult *Connection::run(const QByteArray &text)
{
    PGresult *result = nullptr;
    if (PQsendQuery(m_native, text.constData()) == 1) {
        aboutToWait();
        result = lastResult(m_native, m_statementTimeout);
    }
    noteAbandoned();
    return result;
}

void Connection::aboutToWait() const
{
    if (m_onWait)
        m_onWait();
}

/// A session that was given up may still be at work, holding locks.
void Connection::noteAbandoned()
{
    if (m_statementTimeout.count() > 0 && PQstatus(m_native) != CONNECTION_OK)
        m_abandonedBackend = m_backend;
}

Result Connection::take(PGresult *taken)
{
    Result result(taken);
    const ExecStatusType status = PQresultStatus(taken);
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_EMPTY_QUERY) {
        m_error = QSqlError();
        return result;
    }
    // Out of memory or a lost connection may leave no result to ask.
    const char *message = taken ? PQresultErrorMessage(taken) : PQerrorMessage(m_native);
    const char *code = taken ? PQresultErrorField(taken, PG_DIAG_SQLSTATE) : nullptr;
    return fail(statementError(QString::fromUtf8(message), QString::fromLatin1(code)));
}

QSqlError Connection::notOpenError() const
{
    const QString text =
        m_openError.isValid() ? m_openError.databaseText() : QStringLiteral("the database is not open");
    return {QStringLiteral("QPSQL: Unable to create query"), text, QSqlError::ConnectionError};
}

Result Connection::fail(const QSqlError &error)
{
    m_error = error;
    if (m_onFailure)
        m_onFailure(error);
    return {};
}

} // namespace database

#include "database/connection.h"

#include "database/statement_wait.h"

#include <QElapsedTimer>
#include <QSqlDriver>
#include <QVarLengthArray>
#include <QVariant>

#include <algorithm>
#include <utility>

#include <poll.h>

namespace database {

namespace {

constexpr qint64 kLongestPauseMs = 5000;
constexpr qint64 kPausePerAttempt = 10; ///< a pause is this many times as long as the failed attempt took

QSqlError statementError(const QString &text, const QString &code = {})
{
    return {QStringLiteral("QPSQL: Unable to create query"), text, QSqlError::StatementError, code};
}

/// "?" in order to "$1", "$2", ...
QString numberedPlaceholders(const QString &text)
{
    QString result;
    result.reserve(text.size() + 16);
    int number = 0;
    for (const QChar character : text) {
        if (character == QLatin1Char('?'))
            result += QLatin1Char('$') + QString::number(++number);
        else
            result += character;
    }
    return result;
}

QSqlError impossibleText()
{
    return statementError(QStringLiteral("a text with a zero character cannot be sent"));
}

} // namespace

void Connection::setName(const QString &name)
{
    m_name = name;
    m_prepared = false;
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

PGconn *Connection::native() const
{
    const QVariant handle = qtDatabase().driver()->handle();
    // The type that libpq calls PGconn, under its own name.
    if (qstrcmp(handle.typeName(), "pg_conn*") != 0)
        return nullptr;
    return *static_cast<PGconn *const *>(handle.constData());
}

bool Connection::isAlive() const
{
    if (!qtDatabase().isOpen())
        return false;
    const PGconn *connection = native();
    if (!connection || PQstatus(connection) != CONNECTION_OK)
        return false;
    // A server that has gone has closed its end, or is about to and has said so: libpq learns it only from a statement
    // that fails. Between commands it has nothing else to say.
    pollfd socket{PQsocket(connection), POLLIN | POLLRDHUP, 0};
    return poll(&socket, 1, 0) == 0;
}

bool Connection::ready()
{
    if (!m_checked) {
        m_checked = true;
        if (!isAlive())
            return open();
        if (!m_prepared)
            prepareSession();
    }
    return qtDatabase().isOpen();
}

void Connection::prepareSession()
{
    m_prepared = true;
    PQsetnonblocking(native(), 1);
    // Notices are for people at a terminal; a client's text could fill any log with them.
    PQsetNoticeProcessor(
        native(), [](void *, const char *) {}, nullptr);
    if (m_statementTimeout.count() > 0)
        PQclear(run("SET statement_timeout = " + QByteArray::number(qint64(m_statementTimeout.count()))));
    if (const int abandoned = std::exchange(m_abandonedBackend, 0); abandoned != 0)
        PQclear(run("SELECT pg_terminate_backend(" + QByteArray::number(abandoned) + ')'));
}

void Connection::resetSession()
{
    if (!qtDatabase().isOpen() || PQstatus(native()) != CONNECTION_OK)
        return;
    PGresult *reset = run("DISCARD ALL");
    const bool clean = PQresultStatus(reset) == PGRES_COMMAND_OK;
    PQclear(reset);
    if (clean) {
        prepareSession();
        return;
    }
    qtDatabase().close();
    open();
}

bool Connection::open()
{
    QSqlDatabase db = qtDatabase();
    if (!db.isValid() || !m_nextAttempt.hasExpired())
        return false;
    db.close();
    QElapsedTimer taken;
    taken.start();
    if (!db.open()) {
        m_nextAttempt.setRemainingTime(std::min(kLongestPauseMs, taken.elapsed() * kPausePerAttempt));
        m_openError = db.lastError();
        if (!m_outageTold && m_onUnavailable)
            m_onUnavailable(m_openError);
        m_outageTold = true;
        return false;
    }
    m_outageTold = false;
    prepareSession();
    if (m_onOpened)
        m_onOpened();
    return true;
}

Result Connection::query(const QString &text, const QList<Value> &values)
{
    return numberedQuery(values.isEmpty() ? text : numberedPlaceholders(text), values);
}

Result Connection::numberedQuery(const QString &text, const QList<Value> &values)
{
    if (text.contains(QChar(0)))
        return fail(impossibleText());
    if (!ready())
        return fail(notOpenError());
    QVarLengthArray<const char *, 16> data;
    QVarLengthArray<int, 16> sizes;
    QVarLengthArray<int, 16> formats;
    for (const Value &value : values) {
        if (value.isImpossible())
            return fail(impossibleText());
        data.append(value.data());
        sizes.append(value.size());
        formats.append(value.isBinary() ? 1 : 0);
    }
    constexpr int kBinaryResult = 1;
    return take(finish(PQsendQueryParams(native(), text.toUtf8().constData(), static_cast<int>(values.size()), nullptr,
                                         data.constData(), sizes.constData(), formats.constData(), kBinaryResult)));
}

Result Connection::script(const QString &text)
{
    if (!ready())
        return fail(notOpenError());
    if (text.contains(QChar(0)))
        return fail(impossibleText());
    PGresult *result = run(text.toUtf8());
    if (PQstatus(native()) != CONNECTION_OK || PQtransactionStatus(native()) == PQTRANS_IDLE)
        return take(result);
    const QString reason = QString::fromUtf8(PQresultErrorMessage(result));
    PQclear(result);
    qtDatabase().close();
    open();
    return fail(
        statementError(reason.isEmpty() ? QStringLiteral("the text left a transaction or a COPY open") : reason));
}

Result Connection::foreignScript(const QString &text)
{
    Result result = script(text);
    resetSession();
    return result;
}

PGresult *Connection::run(const QByteArray &text)
{
    return finish(PQsendQuery(native(), text.constData()));
}

/// The outcome of what was sent; null where it could not be sent, and libpq says why.
PGresult *Connection::finish(int sent)
{
    const int backend = PQbackendPID(native());
    PGresult *result = sent == 1 ? waitForResult(native(), m_statementTimeout) : nullptr;
    // A session that was given up may still be at work, holding locks.
    if (m_statementTimeout.count() > 0 && PQstatus(native()) != CONNECTION_OK)
        m_abandonedBackend = backend;
    return result;
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
    const char *message = taken ? PQresultErrorMessage(taken) : PQerrorMessage(native());
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

void Connection::noteOutcome(const QSqlError &error)
{
    if (error.isValid())
        fail(error);
    else
        m_error = error;
}

} // namespace database

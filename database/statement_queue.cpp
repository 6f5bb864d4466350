#include "database/statement_queue.h"

#include "database/bound_values.h"
#include "database/statement_wait.h"

#include <QSet>

namespace database {

namespace {

constexpr int kBinaryResult = 1;

/// Results without one that a statement may have: its own end and that of its preparation.
constexpr int kMostGaps = 3;

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// "?" in order, or "%0", "%1", ..., to "$1", "$2", ...
QByteArray numberedPlaceholders(const QByteArray &text)
{
    QByteArray result;
    result.reserve(text.size() + 16);
    int number = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '?')
            result += '$' + QByteArray::number(++number);
        else if (text[i] == '%' && i + 1 < text.size() && isDigit(text[i + 1]))
            result += '$' + QByteArray::number(text[++i] - '0' + 1);
        else
            result += text[i];
    }
    return result;
}

bool enterPipeline(PGconn *connection)
{
    return PQpipelineStatus(connection) != PQ_PIPELINE_OFF || PQenterPipelineMode(connection) == 1;
}

bool isError(const PGresult *result)
{
    // No result is an error to libpq; here it is none yet.
    const ExecStatusType status = result ? PQresultStatus(result) : PGRES_EMPTY_QUERY;
    return status == PGRES_FATAL_ERROR || status == PGRES_PIPELINE_ABORTED;
}

bool hasCode(const PGresult *result, const char *code)
{
    const char *field = result ? PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    return field && qstrcmp(field, code) == 0;
}

} // namespace

void StatementQueue::forgetAll()
{
    m_names.clear();
    m_waiting.clear();
}

bool StatementQueue::isAllThatIs(const PGresult *prepared) const
{
    if (PQresultStatus(prepared) != PGRES_TUPLES_OK || PQnfields(prepared) != 2)
        return false;
    QSet<QByteArray> missing(m_names.begin(), m_names.end());
    for (int row = 0; row < PQntuples(prepared); ++row) {
        if (qstrcmp(PQgetvalue(prepared, row, 1), "f") != 0)
            return false;
        missing.remove(PQgetvalue(prepared, row, 0));
    }
    return missing.isEmpty();
}

bool StatementQueue::isFull() const
{
    // What follows a text's first use waits until it is known to be good.
    return qsizetype(m_waiting.size()) >= kMost || (!m_waiting.empty() && m_waiting.back().prepares);
}

bool StatementQueue::add(PGconn *connection, const QByteArray &text, const QList<Value> &values)
{
    if (!enterPipeline(connection))
        return false;
    const BoundValues bound(values);
    QByteArray name = m_names.value(text);
    const bool prepares = name.isNull();
    if (prepares) {
        name = 's' + QByteArray::number(++m_lastName);
        if (PQsendPrepare(connection, name.constData(), numberedPlaceholders(text).constData(), bound.count(),
                          bound.types()) == 0)
            return false;
        m_names.insert(text, name);
    }
    return end(connection, {text, prepares},
               PQsendQueryPrepared(connection, name.constData(), bound.count(), bound.data(), bound.sizes(),
                                   bound.formats(), kBinaryResult));
}

bool StatementQueue::addOnce(PGconn *connection, const QByteArray &text, const QList<Value> &values)
{
    if (!enterPipeline(connection))
        return false;
    const BoundValues bound(values);
    return end(connection, {text, false},
               PQsendQueryParams(connection, text.constData(), bound.count(), bound.types(), bound.data(),
                                 bound.sizes(), bound.formats(), kBinaryResult));
}

/// Each statement ends in a sync of its own, which makes its success and its commit its own.
bool StatementQueue::end(PGconn *connection, const Waiting &statement, int sent)
{
    if (sent == 0 || PQpipelineSync(connection) == 0)
        return false;
    m_waiting.push_back(statement);
    return true;
}

PGresult *StatementQueue::takeOldest(PGconn *connection, std::chrono::milliseconds limit)
{
    const Waiting oldest = std::move(m_waiting.front());
    m_waiting.pop_front();
    PGresult *outcome = nullptr;
    bool isPrepared = !oldest.prepares;
    for (int gaps = 0; gaps < kMostGaps;) {
        PGresult *result = nextResult(connection, limit);
        if (!result) {
            ++gaps;
            continue;
        }
        if (PQresultStatus(result) == PGRES_PIPELINE_SYNC) {
            PQclear(result);
            break;
        }
        // An error is followed by others that it has caused.
        if (isError(outcome)) {
            PQclear(result);
            continue;
        }
        PQclear(outcome);
        outcome = result;
        isPrepared = isPrepared || !isError(result);
    }
    if (!isPrepared || hasCode(outcome, "26000"))
        forget(oldest.text);
    return outcome;
}

} // namespace database

#include "bench/replay.h"

#include <stdexcept>
#include <utility>

namespace bench {

using database::Value;
using Way = RecordedStatement::Way;

namespace {

constexpr Oid kBytesType = 17;
constexpr Oid kBigIntegerType = 20;
constexpr Oid kIntegerType = 23;
constexpr Oid kIntegersType = 1007;

/// Its rows tell of the session, and are no part of an answer.
bool cleansSession(const Statement &statement)
{
    return statement.text.startsWith("CLOSE ALL;");
}

bool isArray(const QByteArray &value)
{
    return value.startsWith('{') && value.endsWith('}');
}

Value integers(const QByteArray &text)
{
    QList<qint32> numbers;
    for (const QByteArray &number : text.sliced(1, text.size() - 2).split(','))
        numbers.append(number.toInt());
    return Value::integers(numbers);
}

/// In the form that costs the server least.
Value valueOf(const QByteArray &text, Oid type)
{
    constexpr QByteArrayView kHex("\\x");
    if (text.isNull())
        return Value::text(QString());
    switch (type) {
    case kBytesType:
        // The session's bytea_output decides on the form.
        if (!text.startsWith(kHex))
            throw std::runtime_error("the server's log does not tell bytes as hexadecimal digits");
        return Value::bytes(QByteArray::fromHex(text.sliced(kHex.size())));
    case kBigIntegerType:
        return Value::bigInteger(text.toLongLong());
    case kIntegerType:
        return Value::integer(text.toInt());
    case kIntegersType:
        return integers(text);
    default:
        return Value::text(QString::fromUtf8(text));
    }
}

Statement statementOf(BareConnection &connection, const RecordedStatement &recorded)
{
    Statement statement{recorded.text, {}};
    if (recorded.values.isEmpty())
        return statement;
    // The log does not tell the types, and the server cannot tell which arrays may stand in some places.
    QList<Oid> given;
    for (const QByteArray &value : recorded.values)
        given.append(isArray(value) ? kIntegersType : Oid(0));
    const QList<Oid> types = connection.placeholderTypes(recorded.text, given);
    for (qsizetype i = 0; i < types.size(); ++i)
        statement.values.append(valueOf(recorded.values[i], types[i]));
    return statement;
}

/// COPY takes a query without the semicolon.
QByteArray query(QByteArray text)
{
    text = text.trimmed();
    if (text.endsWith(';'))
        text.chop(1);
    return text;
}

} // namespace

Replay::Replay(BareConnection &connection, const std::vector<RecordedStatement> &recorded, Limit limit)
    : m_connection(connection)
    , m_limit(limit)
{
    for (const RecordedStatement &statement : recorded) {
        // By this one earlier revisions cleaned their session; it would drop what others keep prepared in this one.
        if (statement.text != "DISCARD ALL")
            m_steps.push_back({statement.way, statementOf(m_connection, statement)});
    }
    if (limit != Limit::Pipelined)
        return;
    for (const Step &step : m_steps) {
        if (step.way == Way::Simple && !m_pipelined.empty())
            throw std::runtime_error("a pipeline takes no statement of the simple protocol");
        if (step.way == Way::Simple)
            continue;
        m_connection.prepare(step.statement);
        m_pipelined.push_back(step.statement);
    }
}

Rows Replay::result(const Step &step)
{
    if (step.way == Way::Simple)
        return m_connection.text(step.statement.text);
    // A text without values that is not kept has a client's words in it: no program can have it prepared.
    if (step.way == Way::Once && step.statement.values.isEmpty())
        return m_connection.binary(step.statement);
    return m_connection.prepared(step.statement);
}

void Replay::run()
{
    if (m_limit == Limit::Copied) {
        for (const Step &step : m_steps)
            (void)m_connection.copyOut(query(step.statement.text));
        return;
    }
    for (const Step &step : m_steps) {
        if (m_limit == Limit::Prepared || step.way == Way::Simple)
            (void)result(step);
    }
    if (m_limit == Limit::Pipelined)
        m_connection.pipelined(m_pipelined);
}

std::vector<Rows> Replay::results()
{
    std::vector<Rows> results;
    for (const Step &step : m_steps) {
        Rows rows = result(step);
        if (!cleansSession(step.statement))
            results.push_back(std::move(rows));
    }
    return results;
}

} // namespace bench

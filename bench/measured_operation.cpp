#include "bench/measured_operation.h"

#include "bench/command_frames.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace bench {

namespace {

/// One text that sets every sequence to where it is now.
constexpr const char *kNumbering =
    R"(SELECT string_agg(format('SELECT setval(%L, %s, %L)', format('%I.%I', schemaname, sequencename), coalesce(last_value, start_value), last_value IS NOT NULL), '; ') FROM pg_sequences)";

QByteArray onlyValue(const Rows &rows)
{
    return PQgetvalue(rows.get(), 0, 0);
}

QByteArray utf16(const QByteArray &utf8)
{
    const QString text = QString::fromUtf8(utf8);
    QByteArray bytes;
    for (const QChar character : text) {
        bytes.append(static_cast<char>(character.row()));
        bytes.append(static_cast<char>(character.cell()));
    }
    return bytes;
}

/// The row's longest text or bytes, which tell it from others; empty where it has none.
QByteArray longestText(const PGresult *rows, int row)
{
    constexpr std::array<Oid, 3> kTexts{17, 25, 1043};
    QByteArray longest;
    for (int column = 0; column < PQnfields(rows); ++column) {
        if (std::ranges::find(kTexts, PQftype(rows, column)) != kTexts.end() &&
            PQgetlength(rows, row, column) > longest.size())
            longest = QByteArray(PQgetvalue(rows, row, column), PQgetlength(rows, row, column));
    }
    return longest;
}

} // namespace

MeasuredOperation::MeasuredOperation(const Operation &operation, const Installation &at, const MeasuredOperation *twin)
    : m_operation(operation)
    , m_at(at)
    , m_numbering(twin ? twin->m_numbering : onlyValue(at.aside.text(kNumbering)))
{
    if (twin)
        numberAsRecorded();
    record();
    if (!isAnswered() && operation.kind != Kind::ReadsAll)
        throw std::runtime_error(operation.name + " was not answered");
    if (!isAnswered())
        return;
    if (!m_replay || operation.kind == Kind::Reads)
        m_echo = std::make_unique<EchoPeer>(m_answer);
    if (!m_replay)
        return;
    if (m_operation.evidence.isEmpty())
        checkReading();
    else
        checkWriting();
}

void MeasuredOperation::record()
{
    (void)m_at.log.take();
    m_at.service.send(m_operation.request + m_at.about);
    const QByteArray arrived = m_at.service.receiveThrough(m_at.aboutAnswer);
    const QList<bus::Action> actions = actionsIn(arrived);
    const auto isItsAnswer = [&](const bus::Action &action) {
        return m_operation.name.starts_with(action.action.toStdString());
    };
    m_sent = m_operation.request;
    m_answer = arrived;
    m_frames = static_cast<int>(actions.size());
    if (std::any_of(actions.begin(), std::prev(actions.end()), isItsAnswer)) {
        m_answer.chop(m_at.aboutAnswer.size());
        --m_frames;
    } else if (m_operation.evidence.isEmpty()) {
        m_frames = 0;
    } else {
        m_sent += m_at.about;
    }
    m_statements = m_at.log.take();
    if (!m_statements.empty())
        m_replay = std::make_unique<Replay>(m_at.database, m_statements, m_operation.limit);
}

/// What the statements read alone must stand in the answer: of each, what tells its first and its last row.
void MeasuredOperation::checkReading()
{
    int all = 0;
    for (const Rows &rows : m_replay->results()) {
        const int count = PQntuples(rows.get());
        all += count;
        for (const int row : {0, count - 1}) {
            const QByteArray value = count > 0 ? longestText(rows.get(), row) : QByteArray();
            if (!m_answer.contains(value) && !m_answer.contains(utf16(value)))
                throw std::runtime_error(m_operation.name + ": the answer is not what the database holds");
        }
    }
    if (all == 0)
        throw std::runtime_error(m_operation.name + ": the registry holds nothing to read");
}

void MeasuredOperation::checkWriting()
{
    const QByteArray served = evidence();
    putBack();
    numberAsRecorded();
    m_replay->run();
    if (evidence() != served)
        throw std::runtime_error(m_operation.name + ": the service has left something else than its statements do");
    putBack();
}

QByteArray MeasuredOperation::evidence()
{
    return onlyValue(m_at.aside.text(m_operation.evidence));
}

/// So that the rows get the numbers that the recorded statements speak of.
void MeasuredOperation::numberAsRecorded()
{
    if (!m_operation.evidence.isEmpty())
        m_at.aside.text(m_numbering);
}

void MeasuredOperation::putBack()
{
    for (const QByteArray &text : m_operation.restoration)
        m_at.aside.text(text);
}

void MeasuredOperation::ask(Stopwatch &watch)
{
    watch.pause();
    numberAsRecorded();
    watch.resume();
    m_at.service.send(m_sent);
    const QByteArray &answer = m_at.service.receive(m_frames);
    watch.pause();
    if (m_operation.inAnyOrder ? answer.size() != m_answer.size() : answer != m_answer)
        throw std::runtime_error(m_operation.name + ": another answer than before");
    putBack();
    watch.resume();
}

void MeasuredOperation::runAlone(Stopwatch &watch)
{
    watch.pause();
    numberAsRecorded();
    watch.resume();
    if (m_replay)
        m_replay->run();
    else
        runEcho();
    watch.pause();
    putBack();
    watch.resume();
}

void MeasuredOperation::runEcho()
{
    m_echo->link().send(m_sent);
    (void)m_echo->link().receive(m_frames);
}

std::string MeasuredOperation::limitName() const
{
    if (!m_replay)
        return "echo over a bare socket";
    switch (m_operation.limit) {
    case Limit::Copied:
        return "COPY";
    case Limit::Pipelined:
        return "libpq's pipeline";
    case Limit::Prepared:
        break;
    }
    return "PQexecPrepared";
}

} // namespace bench

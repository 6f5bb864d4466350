#include "bench/operator_figures.h"

#include "bench/command_frames.h"
#include "bench/process_memory.h"

#include <QList>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

constexpr double kMegabyte = 1e6;

/// A reply that is one list of numbers, in ascending order.
QList<qint32> sortedNumbers(const QByteArray &reply)
{
    keystone::ByteReader in(reply);
    QList<qint32> numbers;
    in >> numbers;
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool isSame(const Reading &reading, const QByteArray &reply, const QByteArray &expected)
{
    if (!reading.inAnyOrder)
        return reply == expected;
    return reply.size() == expected.size() && sortedNumbers(reply) == sortedNumbers(expected);
}

} // namespace

OperatorFigures::OperatorFigures(std::unique_ptr<Link> service, const std::string &database)
    : m_service(std::move(service))
    , m_database(database)
    , m_readings(operatorReadings())
{
    measureMemory(m_readings.front());
    for (const Reading &reading : m_readings)
        m_answered.push_back(check(reading));
}

void OperatorFigures::measureMemory(const Reading &fullTree)
{
    const QByteArray about = commandFrame(fullTree.caller, "About");
    const ProcessMemory memory(m_service->peer());
    m_service->send(about);
    (void)m_service->receive();
    memory.forgetPeak();
    m_idleBytes = memory.resident();
    m_service->send(fullTree.request);
    m_treeBytes = m_service->receive().size();
    // Its answer comes when the service is done with the tree.
    m_service->send(about);
    (void)m_service->receive();
    m_peakBytes = memory.peak();
    m_laterBytes = memory.resident();
}

OperatorFigures::Answered OperatorFigures::check(const Reading &reading)
{
    m_service->send(reading.request);
    const QByteArray frame = m_service->receive();
    Answered answered{frame.size(), 0};
    QByteArray expected = reading.begin;
    for (const ReplyPart &part : reading.parts) {
        const Rows rows = m_database.binary(part.statement);
        if (PQntuples(rows.get()) == 0)
            throw std::runtime_error(reading.name + ": the registry holds nothing to read");
        expected += replyOf(rows, part.fields);
        answered.rows += PQntuples(rows.get());
    }
    if (!isSame(reading, answerIn(frame, reading.caller).data, expected))
        throw std::runtime_error("the service's " + reading.name + " is not what the database holds");
    return answered;
}

void OperatorFigures::ask(const Reading &reading, qsizetype expectedBytes)
{
    m_service->send(reading.request);
    if (m_service->receive().size() != expectedBytes)
        throw std::runtime_error(reading.name + ": another answer");
}

void OperatorFigures::copyOut(const Reading &reading)
{
    for (const ReplyPart &part : reading.parts)
        (void)m_database.copyOut(part.statement);
}

std::vector<Figure> OperatorFigures::addFigures(Interleaved &measured)
{
    std::vector<Figure> figures;
    for (std::size_t i = 0; i < m_readings.size(); ++i) {
        const Reading &reading = m_readings[i];
        const auto subject =
            measured.add({reading.name, reading.runs, 1,
                          [this, &reading, bytes = m_answered[i].bytes](Stopwatch &) { ask(reading, bytes); }});
        const auto copy = measured.add(
            {"COPY of its statements", reading.runs, 1, [this, &reading](Stopwatch &) { copyOut(reading); }});
        figures.push_back({subject, {copy}});
    }
    return figures;
}

std::string OperatorFigures::sizesText() const
{
    std::string text;
    char line[256];
    auto answered = m_answered.begin();
    for (const Reading &reading : m_readings) {
        std::snprintf(line, sizeof line, "%-40s %8d rows %10lld bytes answered\n", reading.name.c_str(), answered->rows,
                      static_cast<long long>(answered->bytes));
        ++answered;
        text += line;
    }
    const auto beyondIdle = static_cast<double>(m_peakBytes - m_idleBytes);
    std::snprintf(line, sizeof line,
                  "the service's memory: %.1f MB idle, %.1f MB at most while it answers the first full tree, %.1f MB "
                  "afterwards:\n%.2f times the reply beyond idle\n",
                  static_cast<double>(m_idleBytes) / kMegabyte, static_cast<double>(m_peakBytes) / kMegabyte,
                  static_cast<double>(m_laterBytes) / kMegabyte, beyondIdle / static_cast<double>(m_treeBytes));
    return text + line;
}

} // namespace bench

#include "bench/operator_figures.h"

#include <cstdio>
#include <stdexcept>

namespace bench {

OperatorFigures::OperatorFigures(std::unique_ptr<Link> service, const std::string &database)
    : m_service(std::move(service))
    , m_database(database)
    , m_readings(operatorReadings())
{
    m_memory = measureMemory(*m_service, m_readings.front());
    for (const Reading &reading : m_readings)
        m_answered.push_back(askChecked(*m_service, m_database, reading));
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
    return text + memoryText(m_memory);
}

} // namespace bench

#include "bench/registry_figures.h"

#include "bench/attended_service.h"
#include "bench/command_frames.h"
#include "bench/object_operations.h"
#include "bench/operator_operations.h"
#include "bench/template_operations.h"

#include <QDeadlineTimer>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

constexpr int kAsker = 9; ///< caller of what is asked besides the measured commands

const char *sectionOf(Kind kind)
{
    switch (kind) {
    case Kind::Reads:
        return "Reading one object, account or template";
    case Kind::Writes:
        return "Changing one object, account or template";
    case Kind::WritesAll:
        return "Writing many rows";
    case Kind::ReadsAll:
        return "Whole lists";
    case Kind::Searches:
        return "Searches with a client's words";
    case Kind::Plain:
        break;
    }
    return "Without the database";
}

std::optional<double> goalOf(const Operation &operation, Commits commits, long objects)
{
    constexpr long kLarge = 100'000;
    switch (operation.kind) {
    case Kind::Reads:
        return 1.25;
    case Kind::Writes:
        return commits == Commits::Durable ? 1.15 : 1.4;
    case Kind::WritesAll:
        return operation.limit == Limit::Pipelined ? std::optional(1.2) : std::nullopt;
    case Kind::ReadsAll:
        return objects >= kLarge ? std::optional(1.3) : std::nullopt;
    case Kind::Searches:
    case Kind::Plain:
        break;
    }
    return std::nullopt;
}

bool isWriting(const Operation &operation)
{
    return operation.kind == Kind::Writes || operation.kind == Kind::WritesAll;
}

/// How often it is run in a round: some milliseconds' worth.
int runsOf(MeasuredOperation &operation)
{
    constexpr double kWorth = 10e6;
    constexpr double kMost = 20;
    Stopwatch watch;
    operation.ask(watch);
    watch.pause();
    return static_cast<int>(std::clamp(std::round(kWorth / watch.nanoseconds()), 1.0, kMost));
}

} // namespace

RegistryFigures::RegistryFigures(RegistryPlace place, const std::string &log)
    : m_place(std::move(place))
    , m_service(attendService(m_place.admin))
    , m_database(m_place.database)
    , m_aside(m_place.database)
    , m_log(m_aside, log)
    , m_installation{*m_service, m_database, m_aside, m_place.database, m_log, commandFrame(kAsker, "About"), {}}
{
    // It puts back what commands have changed, which must not wait for the disk.
    m_aside.text("SET synchronous_commit = off");
    m_service->send(m_installation.about);
    m_installation.aboutAnswer = m_service->receive();
    std::vector<Operation> operations{{"About", Kind::Plain, commandFrame(kCaller, "About")}};
    for (const std::vector<Operation> &some : {objectOperations(m_aside, static_cast<int>(m_place.objects)),
                                               operatorOperations(), templateOperations(*m_service, m_aside)})
        operations.insert(operations.end(), some.begin(), some.end());
    set("log_statement", "all");
    // What is read must be as it will be: what is written differs from what was there only the first time.
    for (const bool writing : {true, false}) {
        for (const Operation &operation : operations) {
            if (isWriting(operation) == writing)
                record(operation);
        }
    }
    set("log_statement", "none");
}

void RegistryFigures::record(const Operation &operation)
{
    auto measured = std::make_unique<MeasuredOperation>(operation, m_installation);
    if (measured->isAnswered())
        m_operations.push_back(std::move(measured));
    else
        std::fprintf(stderr, "%s with %ld objects is left out: its answer would be too long to be sent\n",
                     operation.name.c_str(), m_place.objects);
}

bool RegistryFigures::serviceSees(const QByteArray &condition)
{
    m_service->send(commandFrame(kAsker, "Get_objs_by_query_v2", QString::fromUtf8("SELECT 1 WHERE " + condition)));
    keystone::ByteReader in(answerIn(m_service->receive(), kAsker).data);
    QList<qint32> numbers;
    in >> numbers;
    return numbers.size() == 1;
}

void RegistryFigures::set(const char *setting, const char *value)
{
    constexpr int kPatienceMs = 10000;
    const QByteArray condition = QByteArray("current_setting('") + setting + "') = '" + value + '\'';
    m_aside.text(QByteArray("ALTER SYSTEM SET ") + setting + " = '" + value + '\'');
    m_aside.text("SELECT pg_reload_conf()");
    const QDeadlineTimer deadline(kPatienceMs);
    while (!serviceSees(condition) || PQntuples(m_database.text("SELECT 1 WHERE " + condition).get()) != 1) {
        if (deadline.hasExpired())
            throw std::runtime_error(std::string("the database does not take ") + setting);
    }
}

void RegistryFigures::addTo(Interleaved &measured, Commits commits)
{
    m_commits = commits;
    m_lines.clear();
    for (const auto &one : m_operations) {
        MeasuredOperation &operation = *one;
        // What writes many rows waits for the disk so long that nothing else is seen.
        if (commits == Commits::Durable && operation.operation().kind != Kind::Writes)
            continue;
        const int runs = runsOf(operation);
        const auto subject = measured.add(
            {operation.operation().name, runs, 1, [&operation](Stopwatch &watch) { operation.ask(watch); }});
        const auto limit = measured.addBeside(
            subject, {operation.limitName(), runs, 1, [&operation](Stopwatch &watch) { operation.runAlone(watch); }});
        m_lines.push_back({&operation, subject, limit});
    }
}

void RegistryFigures::tidy()
{
    m_aside.text(
        R"(VACUUM (INDEX_CLEANUP ON) "Objects", "Objects_property", "Sensors", "Commands", "Params", "Connections", "Person_Setup", "Templates")");
}

Result RegistryFigures::resultOf(const Line &line, const Interleaved &measured) const
{
    const Operation &operation = line.operation->operation();
    Result result;
    result.section = sectionOf(operation.kind);
    if (m_commits == Commits::Durable)
        result.section += ", commits waiting for the disk";
    else if (isWriting(operation))
        result.section += ", commits not waiting for the disk";
    result.figure = operation.name;
    result.limit = line.operation->limitName();
    result.goal = goalOf(operation, m_commits, m_place.objects);
    result.unit = "ns";
    result.subject = measured.nanoseconds(line.subject);
    result.limitMedian = measured.nanoseconds(line.limit).median;
    result.ratio = measured.ratio(line.subject, {line.limit});
    result.objects = m_place.objects;
    return result;
}

void RegistryFigures::append(const std::string &path, const Interleaved &measured,
                             const RegistryFigures &smallest) const
{
    constexpr double kMostGrowth = 1.1;
    for (const Line &line : m_lines) {
        Result result = resultOf(line, measured);
        appendResult(path, result);
        const Kind kind = line.operation->operation().kind;
        if (&smallest == this || m_commits == Commits::Durable || (kind != Kind::Reads && kind != Kind::Writes))
            continue;
        const auto same = std::ranges::find_if(
            smallest.m_lines, [&](const Line &other) { return other.operation->operation().name == result.figure; });
        result.section = "Growth with the registry";
        result.limit = "with " + std::to_string(smallest.m_place.objects) + " objects";
        result.goal = kMostGrowth;
        result.limitMedian = measured.nanoseconds(same->subject).median;
        result.ratio = measured.ratio(line.subject, {same->subject});
        appendResult(path, result);
    }
}

double RegistryFigures::quit()
{
    Stopwatch watch;
    m_service->send(commandFrame(kAsker, "QuitSignal"));
    if (m_service->receiveOrEnd())
        throw std::runtime_error("the service answers \"QuitSignal\"");
    watch.pause();
    return watch.nanoseconds();
}

} // namespace bench

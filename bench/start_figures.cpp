#include "bench/start_figures.h"

#include "bench/log_watch.h"
#include "bench/spawned.h"

#include <chrono>
#include <stdexcept>

namespace bench {

namespace {

constexpr const char *kSection = "Start-up";
constexpr double kNanosecondsPerMillisecond = 1e6;
constexpr double kMostMs = 60;
constexpr auto kPatience = std::chrono::seconds(30);

constexpr const char *kConnections = "SELECT count(*) FROM pg_stat_activity WHERE datname = current_database()";

} // namespace

StartFigures::StartFigures(std::string settings, std::string log, std::string database)
    : m_settings(std::move(settings))
    , m_log(std::move(log))
    , m_database(std::move(database))
    , m_observer(m_database)
    , m_standing(connections())
{}

int StartFigures::connections()
{
    return QByteArray(PQgetvalue(m_observer.text(kConnections).get(), 0, 0)).toInt();
}

/// The database's process of a connection that was closed ends on its own time, which shall not be the next run's.
void StartFigures::awaitQuiet()
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (connections() != m_standing) {
        if (std::chrono::steady_clock::now() > end)
            throw std::runtime_error("the database keeps connections that were closed");
    }
}

void StartFigures::start(Stopwatch &watch)
{
    watch.pause();
    LogWatch log(m_log);
    const std::vector<std::string> commandLine{besideThisProgram("objects_server"), "-settings", m_settings};
    {
        watch.resume();
        const Spawned service(commandLine);
        log.waitFor("Start Ok!");
        watch.pause();
        // It logs that line without a database, too.
        if (connections() != m_standing + 1)
            throw std::runtime_error("the service has started without its database");
    }
    awaitQuiet();
    watch.resume();
}

void StartFigures::connect(Stopwatch &watch)
{
    {
        const BareConnection connection(m_database);
        watch.pause();
    }
    awaitQuiet();
    watch.resume();
}

std::vector<HeldFigure> StartFigures::addFigures(Interleaved &measured)
{
    m_start = measured.add({"exec to \"Start Ok!\"", 1, 1, [this](Stopwatch &watch) { start(watch); }});
    m_connect = measured.add({"PQconnectdb", 1, 1, [this](Stopwatch &watch) { connect(watch); }});
    return {{kSection, {m_start, {m_connect}}, {}}};
}

Result StartFigures::ownTime(const Interleaved &measured, long objects) const
{
    constexpr double kMost = kMostMs * kNanosecondsPerMillisecond;
    const Summary own = measured.difference(m_start, {m_connect});
    Result result;
    result.section = kSection;
    result.figure = "exec to \"Start Ok!\" less PQconnectdb";
    result.limit = "60 ms";
    result.goal = 1.0;
    result.unit = "ns";
    result.subject = own;
    result.limitMedian = kMost;
    result.ratio = {own.median / kMost, own.p10 / kMost, own.p90 / kMost};
    result.objects = objects;
    return result;
}

} // namespace bench

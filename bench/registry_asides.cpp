#include "bench/pgbench_latency.h"
#include "bench/registry_figures.h"
#include "bench/service_profile.h"

#include <array>
#include <cstdio>

namespace bench {

namespace {

/// The same time for each command, whatever one run of it takes.
void keepAsking(MeasuredOperation &operation)
{
    constexpr double kWorth = 3e8;
    Stopwatch whole;
    do {
        Stopwatch watch;
        operation.ask(watch);
        whole.pause();
        whole.resume();
    } while (whole.nanoseconds() < kWorth);
}

} // namespace

void RegistryFigures::appendPgbench(const std::string &path, const Interleaved &measured) const
{
    for (const Line &line : m_lines) {
        const MeasuredOperation &operation = *line.operation;
        if (operation.operation().kind != Kind::Reads || operation.statements().size() != 1)
            continue;
        const std::optional<Summary> latency = pgbenchLatency(operation.statements().front(), m_place.database);
        if (!latency)
            continue;
        Result result = resultOf(line, measured);
        result.section = "Beside pgbench with the same statement";
        result.limit = "pgbench's average latency";
        result.goal = std::nullopt;
        result.limitMedian = latency->median;
        // They were not measured in turns: what is known of the ratio's spread is the command's own.
        result.ratio = {result.subject.median / latency->median, result.subject.p10 / latency->median,
                        result.subject.p90 / latency->median};
        appendResult(path, result);
    }
}

void RegistryFigures::appendProfiles(const std::string &path)
{
    for (const Kind kind : {Kind::Plain, Kind::Reads, Kind::Writes, Kind::WritesAll, Kind::Searches, Kind::ReadsAll})
        profile(path, kind);
}

void RegistryFigures::profile(const std::string &path, Kind kind)
{
    const auto shares = profileOf(m_service->peer(), [&] {
        for (const Pair &pair : m_operations) {
            if (pair.own->operation().kind == kind)
                keepAsking(*pair.own);
        }
    });
    if (!shares) {
        std::fprintf(stderr, "perf does not tell where the service's time goes: %s\n", sectionOf(kind));
        return;
    }
    for (const auto &[owner, share] : *shares) {
        Result result;
        result.section = std::string(kTimeSection) + sectionOf(kind);
        result.figure = owner;
        result.unit = '%';
        result.subject = {share, share, share};
        result.objects = m_place.objects;
        appendResult(path, result);
    }
}

} // namespace bench

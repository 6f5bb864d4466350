#include "bench/registry_figures.h"

#include <algorithm>

namespace bench {

namespace {

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

} // namespace

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

bool isWriting(const Operation &operation)
{
    return operation.kind == Kind::Writes || operation.kind == Kind::WritesAll;
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
    result.limit = measured.name(line.limit);
    if (m_place.other.empty())
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
    for (const Line &line : m_lines)
        appendResult(path, resultOf(line, measured));
    for (const Line &line : m_lines) {
        if (line.echo) {
            const std::vector<Interleaved::Id> both{*line.echo, line.limit};
            Result result = resultOf(line, measured);
            result.section = "The same beside bus and statements together";
            result.limit = "echo + " + result.limit;
            result.goal = std::nullopt;
            result.limitMedian = measured.nanoseconds(both).median;
            result.ratio = measured.ratio(line.subject, both);
            appendResult(path, result);
        }
    }
    if (&smallest == this || m_commits == Commits::Durable || !m_place.other.empty())
        return;
    for (const Line &line : m_lines)
        appendGrowth(path, line, measured, smallest);
}

void RegistryFigures::appendGrowth(const std::string &path, const Line &line, const Interleaved &measured,
                                   const RegistryFigures &smallest) const
{
    constexpr double kMostGrowth = 1.1;
    const Operation &operation = line.operation->operation();
    if (operation.kind != Kind::Reads && operation.kind != Kind::Writes)
        return;
    const auto same = std::ranges::find_if(
        smallest.m_lines, [&](const Line &other) { return other.operation->operation().name == operation.name; });
    Result result = resultOf(line, measured);
    result.section = "Growth with the registry";
    result.limit = "with " + std::to_string(smallest.m_place.objects) + " objects";
    result.goal = kMostGrowth;
    result.limitMedian = measured.nanoseconds(same->subject).median;
    result.ratio = measured.ratio(line.subject, {same->subject});
    appendResult(path, result);
}

} // namespace bench

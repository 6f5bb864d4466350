#include "bench/held_figure.h"

#include <cstdio>

namespace bench {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;

Summary rates(const Summary &nanoseconds)
{
    // What takes longest is the lowest rate.
    return {kNanosecondsPerSecond / nanoseconds.median, kNanosecondsPerSecond / nanoseconds.p90,
            kNanosecondsPerSecond / nanoseconds.p10};
}

Result resultOf(const Interleaved &measured, const HeldFigure &figure, long objects)
{
    const Figure &line = figure.line;
    Result result;
    result.section = figure.section;
    result.figure = measured.name(line.subject);
    result.limit = measured.name(line.references.front());
    result.goal = figure.goal;
    result.objects = objects;
    result.atLeast = figure.isRate;
    const Summary time = measured.nanoseconds(line.subject);
    const Summary limit = measured.nanoseconds(line.references);
    if (figure.isRate) {
        result.unit = "1/s";
        result.subject = rates(time);
        result.limitMedian = rates(limit).median;
        result.ratio = measured.ratio(line.references.front(), {line.subject});
    } else {
        result.unit = "ns";
        result.subject = time;
        result.limitMedian = limit.median;
        result.ratio = measured.ratio(line.subject, line.references);
    }
    return result;
}

void printLine(const Result &result)
{
    std::printf("%-44s %-34s %6.2f", result.figure.c_str(), result.limit.c_str(), result.ratio.median);
    if (result.goal) {
        const bool reached = reachesGoal(result).value_or(false);
        std::printf("   at %s %.2f  %s", result.atLeast ? "least" : "most ", *result.goal, reached ? "yes" : "NO");
    }
    std::printf("\n");
}

} // namespace

std::vector<Result> resultsOf(const Interleaved &measured, const std::vector<HeldFigure> &figures, long objects)
{
    std::vector<Result> results;
    for (const HeldFigure &figure : figures)
        results.push_back(resultOf(measured, figure, objects));
    return results;
}

void tellResults(const std::vector<Result> &results, const std::string &path)
{
    std::printf("\n%-44s %-34s %6s   %s\n", "figure", "compared with", "ratio", "goal         reached");
    for (const Result &result : results) {
        printLine(result);
        if (!path.empty())
            appendResult(path, result);
    }
}

} // namespace bench

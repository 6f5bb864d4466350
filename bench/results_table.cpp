#include "bench/results_table.h"

#include "bench/report.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace bench {

namespace {

std::string valueText(const Result &result, double value)
{
    if (result.unit == "ns")
        return timeText(value);
    char text[64];
    std::snprintf(text, sizeof text, "%.4g %s", value, result.unit.c_str());
    return text;
}

std::string goalText(const Result &result)
{
    if (!result.goal)
        return "";
    char text[64];
    std::snprintf(text, sizeof text, "%s %.2f  %s", result.atLeast ? ">=" : "<=", *result.goal,
                  reachesGoal(result).value_or(false) ? "yes" : "NO");
    return text;
}

void printLine(const Result &result)
{
    std::printf("%-44s %9s %9s %9s", result.figure.c_str(), valueText(result, result.subject.median).c_str(),
                valueText(result, result.subject.p10).c_str(), valueText(result, result.subject.p90).c_str());
    if (!result.limit.empty()) {
        std::printf("   %-23s %9s %6.2f %6.2f %6.2f  %s", result.limit.c_str(),
                    valueText(result, result.limitMedian).c_str(), result.ratio.median, result.ratio.p10,
                    result.ratio.p90, goalText(result).c_str());
    }
    std::printf("\n");
}

} // namespace

void printTable(std::vector<Result> results)
{
    std::ranges::stable_sort(results, {}, [](const Result &one) { return std::tie(one.section, one.objects); });
    std::printf("%-44s %9s %9s %9s   %-23s %9s %6s %6s %6s  %s\n", "figure", "median", "p10", "p90", "beside", "median",
                "ratio", "p10", "p90", "goal, reached");
    const Result *previous = nullptr;
    for (const Result &result : results) {
        if (!previous || previous->section != result.section || previous->objects != result.objects) {
            std::printf("\n%s", result.section.c_str());
            if (result.objects > 0)
                std::printf(", %ld objects", result.objects);
            std::printf("\n");
        }
        printLine(result);
        previous = &result;
    }
}

} // namespace bench

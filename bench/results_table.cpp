#include "bench/results_table.h"

#include "bench/report.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

namespace bench {

namespace {

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
    std::printf("%-44s %9s %9s %9s", result.figure.c_str(), valueText(result.subject.median, result.unit).c_str(),
                valueText(result.subject.p10, result.unit).c_str(), valueText(result.subject.p90, result.unit).c_str());
    if (!result.limit.empty()) {
        std::printf("   %-23s %9s %6.2f %6.2f %6.2f  %s", result.limit.c_str(),
                    valueText(result.limitMedian, result.unit).c_str(), result.ratio.median, result.ratio.p10,
                    result.ratio.p90, goalText(result).c_str());
    }
    std::printf("\n");
}

} // namespace

void printTable(std::vector<Result> results)
{
    const std::vector<std::string> sections = sectionsOf(results);
    std::ranges::stable_sort(results, {}, [&sections](const Result &one) {
        return std::tuple(std::ranges::find(sections, one.section) - sections.begin(), one.objects);
    });
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

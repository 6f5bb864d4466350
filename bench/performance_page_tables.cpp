#include "bench/performance_page_tables.h"

#include "bench/report.h"

#include <cstdio>

namespace bench {

namespace {

constexpr const char *kHead = "| figure | objects | compared with | goal | ratio [p10, p90] | time | reached |\n"
                              "|---|--:|---|---|---|--:|---|\n";

std::string decimals(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

std::string goalOf(const Result &result)
{
    return result.goal ? (result.atLeast ? "at least " : "at most ") + decimals(*result.goal) : "";
}

std::string ratioOf(const Result &result)
{
    if (result.limit.empty())
        return "";
    return decimals(result.ratio.median) + " [" + decimals(result.ratio.p10) + ", " + decimals(result.ratio.p90) + "]";
}

std::string row(const Result &result)
{
    const auto reached = reachesGoal(result);
    std::string text = "| " + result.figure + " | " + (result.objects > 0 ? countText(result.objects) : "") + " | ";
    if (!result.limit.empty())
        text += result.limit + ", " + valueText(result.limitMedian, result.unit);
    text += " | " + goalOf(result) + " | " + ratioOf(result) + " | " + valueText(result.subject.median, result.unit) +
            " | ";
    if (reached)
        text += *reached ? "yes" : "**no**";
    return text + " |\n";
}

bool isShare(const Result &result)
{
    return result.section.starts_with(kTimeSection);
}

} // namespace

std::string goalsText(const std::vector<Result> &results)
{
    int all = 0;
    int missed = 0;
    std::string rows;
    for (const Result &result : results) {
        const auto reached = reachesGoal(result);
        if (!reached)
            continue;
        ++all;
        if (!*reached) {
            ++missed;
            rows += row(result);
        }
    }
    std::string text = "## Goals\n\n" + std::to_string(all - missed) + " of " + std::to_string(all) + " are reached.";
    if (missed > 0)
        text += " Not these:\n\n" + (kHead + rows);
    else
        text += "\n";
    return text + "\n";
}

std::string tablesText(const std::vector<Result> &results)
{
    std::string text;
    for (const std::string &section : sectionsOf(results)) {
        std::string rows;
        for (const Result &result : results) {
            if (result.section == section && !isShare(result))
                rows += row(result);
        }
        if (!rows.empty())
            text += "### " + section + "\n\n" + (kHead + rows) + "\n";
    }
    return text;
}

} // namespace bench

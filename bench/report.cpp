#include "bench/report.h"

#include <cstdio>

namespace bench {

namespace {

constexpr double kNanosecondsPerSecond = 1e9;
constexpr int kTableWidth = 141;

std::string referenceNames(const Interleaved &measured, const std::vector<Interleaved::Id> &references)
{
    std::string names;
    for (const auto id : references)
        names += (names.empty() ? "" : " + ") + measured.name(id);
    return names;
}

} // namespace

std::string timeText(double nanoseconds)
{
    const char *unit = "ns";
    double value = nanoseconds;
    if (value >= 1000) {
        value /= 1000;
        unit = "us";
    }
    if (value >= 1000) {
        value /= 1000;
        unit = "ms";
    }
    if (value >= 10'000) {
        value /= 1000;
        unit = "s";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.*f %s", value < 10 ? 2 : value < 100 ? 1 : 0, value, unit);
    return text;
}

std::string valueText(double value, const std::string &unit)
{
    constexpr double kMegabyte = 1e6;
    if (unit == "ns")
        return timeText(value);
    char text[64];
    if (unit == "bytes")
        std::snprintf(text, sizeof text, "%.1f MB", value / kMegabyte);
    else if (unit == "1/s")
        std::snprintf(text, sizeof text, "%.0f/s", value);
    else
        std::snprintf(text, sizeof text, "%.1f %s", value, unit.c_str());
    return text;
}

std::string countText(long count)
{
    constexpr int kGroup = 3;
    std::string text = std::to_string(count);
    for (int place = static_cast<int>(text.size()) - kGroup; place > 0; place -= kGroup)
        text.insert(static_cast<std::size_t>(place), 1, ',');
    return text;
}

void printReport(const Interleaved &measured, const std::vector<Figure> &figures)
{
    const std::string rule(kTableWidth, '-');
    std::printf("%-40s %10s %8s %8s %8s   %-29s %8s %6s %6s %6s\n", "figure", "per second", "median", "p10", "p90",
                "compared with", "median", "ratio", "p10", "p90");
    std::printf("%s\n", rule.c_str());
    const Figure *previous = nullptr;
    for (const Figure &figure : figures) {
        const Summary time = measured.nanoseconds(figure.subject);
        const Summary reference = measured.nanoseconds(figure.references);
        const Summary ratio = measured.ratio(figure.subject, figure.references);
        if (previous && previous->subject == figure.subject) {
            std::printf("%-40s %10s %8s %8s %8s", "", "", "", "", "");
        } else {
            std::printf("%-40s %10.0f %8s %8s %8s", measured.name(figure.subject).c_str(),
                        kNanosecondsPerSecond / time.median, timeText(time.median).c_str(), timeText(time.p10).c_str(),
                        timeText(time.p90).c_str());
        }
        std::printf("   %-29s %8s %6.2f %6.2f %6.2f\n", referenceNames(measured, figure.references).c_str(),
                    timeText(reference.median).c_str(), ratio.median, ratio.p10, ratio.p90);
        previous = &figure;
    }
    std::printf("%s\n", rule.c_str());
}

} // namespace bench

#include "bench/performance_page_plots.h"

#include "bench/report.h"
#include "bench/svg_bars.h"
#include "bench/svg_plot.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>

namespace bench {

namespace {

constexpr const char *kSizeFile = "size-";
constexpr const char *kTimeFile = "time.svg";

std::string countLabel(double objects)
{
    return countText(std::lround(objects));
}

/// At whole powers of ten.
std::string timeLabel(double nanoseconds)
{
    const std::string text = timeText(nanoseconds);
    const std::size_t unit = text.find(' ');
    return std::to_string(std::lround(std::stod(text))) + text.substr(unit);
}

/// The figures of a section that stand with several sizes, which ascend. A figure that stands in several sections
/// belongs to the first.
std::vector<PlotLine> linesOf(const std::vector<Result> &results, const std::string &section)
{
    std::vector<PlotLine> lines;
    for (const Result &result : results) {
        const auto first = std::ranges::find_if(results, [&](const Result &other) {
            return other.figure == result.figure && other.objects == result.objects;
        });
        if (result.section != section || first->section != section || result.objects == 0 || result.unit != "ns")
            continue;
        auto line = std::ranges::find(lines, result.figure, &PlotLine::name);
        if (line == lines.end())
            line = lines.insert(line, PlotLine{result.figure, {}});
        const auto objects = static_cast<double>(result.objects);
        // It stands once for each thing that it is beside.
        if (line->points.empty() || line->points.back().x < objects)
            line->points.push_back({objects, result.subject.median});
    }
    std::erase_if(lines, [](const PlotLine &line) { return line.points.size() < 2; });
    return lines;
}

/// In as few parts as hold at most so many lines that they can be told apart, about as many in each.
std::vector<std::vector<PlotLine>> parted(const std::vector<PlotLine> &lines)
{
    constexpr std::size_t kMost = 9;
    const std::size_t parts = (lines.size() + kMost - 1) / kMost;
    std::vector<std::vector<PlotLine>> all;
    for (std::size_t part = 0; part < parts; ++part) {
        all.emplace_back(lines.begin() + std::ssize(lines) * std::ptrdiff_t(part) / std::ptrdiff_t(parts),
                         lines.begin() + std::ssize(lines) * std::ptrdiff_t(part + 1) / std::ptrdiff_t(parts));
    }
    return all;
}

} // namespace

std::vector<PagePlot> sizePlots(const std::vector<Result> &results)
{
    std::vector<PagePlot> plots;
    for (const std::string &section : sectionsOf(results)) {
        const std::vector<std::vector<PlotLine>> parts = parted(linesOf(results, section));
        for (std::size_t part = 0; part < parts.size(); ++part) {
            std::string title = section;
            if (parts.size() > 1)
                title += " (" + std::to_string(part + 1) + " of " + std::to_string(parts.size()) + ")";
            const Plot plot{title, "objects in the registry", countLabel, timeLabel, parts[part]};
            plots.push_back({kSizeFile + std::to_string(plots.size() + 1) + ".svg", title, svgOf(plot)});
        }
    }
    return plots;
}

std::vector<PagePlot> timePlots(const std::vector<Result> &results)
{
    const std::string title = "Whose code the service's processor time is spent in";
    Bars bars{title, {}, {}};
    std::map<std::string, std::map<std::string, double>> shares; // by whole and part
    std::map<std::string, double> sums;                          // by part
    for (const Result &result : results) {
        if (!result.section.starts_with(kTimeSection))
            continue;
        const std::string whole = result.section.substr(std::string(kTimeSection).size());
        shares[whole][result.figure] = result.subject.median;
        sums[result.figure] += result.subject.median;
    }
    if (shares.empty())
        return {};
    for (const auto &[part, sum] : sums)
        bars.parts.push_back(part);
    std::ranges::sort(bars.parts, std::greater<>(), [&](const std::string &part) { return sums[part]; });
    for (auto &[whole, parts] : shares) {
        std::vector<double> row;
        for (const std::string &part : bars.parts)
            row.push_back(parts[part]);
        bars.wholes.emplace_back(whole, row);
    }
    return {{kTimeFile, title, svgOf(bars)}};
}

bool isPlotFile(const std::string &file)
{
    return file == kTimeFile || (file.starts_with(kSizeFile) && file.ends_with(".svg"));
}

} // namespace bench

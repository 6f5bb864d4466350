#pragma once

#include "bench/results.h"

#include <string>
#include <vector>

namespace bench {

struct PagePlot
{
    std::string file;
    std::string title;
    std::string svg;
};

/// Time against the registry's size, for each figure that was measured in several: some of a section in each.
[[nodiscard]] std::vector<PagePlot> sizePlots(const std::vector<Result> &results);

/// Whose code the service's time is spent in; none where that was not measured.
[[nodiscard]] std::vector<PagePlot> timePlots(const std::vector<Result> &results);

/// Whether a file of that name may be one of these.
[[nodiscard]] bool isPlotFile(const std::string &file);

} // namespace bench

#pragma once

#include <string>
#include <vector>

namespace bench {

struct PlotPoint
{
    double x; ///< both above 0
    double y;
};

struct PlotLine
{
    std::string name;
    std::vector<PlotPoint> points;
};

/// A line chart with logarithmic axes, on which "twice as much takes twice as long" is a straight slope of one.
struct Plot
{
    std::string title;
    std::string xTitle;
    std::string (*xLabel)(double); ///< what stands at a power of ten
    std::string (*yLabel)(double);
    std::vector<PlotLine> lines; ///< at least one, with at least one point
};

/// A whole SVG document. Texts are plain; what has a meaning in XML is escaped.
[[nodiscard]] std::string svgOf(const Plot &plot);

} // namespace bench

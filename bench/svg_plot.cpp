#include "bench/svg_plot.h"

#include "bench/svg_elements.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

constexpr double kWidth = 960;
constexpr double kHeight = 520;
constexpr double kLeft = 80;
constexpr double kRight = 620; ///< the names of the lines stand beyond it
constexpr double kTop = 50;
constexpr double kBottom = 460;
constexpr double kLineHeight = 24;

/// One axis: whole powers of ten from below the least value to above the greatest, on pixels `begin` to `end`.
class Axis
{
public:
    Axis(double least, double greatest, double begin, double end)
        : m_first(static_cast<int>(std::floor(std::log10(least))))
        , m_last(std::max(m_first + 1, static_cast<int>(std::ceil(std::log10(greatest)))))
        , m_begin(begin)
        , m_end(end)
    {}

    [[nodiscard]] int first() const { return m_first; }
    [[nodiscard]] int last() const { return m_last; }

    [[nodiscard]] double pixel(double value) const
    {
        return m_begin + (std::log10(value) - m_first) / (m_last - m_first) * (m_end - m_begin);
    }

private:
    int m_first; ///< exponents
    int m_last;
    double m_begin;
    double m_end;
};

Axis axisOf(const Plot &plot, double PlotPoint::*value, double begin, double end)
{
    double least = plot.lines.front().points.front().*value;
    double greatest = least;
    for (const PlotLine &line : plot.lines) {
        for (const PlotPoint &point : line.points) {
            least = std::min(least, point.*value);
            greatest = std::max(greatest, point.*value);
        }
    }
    return {least, greatest, begin, end};
}

std::string grid(const Plot &plot, const Axis &x, const Axis &y)
{
    std::string svg;
    for (int power = x.first(); power <= x.last(); ++power) {
        const double value = std::pow(10, power);
        svg += stroke(x.pixel(value), kTop, x.pixel(value), kBottom, "#dddddd", "1");
        svg += textAt(x.pixel(value), kBottom + 20, "middle", plot.xLabel(value));
    }
    for (int power = y.first(); power <= y.last(); ++power) {
        const double value = std::pow(10, power);
        svg += stroke(kLeft, y.pixel(value), kRight, y.pixel(value), "#dddddd", "1");
        svg += textAt(kLeft - 8, y.pixel(value) + 4, "end", plot.yLabel(value));
    }
    return svg + textAt((kLeft + kRight) / 2, kBottom + 44, "middle", plot.xTitle);
}

std::string drawn(const PlotLine &line, const Axis &x, const Axis &y, const char *colour)
{
    std::string places;
    std::string dots;
    for (const PlotPoint &point : line.points) {
        const std::string px = pixels(x.pixel(point.x));
        const std::string py = pixels(y.pixel(point.y));
        places += px + "," + py + " ";
        dots += "<circle cx=\"" + px + "\" cy=\"" + py + "\" r=\"3.5\" fill=\"" + colour + "\"/>\n";
    }
    return "<polyline points=\"" + places + "\" fill=\"none\" stroke=\"" + colour + "\" stroke-width=\"2\"/>\n" + dots;
}

} // namespace

std::string svgOf(const Plot &plot)
{
    const Axis x = axisOf(plot, &PlotPoint::x, kLeft, kRight);
    const Axis y = axisOf(plot, &PlotPoint::y, kBottom, kTop);
    std::string svg = textAt(kLeft, kTop - 22, "start", plot.title) + grid(plot, x, y);
    double nameY = kTop + kLineHeight / 2;
    for (std::size_t i = 0; i < plot.lines.size(); ++i) {
        const char *colour = colourOf(i);
        svg += drawn(plot.lines[i], x, y, colour);
        svg += stroke(kRight + 20, nameY - 4, kRight + 44, nameY - 4, colour, "2");
        svg += textAt(kRight + 52, nameY, "start", plot.lines[i].name);
        nameY += kLineHeight;
    }
    return svgDocument(kWidth, kHeight, svg);
}

} // namespace bench

#include "bench/svg_plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

constexpr double kWidth = 960;
constexpr double kHeight = 520;
constexpr double kLeft = 80;
constexpr double kRight = 620; ///< the names of the lines stand beyond it
constexpr double kTop = 50;
constexpr double kBottom = 460;
constexpr double kLineHeight = 24;
constexpr std::array kColours = {"#1b6ca8", "#d1495b", "#2e933c", "#8f5ec7", "#e08e0b", "#4d4d4d", "#0aa3a3"};

std::string escaped(const std::string &text)
{
    std::string result;
    for (const char character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string textAt(double x, double y, const char *anchor, const std::string &text)
{
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" text-anchor=\"" + anchor + "\">" + escaped(text) +
           "</text>\n";
}

std::string stroke(double x1, double y1, double x2, double y2, const char *colour, const char *width)
{
    return "<line x1=\"" + number(x1) + "\" y1=\"" + number(y1) + "\" x2=\"" + number(x2) + "\" y2=\"" + number(y2) +
           "\" stroke=\"" + colour + "\" stroke-width=\"" + width + "\"/>\n";
}

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
        const std::string px = number(x.pixel(point.x));
        const std::string py = number(y.pixel(point.y));
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
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + number(kWidth) + " " +
                      number(kHeight) + "\" font-family=\"sans-serif\" font-size=\"13\">\n" +
                      "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n" +
                      textAt(kLeft, kTop - 22, "start", plot.title) + grid(plot, x, y);
    double nameY = kTop + kLineHeight / 2;
    for (std::size_t i = 0; i < plot.lines.size(); ++i) {
        const char *colour = kColours[i % kColours.size()];
        svg += drawn(plot.lines[i], x, y, colour);
        svg += stroke(kRight + 20, nameY - 4, kRight + 44, nameY - 4, colour, "2");
        svg += textAt(kRight + 52, nameY, "start", plot.lines[i].name);
        nameY += kLineHeight;
    }
    return svg + "</svg>\n";
}

} // namespace bench

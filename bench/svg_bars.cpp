#include "bench/svg_bars.h"

#include "bench/svg_elements.h"

#include <cstdio>

namespace bench {

namespace {

constexpr double kWidth = 960;
constexpr double kLeft = 310; ///< the bars' names stand before it
constexpr double kPixelsOfPercent = 6.2;
constexpr double kTop = 80;
constexpr double kBarHeight = 22;
constexpr double kBarDistance = 32;

std::string rectangle(double x, double y, double width, const char *colour, const std::string &hint)
{
    return "<rect x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" width=\"" + pixels(width) + "\" height=\"" +
           pixels(kBarHeight) + "\" fill=\"" + colour + "\"><title>" + escaped(hint) + "</title></rect>\n";
}

std::string percent(double share)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.0f %%", share);
    return text;
}

std::string barOf(const Bars &bars, const std::vector<double> &shares, double y)
{
    constexpr double kWideEnough = 5; // percent, for a number inside
    std::string svg;
    double x = kLeft;
    for (std::size_t i = 0; i < shares.size(); ++i) {
        const double width = shares[i] * kPixelsOfPercent;
        svg += rectangle(x, y, width, colourOf(i), bars.parts[i] + ", " + percent(shares[i]));
        if (shares[i] >= kWideEnough)
            svg += "<g fill=\"white\">" + textAt(x + width / 2, y + 16, "middle", percent(shares[i])) + "</g>\n";
        x += width;
    }
    return svg;
}

} // namespace

std::string svgOf(const Bars &bars)
{
    constexpr double kNameWidth = 150;
    std::string svg = textAt(20, 28, "start", bars.title);
    for (std::size_t i = 0; i < bars.parts.size(); ++i) {
        const double x = 20 + static_cast<double>(i) * kNameWidth;
        svg += "<rect x=\"" + pixels(x) + "\" y=\"44\" width=\"12\" height=\"12\" fill=\"" + colourOf(i) + "\"/>\n" +
               textAt(x + 18, 55, "start", bars.parts[i]);
    }
    double y = kTop;
    for (const auto &[name, shares] : bars.wholes) {
        svg += textAt(kLeft - 10, y + 16, "end", name) + barOf(bars, shares, y);
        y += kBarDistance;
    }
    return svgDocument(kWidth, y + 10, svg);
}

} // namespace bench

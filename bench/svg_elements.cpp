#include "bench/svg_elements.h"

#include <array>
#include <cstdio>

namespace bench {

namespace {

constexpr std::array kColours = {"#1b6ca8", "#d1495b", "#2e933c", "#8f5ec7", "#e08e0b",
                                 "#4d4d4d", "#0aa3a3", "#a0522d", "#e377c2", "#9aa40c"};

} // namespace

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

std::string pixels(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

std::string textAt(double x, double y, const char *anchor, const std::string &text)
{
    return "<text x=\"" + pixels(x) + "\" y=\"" + pixels(y) + "\" text-anchor=\"" + anchor + "\">" + escaped(text) +
           "</text>\n";
}

std::string stroke(double x1, double y1, double x2, double y2, const char *colour, const char *width)
{
    return "<line x1=\"" + pixels(x1) + "\" y1=\"" + pixels(y1) + "\" x2=\"" + pixels(x2) + "\" y2=\"" + pixels(y2) +
           "\" stroke=\"" + colour + "\" stroke-width=\"" + width + "\"/>\n";
}

const char *colourOf(std::size_t number)
{
    return kColours[number % kColours.size()];
}

std::string svgDocument(double width, double height, const std::string &content)
{
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + pixels(width) + " " + pixels(height) +
           "\" font-family=\"sans-serif\" font-size=\"13\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n" +
           content + "</svg>\n";
}

} // namespace bench

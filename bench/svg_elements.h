#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// With what has a meaning in XML escaped.
[[nodiscard]] std::string escaped(const std::string &text);

/// Pixels, to a tenth.
[[nodiscard]] std::string pixels(double value);

/// `anchor` is SVG's: "start", "middle" or "end".
[[nodiscard]] std::string textAt(double x, double y, const char *anchor, const std::string &text);

[[nodiscard]] std::string stroke(double x1, double y1, double x2, double y2, const char *colour, const char *width);

/// One of ten, told apart on white.
[[nodiscard]] const char *colourOf(std::size_t number);

/// A whole document around `content`, on white, so that it is read in a dark frame, too.
[[nodiscard]] std::string svgDocument(double width, double height, const std::string &content);

} // namespace bench

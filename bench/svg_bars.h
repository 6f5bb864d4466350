#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bench {

/// Shares of a whole, one bar for each whole.
struct Bars
{
    std::string title;
    std::vector<std::string> parts;                                  ///< names, in the order of their places in a bar
    std::vector<std::pair<std::string, std::vector<double>>> wholes; ///< names, and the parts' shares in percent
};

/// A whole SVG document.
[[nodiscard]] std::string svgOf(const Bars &bars);

} // namespace bench

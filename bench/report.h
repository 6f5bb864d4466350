#pragma once

#include "bench/interleaved.h"

#include <string>
#include <vector>

namespace bench {

/// A line of the table: one variant, and what it is compared with.
struct Figure
{
    Interleaved::Id subject;
    std::vector<Interleaved::Id> references; ///< together, one after the other
};

/// A time in the unit that suits, with the three digits that count.
[[nodiscard]] std::string timeText(double nanoseconds);

/// Of that unit: "ns", "bytes", "1/s" or "%".
[[nodiscard]] std::string valueText(double value, const std::string &unit);

/// With commas between the thousands.
[[nodiscard]] std::string countText(long count);

/// Prints the table to standard output.
void printReport(const Interleaved &measured, const std::vector<Figure> &figures);

} // namespace bench

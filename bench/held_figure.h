#pragma once

#include "bench/report.h"
#include "bench/results.h"

#include <optional>
#include <string>

namespace bench {

/// A line of the table that a goal may stand for.
struct HeldFigure
{
    std::string section;
    Figure line;
    std::optional<double> goal; ///< what the ratio shall not exceed
    bool isRate = false;        ///< what counts is the share of the other's rate, which shall not be below the goal
};

[[nodiscard]] std::vector<Result> resultsOf(const Interleaved &measured, const std::vector<HeldFigure> &figures,
                                            long objects);

/// Prints each ratio beside its goal, and adds the results to the file unless its path is empty.
void tellResults(const std::vector<Result> &results, const std::string &path);

} // namespace bench

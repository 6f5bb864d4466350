#pragma once

#include "bench/report.h"

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

/// Prints each figure's ratio beside its goal, and adds it to the file of results unless its path is empty.
void printGoals(const Interleaved &measured, const std::vector<HeldFigure> &figures, const std::string &resultsPath,
                long objects);

} // namespace bench

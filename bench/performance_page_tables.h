#pragma once

#include "bench/results.h"

#include <string>
#include <vector>

namespace bench {

/// How many goals are reached, and which are not.
[[nodiscard]] std::string goalsText(const std::vector<Result> &results);

/// A table for each section.
[[nodiscard]] std::string tablesText(const std::vector<Result> &results);

} // namespace bench

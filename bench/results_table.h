#pragma once

#include "bench/results.h"

#include <vector>

namespace bench {

/// Prints the table to standard output: under each section its figures, the smallest registry first.
void printTable(std::vector<Result> results);

} // namespace bench

#pragma once

#include "bench/answer_memory.h"
#include "bench/results.h"

#include <vector>

namespace bench {

/// The service's memory, idle and beyond that while it answers, beside what they may be.
[[nodiscard]] std::vector<Result> memoryResults(const AnswerMemory &memory, long objects);

} // namespace bench

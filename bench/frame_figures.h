#pragma once

#include "bench/interleaved.h"
#include "bench/report.h"

#include <vector>

namespace bench {

/// Adds cutting and building of frames in memory, each beside a memcpy of the same frames. Returns the table's lines.
[[nodiscard]] std::vector<Figure> addFrameFigures(Interleaved &measured);

} // namespace bench

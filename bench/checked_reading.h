#pragma once

#include "bench/bare_connection.h"
#include "bench/link.h"
#include "bench/operator_readings.h"

#include <QtGlobal>

namespace bench {

struct Answered
{
    qsizetype bytes = 0; ///< of the frame
    int rows = 0;
};

/// Asks the service once; throws std::runtime_error where its answer is not, byte for byte, what the database holds.
[[nodiscard]] Answered askChecked(Link &service, BareConnection &database, const Reading &reading);

} // namespace bench

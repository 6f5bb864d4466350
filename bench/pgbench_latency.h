#pragma once

#include "bench/interleaved.h"
#include "bench/recorded_statement.h"

#include <optional>
#include <string>

namespace bench {

/// What pgbench says that one transaction of this statement takes on average, in nanoseconds, over several runs of one
/// connection that keeps it prepared. Nothing where pgbench is not there or the statement is none that it can run: its
/// values must be numbers. `database` is in libpq's form.
[[nodiscard]] std::optional<Summary> pgbenchLatency(const RecordedStatement &statement, const std::string &database);

} // namespace bench

#pragma once

#include "bench/bare_connection.h"
#include "bench/operation.h"

#include <vector>

namespace bench {

/// The commands on objects and their tree, in a registry of registry.sql with so many objects besides the measured
/// ones.
[[nodiscard]] std::vector<Operation> objectOperations(BareConnection &database, int objects);

} // namespace bench

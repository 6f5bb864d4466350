#pragma once

#include "bench/bare_connection.h"
#include "bench/link.h"
#include "bench/operation.h"

#include <vector>

namespace bench {

/// The commands on templates, in a registry of registry.sql. Those that are read, copied or deleted are first filled
/// through the service.
[[nodiscard]] std::vector<Operation> templateOperations(Link &service, BareConnection &database);

} // namespace bench

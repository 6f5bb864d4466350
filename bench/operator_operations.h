#pragma once

#include "bench/operation.h"

#include <vector>

namespace bench {

/// The commands on accounts, personal setups, searches and the operators' tree, in a registry of registry.sql.
[[nodiscard]] std::vector<Operation> operatorOperations();

} // namespace bench

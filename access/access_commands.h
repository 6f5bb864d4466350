#pragma once

#include "registry/dispatcher.h"

#include <span>

/// (Not named as its folder: access() is a system call.)
namespace operators {

/// The commands of operator workstations, which are looked up before all others.
[[nodiscard]] std::span<const registry::CommandRow> operatorCommands();

/// The commands on operator accounts, personal setup and search.
[[nodiscard]] std::span<const registry::CommandRow> accessCommands();

} // namespace operators

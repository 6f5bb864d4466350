#pragma once

#include "registry/dispatcher.h"

#include <span>

namespace registry {

/// The commands on objects and on the service itself.
[[nodiscard]] std::span<const CommandRow> registryCommands();

} // namespace registry

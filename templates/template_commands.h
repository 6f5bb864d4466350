#pragma once

#include "registry/dispatcher.h"

#include <span>

namespace templates {

/// The commands on object templates.
[[nodiscard]] std::span<const registry::CommandRow> templateCommands();

} // namespace templates

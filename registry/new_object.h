#pragma once

#include "database/connection.h"

#include <optional>

namespace registry {

/// Adds an object with a guid of its own and no card yet, and gives its number; nothing when the insert failed.
[[nodiscard]] std::optional<qint32> insertObject(database::Connection &db);

} // namespace registry

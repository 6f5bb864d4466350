#pragma once

#include "model.h"
#include "pg_server.h"

namespace soak {

/// Every row of every table, by its place, read past the service.
[[nodiscard]] Places readRegistry(support::TestDatabase &database);

/// The number of rows in those places.
[[nodiscard]] qsizetype rowCount(const Places &places);

/// What other programs of the installation do: removes rows that deleted objects have left behind, and gives objects
/// without them last data and a permission, which go with the object.
void tendRegistry(support::TestDatabase &database);

} // namespace soak

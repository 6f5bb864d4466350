#pragma once

#include "database/connection.h"

namespace registry {

/// Runs `statement`, in which `clientText` stands as it is between single quotes. A text without a quote cannot leave
/// its place; one with a quote may be anything, and is treated as a script of the client's own.
[[nodiscard]] database::Result runSpliced(database::Connection &db, const QString &statement,
                                          const QString &clientText);

} // namespace registry

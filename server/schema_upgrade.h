#pragma once

#include <QSqlDatabase>

namespace server {

/// Adds "Email" and "Phone" to "Connections" where an older installation lacks them. Each statement stands alone; an
/// error is written to the log and the debug output, and the next one runs all the same. False when there was one.
bool upgradeConnections(const QSqlDatabase &db);

} // namespace server

#pragma once

#include "database/connection.h"
#include "keystone/records.h"

#include <optional>

namespace registry {

/// Adds a command to `object` and gives its row key; nothing when the insert failed.
[[nodiscard]] std::optional<qint32> insertCommand(database::Connection &db, qint32 object, const CmdDesc &command);

/// Adds a parameter after the others of the command with row key `command`. False when the insert failed.
[[nodiscard]] bool insertParameter(database::Connection &db, qint32 command, const ParamDesc &parameter);

/// The same where it does not matter whether the insert succeeds; it is not waited for.
void postParameter(database::Connection &db, qint32 command, const ParamDesc &parameter);

} // namespace registry

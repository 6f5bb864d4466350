#pragma once

#include "database/connection.h"
#include "keystone/records.h"

namespace registry {

/// Adds a sensor after the others of `object`. False when the insert failed.
[[nodiscard]] bool insertSensor(database::Connection &db, qint32 object, const SensorInfoX &sensor);

/// The same where it does not matter whether the insert succeeds; it is not waited for.
void postSensor(database::Connection &db, qint32 object, const SensorInfoX &sensor);

} // namespace registry

#pragma once

#include "database/connection.h"
#include "keystone/records.h"

namespace registry {

/// Adds a sensor after the others of `object`. False when the insert failed.
bool insertSensor(database::Connection &db, qint32 object, const SensorInfoX &sensor);

} // namespace registry

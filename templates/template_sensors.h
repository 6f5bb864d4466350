#pragma once

#include "templates/template_card.h"

namespace templates {

void getTemplateSensorsV2(registry::CommandCall &call);
void saveTemplateSensorsV2(registry::CommandCall &call);

/// Walks a template's sensors in their order. What `emitSensor` does stops nothing.
void readSensors(database::Connection &db, qint32 number, const std::function<void(const SensorInfoX &)> &emitSensor);

/// Adds a sensor to an own template. Nobody learns whether that failed.
void postTemplateSensor(database::Connection &db, qint32 number, const SensorInfoX &sensor);

} // namespace templates

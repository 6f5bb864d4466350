#pragma once

#include "database/statement.h"

#include <QList>

namespace registry {

class CommandCall;
class RequestReader;

[[nodiscard]] QList<database::Statement> sensorReads(RequestReader &in, int caller);
void getSensorsV2(CommandCall &call);
void saveSensorsV2(CommandCall &call);
void fixSensorMultiObjsV2(CommandCall &call);

} // namespace registry

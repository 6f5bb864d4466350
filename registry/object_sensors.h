#pragma once

namespace registry {

class CommandCall;

void getSensorsV2(CommandCall &call);
void saveSensorsV2(CommandCall &call);
void fixSensorMultiObjsV2(CommandCall &call);

} // namespace registry

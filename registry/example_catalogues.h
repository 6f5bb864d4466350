#pragma once

namespace registry {

class CommandCall;

/// "Get_example_objprops_v2"
void getExamplesObjProps(CommandCall &call);
/// "Get_example_sensors_v2"
void getExamplesSensors(CommandCall &call);
/// "Get_example_controls_v2"
void getExamplesControls(CommandCall &call);

} // namespace registry

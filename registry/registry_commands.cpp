#include "registry/registry_commands.h"

#include "registry/about.h"
#include "registry/example_catalogues.h"
#include "registry/object_cards.h"
#include "registry/object_commands.h"
#include "registry/object_lifecycle.h"
#include "registry/object_sensors.h"
#include "registry/object_tree_editing.h"

namespace registry {

namespace {

constexpr CommandRow kCommands[] = {
    {"About", about, Reply::None},
    {"Get_object_card_v2", getObjectCardV2, Reply::Sent, cardReads},
    {"Save_object_card_v2", saveObjectCardV2, Reply::None},
    {"Update_object_card_field", updateObjectCardField, Reply::None},
    {"Fix_property_multi_objs_v2", fixPropertyMultiObjsV2, Reply::None},
    {"Fix_object_v2", fixObjectV2, Reply::None},
    {"Get_sensors_v2", getSensorsV2, Reply::Sent, sensorReads},
    {"Save_sensors_v2", saveSensorsV2, Reply::None},
    {"Fix_sensor_multi_objs_v2", fixSensorMultiObjsV2, Reply::None},
    {"Get_command_desc_v2", getCommandDescV2, Reply::Sent, commandReads},
    {"Save_command_desc_v2", saveCommandDescV2, Reply::None},
    {"Fix_cmd_desc_multi_objs_v2", fixCmdDescMultiObjsV2, Reply::None},
    {"Save_objects_tree", saveObjectsTree, Reply::None},
    {"Get_example_objprops_v2", getExamplesObjProps, Reply::Sent},
    {"Get_example_sensors_v2", getExamplesSensors, Reply::Sent},
    {"Get_example_controls_v2", getExamplesControls, Reply::Sent},
    {"QuitSignal", quitSignal, Reply::None},
};

} // namespace

std::span<const CommandRow> registryCommands()
{
    return kCommands;
}

} // namespace registry

#pragma once

#include <array>

namespace fuzz {

/// The commands by the first byte of an input of fuzz_requests. New ones go to the end: kept inputs must keep their
/// meaning.
inline constexpr std::array kCommandNames = {
    "About",
    "QuitSignal",
    "Get_object_card_v2",
    "Save_object_card_v2",
    "Update_object_card_field",
    "Fix_property_multi_objs_v2",
    "Fix_object_v2",
    "Get_sensors_v2",
    "Save_sensors_v2",
    "Fix_sensor_multi_objs_v2",
    "Get_command_desc_v2",
    "Save_command_desc_v2",
    "Fix_cmd_desc_multi_objs_v2",
    "Save_objects_tree",
    "Get_example_objprops_v2",
    "Get_example_sensors_v2",
    "Get_example_controls_v2",
    "Get_user_list",
    "Get_users_list",
    "Fix_user",
    "Get_persprop4objects_desc",
    "Get_personalsetup4objects_X",
    "Fix_personal_setup_changes",
    "Copy_personal_setup",
    "Get_objects",
    "Get_object_command",
    "Get_command_params",
    "Save_params",
    "Get_objects_tree",
    "Get_full_objects_tree",
    "Advanced_search",
    "Get_objs_by_condition_v2",
    "Get_objs_by_query_v2",
    "Get_template_list_v2",
    "Fix_template_desc_v2",
    "Get_template_card_v2",
    "Save_template_card_v2",
    "Get_template_sensors_v2",
    "Save_template_sensors_v2",
    "Get_template_controls_v2",
    "Save_template_controls_v2",
    "Create_obj_by_template_v2",
    "Copy_template_v2",
};

/// No command: the rest of the input becomes what a template's rows hold, and every command that reads it runs.
inline constexpr int kStoredBlob = 255;

} // namespace fuzz

#include "templates/template_commands.h"

#include "templates/objects_from_templates.h"
#include "templates/template_card.h"
#include "templates/template_controls.h"
#include "templates/template_sensors.h"
#include "templates/template_store.h"

namespace templates {

using registry::CommandRow;
using registry::Reply;

namespace {

// Each is answered, also where it has written nothing.
constexpr CommandRow kCommands[] = {
    {"Get_template_list_v2", getTemplateListV2, Reply::Sent},
    {"Fix_template_desc_v2", fixTemplateDescV2, Reply::Sent},
    {"Get_template_card_v2", getTemplateCardV2, Reply::Sent},
    {"Save_template_card_v2", saveTemplateCardV2, Reply::Sent},
    {"Get_template_sensors_v2", getTemplateSensorsV2, Reply::Sent},
    {"Save_template_sensors_v2", saveTemplateSensorsV2, Reply::Sent},
    {"Get_template_controls_v2", getTemplateControlsV2, Reply::Sent},
    {"Save_template_controls_v2", saveTemplateControlsV2, Reply::Sent},
    {"Create_obj_by_template_v2", createObjByTemplateV2, Reply::Sent},
    {"Copy_template_v2", copyTemplateV2, Reply::Sent},
};

} // namespace

std::span<const CommandRow> templateCommands()
{
    return kCommands;
}

} // namespace templates

#include "registry/registry_commands.h"

#include "registry/about.h"
#include "registry/object_cards.h"

namespace registry {

namespace {

constexpr CommandRow kCommands[] = {
    {"About", about, Reply::None},
    {"Get_object_card_v2", getObjectCardV2, Reply::Sent},
    {"Save_object_card_v2", saveObjectCardV2, Reply::None},
    {"Update_object_card_field", updateObjectCardField, Reply::None},
    {"Fix_property_multi_objs_v2", fixPropertyMultiObjsV2, Reply::None},
    {"QuitSignal", quitSignal, Reply::None},
};

} // namespace

std::span<const CommandRow> registryCommands()
{
    return kCommands;
}

} // namespace registry

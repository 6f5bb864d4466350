#include "access/access_commands.h"

#include "access/object_search.h"
#include "access/object_tree.h"
#include "access/operator_commands.h"
#include "access/personal_properties.h"
#include "access/personal_setup.h"
#include "access/user_accounts.h"

namespace operators {

using registry::CommandRow;
using registry::Reply;

namespace {

constexpr CommandRow kOperatorCommands[] = {
    {"Get_user_list", getUserList, Reply::Sent},
    {"Get_users_list", getUserList, Reply::Sent},
    {"Get_objects", getObjects, Reply::Sent},
    {"Get_object_command", getObjectCommand, Reply::Sent, allowedReads},
    {"Get_command_params", getCommandParams, Reply::Sent, paramReads},
    {"Save_params", saveParams, Reply::Sent},
    {"Get_objects_tree", getObjectsTree, Reply::Sent},
    {"Get_full_objects_tree", getFullObjectsTree, Reply::Sent},
    {"Advanced_search", advancedSearch, Reply::Sent},
};

constexpr CommandRow kAccessCommands[] = {
    {"Fix_user", fixUser, Reply::Sent},
    {"Get_persprop4objects_desc", getPersprop4objectsDesc, Reply::Sent},
    {"Get_personalsetup4objects_X", getPersonalsetup4objectsX, Reply::Sent},
    {"Fix_personal_setup_changes", fixPersonalSetupChanges, Reply::Sent},
    {"Copy_personal_setup", copyPersonalSetup, Reply::Sent},
    {"Get_objs_by_condition_v2", getObjsByConditionV2, Reply::Sent},
    {"Get_objs_by_query_v2", getObjsByQueryV2, Reply::Sent},
};

} // namespace

std::span<const CommandRow> operatorCommands()
{
    return kOperatorCommands;
}

std::span<const CommandRow> accessCommands()
{
    return kAccessCommands;
}

} // namespace operators

#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

/// "Get_user_list" and "Get_users_list"
void getUserList(registry::CommandCall &call);
void getObjects(registry::CommandCall &call);
void getObjectCommand(registry::CommandCall &call);
void getCommandParams(registry::CommandCall &call);
void saveParams(registry::CommandCall &call);

} // namespace operators

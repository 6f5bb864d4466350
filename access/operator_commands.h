#pragma once

#include "database/statement.h"

#include <QList>

namespace registry {
class CommandCall;
class RequestReader;
} // namespace registry

namespace operators {

/// "Get_user_list" and "Get_users_list"
void getUserList(registry::CommandCall &call);
void getObjects(registry::CommandCall &call);
[[nodiscard]] QList<database::Statement> allowedReads(registry::RequestReader &in, int caller);
void getObjectCommand(registry::CommandCall &call);
[[nodiscard]] QList<database::Statement> paramReads(registry::RequestReader &in, int caller);
void getCommandParams(registry::CommandCall &call);
void saveParams(registry::CommandCall &call);

} // namespace operators

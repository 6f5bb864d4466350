#pragma once

#include "database/statement.h"

#include <QList>

namespace registry {

class CommandCall;
class RequestReader;

[[nodiscard]] QList<database::Statement> commandReads(RequestReader &in, int caller);
void getCommandDescV2(CommandCall &call);
void saveCommandDescV2(CommandCall &call);
void fixCmdDescMultiObjsV2(CommandCall &call);

} // namespace registry

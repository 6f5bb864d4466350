#pragma once

#include "database/statement.h"

#include <QList>

namespace registry {

class CommandCall;
class RequestReader;

[[nodiscard]] QList<database::Statement> cardReads(RequestReader &in, int caller);
void getObjectCardV2(CommandCall &call);
void saveObjectCardV2(CommandCall &call);
void updateObjectCardField(CommandCall &call);
void fixPropertyMultiObjsV2(CommandCall &call);

} // namespace registry

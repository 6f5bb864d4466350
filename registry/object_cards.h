#pragma once

namespace registry {

class CommandCall;

void getObjectCardV2(CommandCall &call);
void saveObjectCardV2(CommandCall &call);
void updateObjectCardField(CommandCall &call);
void fixPropertyMultiObjsV2(CommandCall &call);

} // namespace registry

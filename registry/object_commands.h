#pragma once

namespace registry {

class CommandCall;

void getCommandDescV2(CommandCall &call);
void saveCommandDescV2(CommandCall &call);
void fixCmdDescMultiObjsV2(CommandCall &call);

} // namespace registry

#pragma once

namespace registry {

class CommandCall;

void saveObjectsTree(CommandCall &call);

} // namespace registry

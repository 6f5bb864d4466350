#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

void getObjectsTree(registry::CommandCall &call);
void getFullObjectsTree(registry::CommandCall &call);

} // namespace operators

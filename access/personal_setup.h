#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

void getPersonalsetup4objectsX(registry::CommandCall &call);
void fixPersonalSetupChanges(registry::CommandCall &call);
void copyPersonalSetup(registry::CommandCall &call);

} // namespace operators

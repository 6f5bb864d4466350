#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

void advancedSearch(registry::CommandCall &call);
void getObjsByConditionV2(registry::CommandCall &call);
void getObjsByQueryV2(registry::CommandCall &call);

} // namespace operators

#pragma once

namespace registry {
class CommandCall;
}

namespace templates {

void createObjByTemplateV2(registry::CommandCall &call);
void copyTemplateV2(registry::CommandCall &call);

} // namespace templates

#pragma once

namespace registry {

class CommandCall;

void about(CommandCall &call);
void quitSignal(CommandCall &call);

} // namespace registry

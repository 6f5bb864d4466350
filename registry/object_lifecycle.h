#pragma once

namespace registry {

class CommandCall;

void fixObjectV2(CommandCall &call);

} // namespace registry

#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

/// Creates, changes or deletes an operator account, by the sign of the first field.
void fixUser(registry::CommandCall &call);

} // namespace operators

#pragma once

namespace registry {
class CommandCall;
}

namespace operators {

/// The catalogue of personal properties: always the same, whatever the request.
void getPersprop4objectsDesc(registry::CommandCall &call);

} // namespace operators

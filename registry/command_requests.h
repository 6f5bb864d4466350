#pragma once

#include "registry/request_reader.h"

namespace registry {

/// Goes over `count` remote-control commands with their parameters and back to the first. False where one promises more
/// parameters than the request can hold: the request is then refused.
[[nodiscard]] bool commandsMayBeRead(RequestReader &in, qint32 count);

} // namespace registry

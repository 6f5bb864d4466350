#pragma once

#include "bench/link.h"

#include <memory>
#include <string>

namespace bench {

/// Waits for the service as the administration server does: listens under `path`, takes the link and the greeting with
/// which the service begins. Throws std::runtime_error where none comes in 30 s.
[[nodiscard]] std::unique_ptr<Link> attendService(const std::string &path);

} // namespace bench

#pragma once

#include "ctl/session.h"

namespace ctl {

/// Nothing when the service can read from its database; else a failure that says so.
///
/// Without its database the service answers as if the registry held nothing. Whoever reads back that something is gone
/// or empty asks here too.
[[nodiscard]] Outcome probeDatabase(Session &session);

} // namespace ctl

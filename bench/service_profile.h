#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include <sys/types.h>

namespace bench {

/// Whose code a process spends its processor time in while `work` runs, in percent by owner, as perf samples it.
/// Nothing where perf is not there or may not look; `work` has not run then.
[[nodiscard]] std::optional<std::map<std::string, double>> profileOf(pid_t process, const std::function<void()> &work);

} // namespace bench

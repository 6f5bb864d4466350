#pragma once

#include "ctl/result.h"

#include <QByteArray>

#include <string>

namespace ctl {

/// All bytes of the file `name`; "-" is the standard input.
[[nodiscard]] Result<QByteArray> readInput(const std::string &name);

} // namespace ctl

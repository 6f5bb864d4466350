#pragma once

#include <QString>

/// Version of this library, as "About" shows it.
[[nodiscard]] QString getKeystoneVersion();

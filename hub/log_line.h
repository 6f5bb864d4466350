#pragma once

#include <QString>

namespace hub {

/// Writes one line to stderr, headed by the program's name.
void logLine(const QString &text);

} // namespace hub

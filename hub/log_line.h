#pragma once

#include <QByteArray>
#include <QString>

namespace hub {

/// Writes one line to stderr, headed by the program's name.
void logLine(const QString &text);

/// A name that a peer gave itself, fit for a log line: control characters replaced, cut to 64 characters.
[[nodiscard]] QString printableName(const QByteArray &name);

} // namespace hub

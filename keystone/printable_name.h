#pragma once

#include <QByteArray>
#include <QString>

/// A name that a peer gave itself (any bytes), fit for a log line: line feeds as "\n", other control characters and
/// line separators as "?", what is longer than 128 characters cut and ended by "...".
[[nodiscard]] QString printableName(const QByteArray &name);

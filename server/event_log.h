#pragma once

#include <QByteArray>

namespace server {

/// The type byte of the data frames that carry event-log records.
inline constexpr unsigned char kEventLogKind = 1;

/// A record of the installation's event log: `time` (seconds since 1970-01-01 00:00 UTC), the line in UTF-8, its level.
[[nodiscard]] QByteArray eventLogRecord(quint32 time, const QByteArray &text, quint8 level);

} // namespace server

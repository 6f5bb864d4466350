#pragma once

#include <QByteArray>

#include <optional>

namespace ctl {

/// Kind of the data frames that carry event-log records.
inline constexpr quint8 kEventKind = 1;

/// One line of the installation's event log.
struct EventRecord
{
    quint32 time = 0; ///< seconds since 1970-01-01 00:00 UTC
    QByteArray text;  ///< UTF-8
    qint8 level = 0;
};

/// Nothing when the bytes are not exactly one record.
[[nodiscard]] std::optional<EventRecord> decodeEvent(const QByteArray &data);

} // namespace ctl

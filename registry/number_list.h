#pragma once

#include <QList>
#include <QString>

namespace registry {

/// Object numbers as they stand in an SQL list and in event-log lines: "12,15,40".
[[nodiscard]] QString objectListText(const QList<qint32> &objects);

} // namespace registry

#pragma once

#include <QList>
#include <QString>

namespace registry {

/// Numbers as they stand in an SQL list and in event-log lines: "12,15,40".
[[nodiscard]] QString numberListText(const QList<qint32> &numbers);

} // namespace registry

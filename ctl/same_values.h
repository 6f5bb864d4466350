#pragma once

#include <QByteArray>
#include <QString>

/// Comparing what was sent with what was read back: null and empty are different values.
namespace ctl {

[[nodiscard]] inline bool sameText(const QString &one, const QString &other)
{
    return one == other && one.isNull() == other.isNull();
}

[[nodiscard]] inline bool sameBytes(const QByteArray &one, const QByteArray &other)
{
    return one == other && one.isNull() == other.isNull();
}

} // namespace ctl

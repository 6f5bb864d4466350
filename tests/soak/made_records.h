#pragma once

#include "bytes.h"
#include "registry_bytes.h"

#include <QStringList>

/// Records made out of a number, all their fields, and the rows that they become: so a row alone tells what it was made
/// of. A row is its columns joined by '|', bytes in hexadecimal form.
namespace soak {

[[nodiscard]] support::Property propertyOf(int number);
[[nodiscard]] QString propertyRow(const support::Property &property);
[[nodiscard]] QString templatePropertyRow(int number);

[[nodiscard]] support::SensorFields sensorOf(int number);
[[nodiscard]] QString sensorRow(int number);
[[nodiscard]] QString templateSensorRow(int number);

/// A command has up to two parameters.
[[nodiscard]] int parameterCount(int number);
[[nodiscard]] QByteArray commandBytes(int number);
[[nodiscard]] QString commandName(int number);
[[nodiscard]] QString commandRow(int number);
[[nodiscard]] QString parameterRow(int number, int parameter);
/// The row of a command and those of its parameters, in the order of their writing.
[[nodiscard]] QStringList commandRows(int number);
[[nodiscard]] QStringList templateCommandRows(int number);

/// A row of a template as the row that it becomes in an object.
[[nodiscard]] QString objectPropertyRow(const QString &templateRow);
[[nodiscard]] QString objectSensorRow(const QString &templateRow);
[[nodiscard]] QString objectCommandRow(const QString &templateRow);

/// Column `column` of a row.
[[nodiscard]] inline QString cell(const QString &row, int column)
{
    return row.section(u'|', column, column);
}
/// The row with another text in that column.
[[nodiscard]] QString withCell(const QString &row, int column, const QString &text);
/// The number behind the letter that a text begins with.
[[nodiscard]] inline int numberIn(const QString &text)
{
    return text.mid(1).toInt();
}
[[nodiscard]] inline QString hexText(const QByteArray &bytes)
{
    return QString::fromLatin1(bytes.toHex());
}

} // namespace soak

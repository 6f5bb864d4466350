#pragma once

#include "area.h"

/// What the makers of orders share.
namespace soak {

/// The row of a new object.
inline const QString kObjectRow = QStringLiteral("0|1|t");

[[nodiscard]] inline QString keyIn(const QString &name)
{
    return name.section(u' ', 0, 0);
}

[[nodiscard]] inline QString placeOf(const char *table, int number)
{
    return QLatin1String(table) + ' ' + QString::number(number);
}
[[nodiscard]] inline QString placeOf(const char *table, const Thing &object)
{
    return placeOf(table, object.number);
}

/// The name of an object, where its card has one.
[[nodiscard]] std::optional<QByteArray> nameOf(const Model &model, int number);

/// Makes an object from the step's template in the step's slot, which is free.
[[nodiscard]] Order makeObject(const Step &step);

/// Makes an order on the step's object, where that can be used.
template <Order (*make)(const Step &)>
Order onObject(const Step &step)
{
    return step.object().isUsable() ? make(step) : obtainObject(step);
}

/// Rows with this text in a column.
[[nodiscard]] inline Model::Match hasCell(int column, const QString &text)
{
    return [=](const QString &row) { return row.section(u'|', column, column) == text; };
}

/// The texts of a place's rows, the first of each that has several.
[[nodiscard]] QStringList textsIn(const Model &model, const QString &place);

} // namespace soak

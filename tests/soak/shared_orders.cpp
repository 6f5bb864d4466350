#include "shared_orders.h"

namespace soak {

std::optional<QByteArray> nameOf(const Model &model, int number)
{
    for (const QString &row : textsIn(model, placeOf("card", number))) {
        if (row.startsWith("name|"))
            return QByteArray::fromHex(row.section(u'|', 3, 3).toLatin1());
    }
    return std::nullopt;
}

QStringList textsIn(const Model &model, const QString &place)
{
    QStringList result;
    for (const Model::Row &row : model.rows(place))
        result += row.texts.first();
    return result;
}

} // namespace soak

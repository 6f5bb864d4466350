#include "registry/object_list.h"

namespace registry {

QString objectListText(const QList<qint32> &objects)
{
    QString text;
    for (const qint32 object : objects) {
        if (!text.isEmpty())
            text += QLatin1Char(',');
        text += QString::number(object);
    }
    return text;
}

} // namespace registry

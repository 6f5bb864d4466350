#include "registry/number_list.h"

namespace registry {

QString numberListText(const QList<qint32> &numbers)
{
    QString text;
    for (const qint32 number : numbers) {
        if (!text.isEmpty())
            text += QLatin1Char(',');
        text += QString::number(number);
    }
    return text;
}

} // namespace registry

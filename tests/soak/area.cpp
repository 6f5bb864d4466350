#include "area.h"

#include "made_records.h"

namespace soak {

namespace {

/// The numbers of objects by their keys.
QHash<QString, int> objectKeys(const Places &found)
{
    QHash<QString, int> result;
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        if (!place.key().startsWith("card "))
            continue;
        for (const QString &row : *place) {
            if (cell(row, 0) == "name")
                result.insert(QString::fromUtf8(QByteArray::fromHex(cell(row, 3).toLatin1())).section(u' ', 0, 0),
                              place.key().section(u' ', 1).toInt());
        }
    }
    return result;
}

void keepFound(Thing &thing, bool isThere)
{
    if (!isThere)
        thing = {};
    thing.isDoubtful = false;
}

} // namespace

QList<int> Area::objectNumbers(quint32 which) const
{
    QList<int> result;
    for (size_t i = 0; i < objects.size(); ++i) {
        if (objects[i].isUsable() && ((which >> i) & 1) != 0)
            result += objects[i].number;
    }
    return result;
}

void Area::takeOver(const Places &found)
{
    const QHash<QString, int> numbers = objectKeys(found);
    for (Thing &object : objects) {
        // One that has lost its name keeps its number.
        object.number = numbers.value(object.key, object.number);
        keepFound(object, found.contains("object " + QString::number(object.number)));
    }
    for (Thing &one : templates)
        keepFound(one, found.contains("head " + one.key));
    for (Thing &one : accounts)
        keepFound(one, found.contains("account " + one.key));
}

QList<int> Step::values(int count) const
{
    constexpr int kPerStep = 16;
    QList<int> result;
    for (int i = 0; i < count; ++i)
        result += number * kPerStep + i;
    return result;
}

} // namespace soak

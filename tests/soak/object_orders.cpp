// Objects as a whole: created, renamed, deleted, read and found.

#include "area.h"
#include "fields.h"
#include "made_records.h"
#include "shared_orders.h"

namespace soak {

using support::bytes;
using support::i32;

namespace {

Order create(const Step &step)
{
    Thing *const thing = &step.object();
    const QString key = QStringLiteral("o%1-%2").arg(step.area.client).arg(step.number);
    const QByteArray name = key.toUtf8() + " создан";
    Order order{.name = "Fix_object_v2", .request = i32(0) + bytes(name), .records = 2};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        thing->key = key;
        thing->isDoubtful = !outcome.isSure;
        model.add("object ?" + key, {kObjectRow}, outcome.isSure);
        model.add("card ?" + key, {propertyRow({-1, "name", "Имя", 10, name, 't'})}, outcome.isSure);
        return QString();
    };
    return order;
}

/// Takes the numbers of objects that this client has made. Says which are missing.
QString takeNumbers(Area &area, Model &model, const QByteArray &data)
{
    Fields list(data);
    QHash<QString, int> numbers;
    for (int left = list.number(); left > 0 && !list.atEnd(); --left) {
        const int number = list.number();
        numbers.insert(keyIn(QString::fromUtf8(list.bytes())), number);
    }
    QString missing;
    for (Thing &thing : area.objects) {
        if (thing.isFree() || thing.isDoubtful || thing.number > 0)
            continue;
        thing.number = numbers.value(thing.key);
        if (thing.number > 0)
            model.nameObject(thing.key, thing.number);
        else
            missing += " does not list " + thing.key;
    }
    return missing;
}

Order list(const Step &step)
{
    Order order{.name = "Get_objects", .isAnswered = true};
    QList<int> numbers = step.area.objectNumbers();
    std::sort(numbers.begin(), numbers.end(), std::greater());
    for (const int number : numbers) {
        if (const auto name = nameOf(step.model, number))
            order.parts += i32(number) + bytes(*name);
    }
    order.conclude = [&area = step.area, &model = step.model](const Outcome &outcome) {
        return outcome.isSure ? takeNumbers(area, model, outcome.data.value_or(QByteArray())) : QString();
    };
    return order;
}

Order rename(const Step &step)
{
    const Thing &thing = step.object();
    const QByteArray name = thing.key.toUtf8() + " назван " + QByteArray::number(step.number);
    Order order{
        .name = "Fix_object_v2", .request = i32(thing.number) + bytes(name), .notices = {thing.number}, .records = 1};
    order.conclude = [=, place = placeOf("card", thing), &model = step.model](const Outcome &outcome) {
        model.change(
            place, [](const QString &row) { return cell(row, 0) == "name"; },
            [&](const QString &row) { return withCell(row, 3, hexText(name)); }, outcome.isSure);
        return QString();
    };
    return order;
}

/// The parameters of the object's commands stay, and so does what operators have set of it in sections 3 and 4.
void removeObject(Model &model, int number)
{
    const QString end = ' ' + QString::number(number);
    for (Model::Row row : model.rows("commands" + end)) {
        for (QString &text : row.texts)
            text = withCell(text, 1, "");
        if (row.texts.first().startsWith("p|"))
            model.addRow(kLeftOverParameters, row);
    }
    for (const char *table : {"object", "card", "placed", "commands", "sensors", "permission", "lastdata"})
        model.clear(table + end, true);
    for (const QString &place : model.placesUnder("setup ")) {
        if (place.endsWith(" 1" + end))
            model.clear(place, true);
    }
}

Order remove(const Step &step)
{
    Thing *const thing = &step.object();
    const int number = thing->number;
    Order order{.name = "Fix_object_v2", .request = i32(-number), .records = 1};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        const auto change = [number](Model &changed) { removeObject(changed, number); };
        if (outcome.isSure) {
            change(model);
            *thing = {};
        } else {
            model.mayHaveEmptied("object " + QString::number(number), change);
            thing->isDoubtful = true;
        }
        return QString();
    };
    return order;
}

} // namespace

Order obtainObject(const Step &step)
{
    if (!step.object().isFree())
        return list(step);
    return step.templateThing().isUsable() && step.draw.has(4, 0) ? makeObject(step) : create(step);
}

QList<Kind> objectKinds()
{
    return {{4, list}, {4, onObject<rename>}, {3, onObject<remove>}};
}

} // namespace soak

// Cards and sensors of objects, of one or of many.

#include "made_records.h"
#include "shared_orders.h"

namespace soak {

using support::bytes;
using support::i32;
using support::i8;
using support::numbers;
using support::text;

namespace {

constexpr int kMostRecords = 3;

Order getCard(const Step &step)
{
    const QStringList rows = textsIn(step.model, placeOf("card", step.object()));
    Order order{.name = "Get_object_card_v2", .request = i32(step.object().number), .isAnswered = true};
    order.begin = i32(step.object().number) + i32(rows.size());
    for (const QString &row : rows)
        order.parts += text(cell(row, 0)) + text(cell(row, 1)) + i32(cell(row, 2).toInt()) +
                       bytes(QByteArray::fromHex(cell(row, 3).toLatin1()));
    return order;
}

Order saveCard(const Step &step)
{
    const Thing &thing = step.object();
    const QByteArray name = thing.key.toUtf8() + " записан";
    QList<support::Property> card{{-1, "name", "Имя", 10, name, 't'}};
    for (const int value : step.values(step.draw.pick(3, kMostRecords + 1)))
        card += propertyOf(value);
    Order order{.name = "Save_object_card_v2",
                .request = i32(thing.number) + i32(card.size()),
                .notices = {thing.number},
                .records = 1};
    QStringList rows;
    for (const support::Property &property : card) {
        order.request += support::cardRecord(property);
        rows += propertyRow(property);
    }
    order.conclude = [=, place = placeOf("card", thing), &model = step.model](const Outcome &outcome) {
        model.clear(place, outcome.isSure);
        model.add(place, rows, outcome.isSure);
        return QString();
    };
    return order;
}

Order updateField(const Step &step)
{
    const Thing &thing = step.object();
    const QString name = propertyOf(step.draw.pick(3, 8)).name;
    const QByteArray value = "u" + QByteArray::number(step.number);
    Order order{.name = "Update_object_card_field", .notices = {thing.number}, .records = 1};
    order.request = i32(thing.number) + i32(1) + i32(5) + support::cardRecord({-1, name, "", 10, value, 't'});
    order.conclude = [=, place = placeOf("card", thing), &model = step.model](const Outcome &outcome) {
        model.change(
            place, hasCell(0, name), [&](const QString &row) { return withCell(row, 3, hexText(value)); },
            outcome.isSure);
        return QString();
    };
    return order;
}

Order setProperty(const Step &step)
{
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(3, 64)));
    const bool isSet = step.draw.has(4, 0);
    const support::Property property = propertyOf(step.values(1).first());
    Order order{.name = "Fix_property_multi_objs_v2", .request = i8(isSet) + numbers(objects), .records = 1};
    order.request += isSet ? support::cardRecord(property) : text(property.name);
    if (isSet)
        order.notices = objects;
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        for (const int object : objects) {
            model.remove(placeOf("card", object), hasCell(0, property.name), outcome.isSure);
            if (isSet)
                model.add(placeOf("card", object), {propertyRow(property)}, outcome.isSure);
        }
        return QString();
    };
    return order;
}

Order getSensors(const Step &step)
{
    const QStringList rows = textsIn(step.model, placeOf("sensors", step.object()));
    Order order{.name = "Get_sensors_v2", .request = i32(step.object().number), .isAnswered = true};
    order.begin = i32(step.object().number) + i32(rows.size());
    for (const QString &row : rows)
        order.parts += support::sensorRecord(sensorOf(numberIn(cell(row, 0))));
    return order;
}

Order saveSensors(const Step &step)
{
    const Thing &thing = step.object();
    const QList<int> values = step.values(step.draw.pick(3, kMostRecords + 1));
    Order order{
        .name = "Save_sensors_v2", .request = i32(thing.number) + i32(values.size()), .notices = {thing.number}};
    QStringList rows;
    for (const int value : values) {
        order.request += support::sensorRecord(sensorOf(value));
        rows += sensorRow(value);
    }
    order.conclude = [=, place = placeOf("sensors", thing), &model = step.model](const Outcome &outcome) {
        model.clear(place, outcome.isSure);
        model.add(place, rows, outcome.isSure);
        return QString();
    };
    return order;
}

Order setSensor(const Step &step)
{
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(3, 64)));
    const int value = step.values(1).first();
    Order order{.name = "Fix_sensor_multi_objs_v2", .notices = objects};
    order.request = i8(1) + numbers(objects) + support::sensorRecord(sensorOf(value));
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        // Objects are announced once their statements have succeeded, whatever else has failed.
        const bool isRemoved = outcome.isSure || !outcome.announced.isEmpty();
        const auto isOfType = hasCell(2, QString::number(sensorOf(value).type));
        for (const int object : objects) {
            model.remove(placeOf("sensors", object), isOfType, isRemoved);
            model.add(placeOf("sensors", object), {sensorRow(value)},
                      outcome.isSure || outcome.announced.contains(object));
        }
        return QString();
    };
    return order;
}

/// By its name; where the object has no sensor, by one that nothing has.
Order removeSensor(const Step &step)
{
    const QList<int> objects = step.area.objectNumbers();
    const QStringList rows = textsIn(step.model, placeOf("sensors", step.object()));
    const QString name = rows.isEmpty() ? "none" : cell(rows.first(), 0);
    Order order{.name = "Fix_sensor_multi_objs_v2", .request = i8(0) + numbers(objects) + text(name)};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        for (const int object : objects)
            model.remove(placeOf("sensors", object), hasCell(0, name), outcome.isSure);
        return QString();
    };
    return order;
}

} // namespace

QList<Kind> recordKinds()
{
    return {{4, onObject<getCard>},     {5, onObject<saveCard>},    {5, onObject<updateField>},
            {5, onObject<setProperty>}, {4, onObject<getSensors>},  {5, onObject<saveSensors>},
            {5, onObject<setSensor>},   {2, onObject<removeSensor>}};
}

} // namespace soak

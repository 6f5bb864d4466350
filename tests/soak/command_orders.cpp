// Remote-control commands of objects and their parameters.

#include "fields.h"
#include "made_records.h"
#include "shared_orders.h"

#include <algorithm>

namespace soak {

using support::bytes;
using support::i32;
using support::i8;
using support::numbers;
using support::text;

namespace {

constexpr int kMostCommands = 3;
constexpr int kFirstRight = 200;

bool isCommand(const QString &row)
{
    return row.startsWith("c|");
}

QStringList commandsOf(const Step &step)
{
    QStringList rows = textsIn(step.model, placeOf("commands", step.object()));
    rows.removeIf([](const QString &row) { return !isCommand(row); });
    return rows;
}

Order getCommands(const Step &step)
{
    QStringList rows = commandsOf(step);
    Order order{.name = "Get_command_desc_v2", .request = i32(step.object().number), .isAnswered = true};
    order.begin = i32(step.object().number) + i32(rows.size());
    std::stable_sort(rows.begin(), rows.end(), [](const QString &left, const QString &right) {
        return cell(left, 3).toInt() < cell(right, 3).toInt();
    });
    for (const QString &row : rows)
        order.parts += text(cell(row, 1)) + text(cell(row, 2)) + i32(cell(row, 3).toInt());
    return order;
}

Order saveCommands(const Step &step)
{
    Thing *const thing = &step.object();
    const QList<int> values = step.values(step.draw.pick(3, kMostCommands + 1));
    Order order{.name = "Save_command_desc_v2",
                .request = i32(thing->number) + i32(values.size()),
                .notices = QList<int>(values.size(), thing->number)};
    for (const int value : values)
        order.request += commandBytes(value);
    order.conclude = [=, place = placeOf("commands", *thing), &model = step.model](const Outcome &outcome) {
        thing->command = 0;
        model.clear(place, outcome.isSure);
        for (qsizetype i = 0; i < values.size(); ++i)
            model.add(place, commandRows(values[i]), outcome.isSure || i < outcome.announced.size());
        return QString();
    };
    return order;
}

/// The commands of this name, and their parameters.
void removeNamed(Model &model, const QString &place, const QString &name, bool isSure)
{
    QStringList descriptions;
    for (const QString &row : textsIn(model, place)) {
        if (isCommand(row) && cell(row, 1) == name)
            descriptions += cell(row, 2);
    }
    model.remove(
        place,
        [&](const QString &row) { return isCommand(row) ? cell(row, 1) == name : descriptions.contains(cell(row, 1)); },
        isSure);
}

void forgetCommands(Area &area, const QList<int> &objects)
{
    for (Thing &thing : area.objects) {
        if (objects.contains(thing.number))
            thing.command = 0;
    }
}

Order setCommand(const Step &step)
{
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(3, 64)));
    const int value = step.values(1).first();
    Order order{.name = "Fix_cmd_desc_multi_objs_v2", .notices = objects};
    order.request = i8(1) + numbers(objects) + commandBytes(value);
    order.conclude = [=, &area = step.area, &model = step.model](const Outcome &outcome) {
        forgetCommands(area, objects);
        const bool isRemoved = outcome.isSure || !outcome.announced.isEmpty();
        for (const int object : objects) {
            const QString place = placeOf("commands", object);
            removeNamed(model, place, commandName(value), isRemoved);
            model.add(place, commandRows(value), outcome.isSure || outcome.announced.contains(object));
        }
        return QString();
    };
    return order;
}

Order removeCommand(const Step &step)
{
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(3, 64)));
    const QString name = commandName(step.draw.pick(4, 4));
    Order order{.name = "Fix_cmd_desc_multi_objs_v2", .request = i8(0) + numbers(objects) + text(name)};
    order.conclude = [=, &area = step.area, &model = step.model](const Outcome &outcome) {
        forgetCommands(area, objects);
        for (const int object : objects)
            removeNamed(model, placeOf("commands", object), name, outcome.isSure);
        return QString();
    };
    return order;
}

/// One row for each command of the kind and each section in which the operator has the right to it.
Order getAllowed(const Step &step)
{
    Thing *const thing = &step.object();
    QStringList rows = commandsOf(step);
    const int kind = rows.isEmpty() || step.draw.has(4, 0) ? 1 + step.draw.pick(3, 4) : cell(rows.first(), 3).toInt();
    qsizetype rights = 0;
    for (const QString &place : step.model.placesUnder(QStringLiteral("setup %1 ").arg(step.area.caller))) {
        if (place.endsWith(' ' + QString::number(thing->number)))
            rights += textsIn(step.model, place).count(QString::number(kFirstRight + kind));
    }
    rows.removeIf([=](const QString &row) { return cell(row, 3).toInt() != kind; });
    Order order{.name = "Get_object_command", .request = i32(thing->number) + i32(kind), .isAnswered = true};
    order.begin = i32(thing->number) + i32(rights * rows.size());
    order.conclude = [thing](const Outcome &outcome) {
        Fields answer(outcome.data.value_or(QByteArray()), 4);
        if (!outcome.isSure || answer.number() == 0)
            return QString();
        (void)answer.bytes();
        (void)answer.number();
        thing->commandRow = answer.text();
        (void)answer.bytes();
        (void)answer.number();
        thing->command = answer.number();
        return QString();
    };
    return order;
}

Order getParameters(const Step &step)
{
    const Thing &thing = step.object();
    if (thing.command == 0)
        return getAllowed(step);
    Order order{.name = "Get_command_params", .request = i32(thing.command), .isAnswered = true};
    for (const QString &row : textsIn(step.model, placeOf("commands", thing))) {
        if (!isCommand(row) && cell(row, 1) == thing.commandRow)
            order.parts += bytes(cell(row, 2).toUtf8()) + text(cell(row, 3)) + i32(cell(row, 5).toInt()) +
                           bytes(QByteArray::fromHex(cell(row, 4).toLatin1()));
    }
    order.begin = i32(order.parts.size());
    return order;
}

Order saveParameters(const Step &step)
{
    const Thing &thing = step.object();
    if (thing.command == 0)
        return getAllowed(step);
    const QByteArray value = "w" + QByteArray::number(step.number);
    Order order{.name = "Save_params", .request = i32(0) + i32(thing.command) + i32(2), .isAnswered = true};
    for (const char *name : {"q0", "q1"})
        order.request += bytes(name) + bytes(value);
    order.conclude = [=, place = placeOf("commands", thing), &model = step.model](const Outcome &outcome) {
        model.change(
            place, [&](const QString &row) { return !isCommand(row) && cell(row, 1) == thing.commandRow; },
            [&](const QString &row) { return withCell(row, 4, hexText(value)); }, outcome.isSure);
        return QString();
    };
    return order;
}

} // namespace

QList<Kind> commandKinds()
{
    return {{4, onObject<getCommands>},   {5, onObject<saveCommands>}, {5, onObject<setCommand>},
            {2, onObject<removeCommand>}, {4, onObject<getAllowed>},   {4, onObject<getParameters>},
            {4, onObject<saveParameters>}};
}

} // namespace soak

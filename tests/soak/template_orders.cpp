// Templates: their rows, copies of them, objects made from them.

#include "fields.h"
#include "made_records.h"
#include "shared_orders.h"

#include <algorithm>
#include <tuple>

namespace soak {

using support::bytes;
using support::i32;
using support::text;

namespace {

constexpr int kMostRecords = 3;

/// The places of a template's rows, by their class.
QString part(char kind, const QString &key)
{
    return QStringLiteral("template %1 %2").arg(QLatin1Char(kind)).arg(key);
}

QString newKey(const Step &step)
{
    return QStringLiteral("t%1-%2").arg(step.area.client).arg(step.number);
}

Order create(const Step &step)
{
    Thing *const thing = &step.templateThing();
    const QString key = newKey(step);
    const QString title = key + " создан";
    Order order{.name = "Fix_template_desc_v2", .request = i32(0) + bytes(title.toUtf8()), .isAnswered = true};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        *thing = {.key = key, .isDoubtful = !outcome.isSure};
        model.add("head " + key, {title}, outcome.isSure);
        return QString();
    };
    return order;
}

QString takeNumbers(Area &area, const QByteArray &data)
{
    Fields list(data);
    QHash<QString, int> numbers;
    for (int left = list.number(); left > 0 && !list.atEnd(); --left) {
        const int number = list.number();
        numbers.insert(keyIn(QString::fromUtf8(list.bytes())), number);
    }
    for (Thing &thing : area.templates) {
        if (thing.isFree() || thing.isDoubtful || thing.number > 0)
            continue;
        thing.number = numbers.value(thing.key);
        if (thing.number == 0)
            return " does not list " + thing.key;
    }
    return {};
}

Order list(const Step &step)
{
    Order order{.name = "Get_template_list_v2", .isAnswered = true};
    QMap<int, QString> titles;
    for (const Thing &thing : step.area.templates) {
        if (thing.isUsable())
            titles.insert(thing.number, textsIn(step.model, "head " + thing.key).value(0));
    }
    for (auto title = titles.cbegin(); title != titles.cend(); ++title)
        order.parts += i32(title.key()) + bytes(title->toUtf8());
    order.conclude = [&area = step.area](const Outcome &outcome) {
        return outcome.isSure ? takeNumbers(area, outcome.data.value_or(QByteArray())) : QString();
    };
    return order;
}

Order rename(const Step &step)
{
    const Thing &thing = step.templateThing();
    const QString title = thing.key + " назван " + QString::number(step.number);
    Order order{
        .name = "Fix_template_desc_v2", .request = i32(thing.number) + bytes(title.toUtf8()), .isAnswered = true};
    order.conclude = [=, place = "head " + thing.key, &model = step.model](const Outcome &outcome) {
        model.change(
            place, [](const QString &) { return true; }, [&](const QString &) { return title; }, outcome.isSure);
        return QString();
    };
    return order;
}

Order remove(const Step &step)
{
    Thing *const thing = &step.templateThing();
    const QString key = thing->key;
    Order order{.name = "Fix_template_desc_v2", .request = i32(-thing->number), .isAnswered = true};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        const auto change = [key](Model &changed) {
            changed.clear("head " + key, true);
            for (const char kind : {'p', 's', 'c'})
                changed.clear(part(kind, key), true);
        };
        thing->isDoubtful = true;
        if (!outcome.isSure) {
            model.mayHaveEmptied("head " + key, change);
            return QString();
        }
        change(model);
        *thing = {};
        return QString();
    };
    return order;
}

/// A save writes all records of one class anew.
Order save(const Step &step, const char *name, char kind, QByteArray (*bytesOf)(int), QStringList (*rowsOf)(int))
{
    const Thing &thing = step.templateThing();
    const QList<int> values = step.values(step.draw.pick(3, kMostRecords + 1));
    Order order{.name = name, .request = i32(thing.number) + i32(values.size()), .isAnswered = true};
    QStringList rows;
    for (const int value : values) {
        order.request += bytesOf(value);
        rows += rowsOf(value);
    }
    order.conclude = [=, place = part(kind, thing.key), &model = step.model](const Outcome &outcome) {
        model.clear(place, outcome.isSure);
        model.add(place, rows, outcome.isSure);
        return QString();
    };
    return order;
}

Order saveCard(const Step &step)
{
    return save(
        step, "Save_template_card_v2", 'p', [](int value) { return support::cardRecord(propertyOf(value)); },
        [](int value) { return QStringList{templatePropertyRow(value)}; });
}

Order saveSensors(const Step &step)
{
    return save(
        step, "Save_template_sensors_v2", 's', [](int value) { return support::sensorRecord(sensorOf(value)); },
        [](int value) { return QStringList{templateSensorRow(value)}; });
}

Order saveControls(const Step &step)
{
    return save(step, "Save_template_controls_v2", 'c', commandBytes, templateCommandRows);
}

/// `partOf`: what a record made of that row travels as; parameters are not looked at.
Order get(const Step &step, const char *name, char kind, QByteArray (*partOf)(const QString &row))
{
    const Thing &thing = step.templateThing();
    Order order{.name = name, .request = i32(thing.number), .isAnswered = true};
    for (const QString &row : textsIn(step.model, part(kind, thing.key))) {
        if (!row.startsWith("d|"))
            order.parts += partOf(row);
    }
    order.begin = i32(thing.number) + i32(order.parts.size());
    return order;
}

Order getCard(const Step &step)
{
    return get(step, "Get_template_card_v2", 'p', [](const QString &row) {
        const support::Property property = propertyOf(numberIn(cell(row, 1)));
        return text(property.name) + text(property.description) + i32(property.type) + bytes(property.value);
    });
}

Order getSensors(const Step &step)
{
    return get(step, "Get_template_sensors_v2", 's',
               [](const QString &row) { return support::sensorRecord(sensorOf(numberIn(cell(row, 1)))); });
}

Order getControls(const Step &step)
{
    return get(step, "Get_template_controls_v2", 'c',
               [](const QString &row) { return text(cell(row, 1)) + text(cell(row, 2)); });
}

Order copy(const Step &step, const Thing &from, Thing *thing)
{
    const QString source = from.key;
    const QString key = newKey(step);
    const QString title = key + " копия";
    Order order{
        .name = "Copy_template_v2", .request = i32(from.number) + text(title), .isAnswered = true, .begin = i32(0)};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        const bool isMade = outcome.isSure || outcome.data == i32(0);
        *thing = {.key = key, .isDoubtful = !isMade};
        model.add("head " + key, {title}, isMade);
        for (const char kind : {'p', 's', 'c'})
            model.add(part(kind, key), textsIn(model, part(kind, source)), outcome.isSure);
        return QString();
    };
    return order;
}

/// Makes the template of a slot that has none, or reads its number.
Order obtain(const Step &step)
{
    Thing &thing = step.templateThing();
    if (!thing.isFree())
        return list(step);
    for (const Thing &source : step.area.templates) {
        if (source.isUsable() && step.draw.has(4, 0))
            return copy(step, source, &thing);
    }
    return create(step);
}

/// The rows that an object gets from a template behind those that say who it is.
void addRows(Model &model, const QString &end, const QString &key, bool isSure)
{
    const auto all = [&](char kind, QString (*rowOf)(const QString &)) {
        QStringList rows;
        for (const QString &row : textsIn(model, part(kind, key)))
            rows += rowOf(row);
        return rows;
    };
    model.add("card " + end, all('p', objectPropertyRow), isSure);
    model.add("sensors " + end, all('s', objectSensorRow), isSure);
    model.add("commands " + end, all('c', objectCommandRow), isSure);
}

template <Order (*make)(const Step &)>
Order onTemplate(const Step &step)
{
    return step.templateThing().isUsable() ? make(step) : obtain(step);
}

} // namespace

Order makeObject(const Step &step)
{
    Thing *const thing = &step.object();
    const QString key = QStringLiteral("o%1-%2").arg(step.area.client).arg(step.number);
    const QString name = key + " по образцу";
    const QString modem = QString::number(step.number);
    Order order{.name = "Create_obj_by_template_v2", .isAnswered = true, .begin = i32(0), .announcesNew = true};
    order.request = i32(step.templateThing().number) + i32(3) + text("modem") + text(modem) + text("name") +
                    text(name) + text("subdivision") + text(key);
    QStringList card;
    for (const auto &[field, caption, value] : {std::tuple{"name", "Наименование объекта", name},
                                                {"subdivision", "Подразделение", key},
                                                {"modem", "Идентификационный номер навигационного блока", modem}})
        card += propertyRow({-1, field, caption, 10, value.toUtf8(), 't'});
    order.conclude = [=, source = step.templateThing().key, &model = step.model](const Outcome &outcome) {
        const bool isMade = outcome.data == i32(0) && outcome.behindAnswer;
        *thing = {.key = key, .number = isMade ? *outcome.behindAnswer : 0, .isDoubtful = !isMade};
        const QString end = isMade ? QString::number(thing->number) : '?' + key;
        model.add("object " + end, {kObjectRow}, isMade);
        model.add("card " + end, card, isMade);
        addRows(model, end, source, outcome.isSure);
        return QString();
    };
    return order;
}

QList<Kind> templateKinds()
{
    return {{3, list},
            {2, onTemplate<rename>},
            {2, onTemplate<remove>},
            {3, onTemplate<saveCard>},
            {3, onTemplate<saveSensors>},
            {3, onTemplate<saveControls>},
            {3, onTemplate<getCard>},
            {3, onTemplate<getSensors>},
            {3, onTemplate<getControls>}};
}

} // namespace soak

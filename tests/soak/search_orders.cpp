// Reads that go over many objects or name none: searches, trees, catalogues.

#include "made_records.h"
#include "operator_bytes.h"
#include "shared_orders.h"

#include <algorithm>

namespace soak {

using support::bytes;
using support::i32;
using support::i8;
using support::numbers;
using support::text;

namespace {

QList<int> ascending(const Step &step)
{
    QList<int> objects = step.area.objectNumbers();
    std::sort(objects.begin(), objects.end());
    return objects;
}

/// Objects whose name begins with the key of this one.
QList<int> named(const Step &step)
{
    const auto name = nameOf(step.model, step.object().number);
    return name ? QList<int>{step.object().number} : QList<int>();
}

Order byCondition(const Step &step)
{
    Order order{.name = "Get_objs_by_condition_v2", .isAnswered = true};
    order.request = text(step.object().key + " %") + text("name");
    order.begin = numbers(named(step));
    return order;
}

/// Statements of clients: good ones, and such as leave the session in the middle of something.
Order byQuery(const Step &step)
{
    const QString own = R"(SELECT "Id_objects" FROM "Objects_property" WHERE "Name" = 'name' AND "Value" LIKE ')" +
                        step.object().key + " %'";
    const QList<std::pair<QString, QList<int>>> statements = {
        {own, named(step)},
        {"SELECT 7 UNION ALL SELECT 8", {7, 8}},
        {"BEGIN; SELECT 1", {}},
        {"COPY (SELECT 1) TO STDOUT", {}},
        {"SELECT nothing FROM nowhere", {}},
        {"SET work_mem = '64kB'; CREATE TEMP TABLE t (i integer); SELECT 9", {9}},
        {"", {}},
    };
    const auto &[statement, found] = statements[step.draw.pick(3, int(statements.size()))];
    return {.name = "Get_objs_by_query_v2", .request = text(statement), .isAnswered = true, .begin = numbers(found)};
}

bool mayWatch(const Step &step, int object, const QString &right)
{
    const QStringList rows = textsIn(step.model, QStringLiteral("setup %1 1 %2").arg(step.area.caller).arg(object));
    return right.isEmpty() ? !rows.isEmpty() : rows.contains(right);
}

Order search(const Step &step)
{
    const QString words = step.draw.has(3, 0) ? step.object().key : "'; it is no SQL";
    Order order{.name = "Advanced_search", .request = text(words), .isAnswered = true};
    order.begin = i8(step.draw.has(3, 0));
    const auto name = nameOf(step.model, step.object().number);
    if (step.draw.has(3, 0) && name && mayWatch(step, step.object().number, {}))
        order.parts = {i32(step.object().number) + bytes(*name)};
    return order;
}

Order tree(const Step &step)
{
    const bool isFull = step.draw.has(3, 0);
    Order order{.name = isFull ? "Get_full_objects_tree" : "Get_objects_tree", .isAnswered = true};
    for (const int object : ascending(step)) {
        const auto name = nameOf(step.model, object);
        if (name && (isFull || mayWatch(step, object, "201")))
            order.parts += i32(object) + bytes(*name) + support::noPicture() + support::noColour();
    }
    return order;
}

template <const char *const &name>
Order constant(const Step &)
{
    return {.name = name, .isAnswered = true, .isConstant = true};
}

const char *const kProperties = "Get_persprop4objects_desc";
const char *const kExampleProperties = "Get_example_objprops_v2";
const char *const kExampleSensors = "Get_example_sensors_v2";
const char *const kExampleControls = "Get_example_controls_v2";

} // namespace

QList<Kind> searchKinds()
{
    return {{3, onObject<byCondition>},     {4, onObject<byQuery>},
            {3, onObject<search>},          {4, tree},
            {1, constant<kProperties>},     {1, constant<kExampleProperties>},
            {1, constant<kExampleSensors>}, {1, constant<kExampleControls>}};
}

} // namespace soak

#include "plan_trials.h"

#include "bytes.h"
#include "operator_bytes.h"
#include "registry_bytes.h"

using support::bytes;
using support::i32;
using support::i8;
using support::numbers;
using support::text;

namespace {

// Among 100,000 objects.
constexpr int kObject = 50000;
constexpr int kDeleted = 77;

/// Objects all over the registry, as many as a client sends at once.
QList<int> many()
{
    QList<int> objects;
    for (int object = 100; object <= 100000; object += 100)
        objects.append(object);
    return objects;
}

QByteArray remoteCommand()
{
    return support::commandRecord({.name = "sleep", .operation = 2, .execBy = "x", .numParams = 2}) +
           support::parameterRecord({.name = "a"}) + support::parameterRecord({.name = "b"});
}

QByteArray property()
{
    return support::cardRecord({-1, "note", "d", 10, "v", 't'});
}

QByteArray sensor()
{
    return support::sensorRecord({.name = "Sensor 1", .type = 1});
}

QByteArray identity(const QString &modem)
{
    return i32(3) + text("modem") + text(modem) + text("name") + text("Truck") + text("subdivision") +
           text("Section 1");
}

QList<PlanTrial> objectTrials()
{
    const QList<int> three{5, 50000, 99999};
    const QByteArray set = i8(1);
    const QByteArray remove = i8(0);
    QList<PlanTrial> trials{
        {"Get_object_card_v2", "", i32(kObject)},
        {"Save_object_card_v2", "", i32(kObject) + i32(2) + property() + property()},
        {"Update_object_card_field", "", i32(kObject) + i32(1) + i32(0) + property()},
        {"Fix_object_v2", "create", i32(0) + bytes("Truck")},
        {"Fix_object_v2", "rename", i32(kObject) + bytes("Truck")},
        {"Fix_object_v2", "delete", i32(-kDeleted)},
        {"Get_sensors_v2", "", i32(kObject)},
        {"Save_sensors_v2", "", i32(kObject) + i32(2) + sensor() + sensor()},
        {"Get_command_desc_v2", "", i32(kObject)},
        {"Save_command_desc_v2", "", i32(kObject) + i32(2) + remoteCommand() + remoteCommand()},
    };
    for (const QList<int> &objects : {three, many()}) {
        const auto add = [&](const char *command, const QByteArray &mode, const QByteArray &subject) {
            const QString way =
                QStringLiteral("%1 %2").arg(QLatin1String(mode == set ? "set" : "remove")).arg(objects.size());
            trials.append({command, way, mode + numbers(objects) + subject, int(objects.size())});
        };
        add("Fix_property_multi_objs_v2", set, property());
        add("Fix_property_multi_objs_v2", remove, text("note"));
        add("Fix_sensor_multi_objs_v2", set, sensor());
        add("Fix_sensor_multi_objs_v2", remove, text("Sensor 1"));
        add("Fix_cmd_desc_multi_objs_v2", set, remoteCommand());
        add("Fix_cmd_desc_multi_objs_v2", remove, text("sleep"));
    }
    return trials;
}

QList<PlanTrial> operatorTrials()
{
    const QByteArray account = support::accountRequest(0, {.login = "ivanov"}).mid(4);
    return {
        {"Get_user_list", "", {}},
        {"Get_users_list", "", {}},
        {"Fix_user", "create", i32(0) + account},
        {"Fix_user", "change", i32(500) + account},
        {"Fix_user", "delete", i32(-501)},
        {"Get_persprop4objects_desc", "", {}},
        {"Get_personalsetup4objects_X", "", i32(kAskingOperator)},
        {"Fix_personal_setup_changes", "", support::setupChange(1, 7, {17, 18}, {201}, {202, 203}), 2},
        {"Fix_personal_setup_changes", "many", support::setupChange(1, 7, many(), {201}, {202}), 1000},
        {"Copy_personal_setup", "to one", support::setupCopy(1, 8, {9})},
        {"Copy_personal_setup", "to three", support::setupCopy(1, 8, {9, 10, 11}), 3},
        {"Get_objects", "", {}},
        {"Get_object_command", "", i32(1 + 4 * 613 + 997) + i32(2)},
        {"Get_command_params", "", i32(150000)},
        {"Save_params", "", i32(0) + i32(150000) + i32(1) + bytes("param_1") + bytes("v")},
        {"Get_objects_tree", "", {}},
        {"Get_full_objects_tree", "", {}},
        {"Advanced_search", "no text", text("")},
        {"Advanced_search", "a text", text("Driver 17")},
        {"Get_objs_by_condition_v2", "any property", text("%Driver 17%") + text("")},
        {"Get_objs_by_condition_v2", "one property", text("%Driver 17%") + text("note")},
        {"Get_objs_by_condition_v2", "block", text("8000123") + text("modem")},
        {"Get_objs_by_query_v2", "", text("SELECT count(*) FROM \"Objects\"")},
    };
}

QList<PlanTrial> templateTrials()
{
    QList<PlanTrial> trials{
        {"Get_template_list_v2", "", {}},
        {"Fix_template_desc_v2", "create", i32(0) + bytes("t")},
        {"Fix_template_desc_v2", "rename", i32(500) + bytes("t")},
        {"Fix_template_desc_v2", "delete", i32(-501)},
        {"Save_template_card_v2", "", i32(502) + i32(1) + property()},
        {"Save_template_sensors_v2", "", i32(502) + i32(1) + sensor()},
        {"Save_template_controls_v2", "", i32(502) + i32(1) + remoteCommand()},
    };
    for (const int number : {503, -503}) {
        const QString way = number > 0 ? "own" : "supplied";
        trials += {
            {"Get_template_card_v2", way, i32(number)},
            {"Get_template_sensors_v2", way, i32(number)},
            {"Get_template_controls_v2", way, i32(number)},
            {"Create_obj_by_template_v2", way, i32(number) + identity("new " + way)},
            {"Create_obj_by_template_v2", way + ", the block exists", i32(number) + identity("8000001")},
            {"Copy_template_v2", way, i32(number) + text("copy")},
        };
    }
    return trials;
}

} // namespace

QList<PlanTrial> planTrials()
{
    const QByteArray tree =
        i32(2) + i32(1) + i32(0) + bytes("Top") + i32(2) + i32(1) + bytes("Inner") + i32(1) + i32(2) + i32(1);
    return objectTrials() + operatorTrials() + templateTrials() +
           QList<PlanTrial>{
               {"Get_example_objprops_v2", "", {}}, {"Get_example_sensors_v2", "", {}},
               {"Get_example_controls_v2", "", {}}, {"About", "", {}},
               {"Save_objects_tree", "", tree},
           };
}

QList<WholeRead> wholeReads()
{
    const char *accounts = "the list of all accounts";
    const char *everyTree = "each tree has all groups and every object's place, sorted by name";
    const char *allObjects = "the tree of all objects";
    const char *infix = "no index finds a text inside another";
    const char *catalogue = "a catalogue goes out whole";
    const char *treeAnew = "the tree is written anew";
    return {
        {"Get_user_list", "", "Connections", accounts},
        {"Get_users_list", "", "Connections", accounts},
        {"Get_personalsetup4objects_X", "", "Objects", "the answer names every object"},
        {"Get_objects", "", "Objects_property", "the list of all objects"},
        {"Get_objects_tree", R"(FROM "Groups")", "Groups", everyTree},
        {"Get_objects_tree", R"(FROM "Groups_groups")", "Groups", everyTree},
        {"Get_objects_tree", "", "Groups_groups", everyTree},
        {"Get_objects_tree", "", "Groups_objects", everyTree},
        {"Get_objects_tree", "convert_from", "Objects_property", everyTree},
        {"Get_full_objects_tree", "font_color", "Objects_property", allObjects},
        {"Get_full_objects_tree", R"(FROM "Groups")", "Groups", everyTree},
        {"Get_full_objects_tree", R"(FROM "Groups_groups")", "Groups", everyTree},
        {"Get_full_objects_tree", "", "Groups_groups", everyTree},
        {"Get_full_objects_tree", "", "Groups_objects", everyTree},
        {"Get_full_objects_tree", "convert_from", "Objects_property", everyTree},
        {"Get_objs_by_condition_v2", R"("Type" = 10)", "Objects_property", infix},
        {"Get_objs_by_condition_v2", R"("Name" = 'note')", "Objects_property", infix},
        {"Get_objs_by_query_v2", "", "Objects", "the client's own statement asks for it"},
        {"Get_template_list_v2", "", "Templates", "the list of all templates, by an index of them"},
        {"Get_example_objprops_v2", "", "ExampleObjProps", catalogue},
        {"Get_example_sensors_v2", "", "ExampleSensors", catalogue},
        {"Get_example_controls_v2", "", "ExampleControls", catalogue},
        {"Save_objects_tree", "", "Groups", treeAnew},
        {"Save_objects_tree", "", "Groups_groups", treeAnew},
        {"Save_objects_tree", "", "Groups_objects", treeAnew},
    };
}

#include "bench/object_operations.h"

#include "bench/command_frames.h"
#include "bench/measured_template.h"

#include <QMap>
#include <QString>

namespace bench {

namespace {

constexpr int kManyObjects = 1000;

/// Those behind the registry's other objects, each for one command that changes it.
enum Measured {
    Read = 1,
    Card,
    Field,
    Property,
    Renamed,
    Deleted,
    Sensors,
    ManySensors,
    Sensor,
    Commands,
    Command,
    Params
};

constexpr const char *kCard =
    R"(SELECT string_agg(p::text, E'\n' ORDER BY "Id") FROM "Objects_property" p WHERE "Id_objects" IN (%1))";
constexpr const char *kSensors =
    R"(SELECT string_agg(s::text, E'\n' ORDER BY "Id") FROM "Sensors" s WHERE "Id_objects" IN (%1))";
constexpr const char *kCommands =
    R"(SELECT string_agg(concat(c::text, p::text), E'\n' ORDER BY c."Id", p."Id") FROM "Commands" c LEFT JOIN "Params" p ON p."Id_command" = c."Id" WHERE "Id_object" IN (%1))";
constexpr const char *kNewest =
    R"(SELECT string_agg(concat(o."Id", p::text), E'\n' ORDER BY p."Id") FROM "Objects" o JOIN "Objects_property" p ON p."Id_objects" = o."Id" WHERE o."Id" > %1)";
constexpr const char *kDeleted =
    R"(SELECT concat_ws('|', count(o), (SELECT count(*) FROM "Objects_property" WHERE "Id_objects" = k."Id"), (SELECT count(*) FROM "Sensors" WHERE "Id_objects" = k."Id"), (SELECT count(*) FROM "Commands" WHERE "Id_object" = k."Id"), (SELECT count(*) FROM "Groups_objects" WHERE "Id_object" = k."Id"), (SELECT count(*) FROM "Person_Setup" WHERE "Id_object" = k."Id" AND "Type" = 1)) FROM kept.objects k LEFT JOIN "Objects" o ON o."Id" = k."Id" GROUP BY k."Id")";
constexpr const char *kTree =
    R"(SELECT md5(concat((SELECT string_agg(g::text, ',' ORDER BY "Id") FROM "Groups" g), (SELECT string_agg(n::text, ',' ORDER BY n) FROM "Groups_groups" n), (SELECT string_agg(p::text, ',' ORDER BY p) FROM "Groups_objects" p))))";

constexpr const char *kRemoveNewest =
    R"(DELETE FROM "Objects" WHERE "Id" > %1; DELETE FROM "Objects_property" WHERE "Id_objects" > %1)";
constexpr const char *kPutBack =
    R"(INSERT INTO "Objects" SELECT * FROM kept.objects WHERE "Id" NOT IN (SELECT "Id" FROM "Objects" WHERE "Id" = %1);
       DELETE FROM "Objects_property" WHERE "Id_objects" = %1; INSERT INTO "Objects_property" SELECT * FROM kept.properties;
       DELETE FROM "Sensors" WHERE "Id_objects" = %1; INSERT INTO "Sensors" SELECT * FROM kept.sensors;
       DELETE FROM "Commands" WHERE "Id_object" = %1; INSERT INTO "Commands" SELECT * FROM kept.commands;
       DELETE FROM "Groups_objects" WHERE "Id_object" = %1; INSERT INTO "Groups_objects" SELECT * FROM kept.placements WHERE "Id_object" = %1;
       DELETE FROM "Person_Setup" WHERE "Id_object" = %1 AND "Type" = 1; INSERT INTO "Person_Setup" SELECT * FROM kept.setup WHERE "Id_object" = %1 AND "Type" = 1)";
constexpr const char *kPutBackTree =
    R"(TRUNCATE "Groups", "Groups_groups", "Groups_objects"; INSERT INTO "Groups" SELECT * FROM kept.groups; INSERT INTO "Groups_groups" SELECT * FROM kept.nesting; INSERT INTO "Groups_objects" SELECT * FROM kept.placements)";
constexpr const char *kTidyTree = R"(VACUUM ANALYZE "Groups", "Groups_groups", "Groups_objects")";

constexpr const char *kFirstCommand = R"(SELECT min("Id") FROM "Commands" WHERE "Id_object" = %1)";
constexpr const char *kParams =
    R"(SELECT string_agg(p::text, ',' ORDER BY "Id") FROM "Params" p WHERE "Id_command" = %1)";

QByteArray filled(const char *text, const QString &value)
{
    return QString::fromUtf8(text).arg(value).toUtf8();
}

QByteArray filled(const char *text, qint32 number)
{
    return filled(text, QString::number(number));
}

QByteArray filled(const char *text, const QList<qint32> &numbers)
{
    QStringList texts;
    for (const qint32 number : numbers)
        texts.append(QString::number(number));
    return filled(text, texts.join(QLatin1Char(',')));
}

template <typename... Fields>
QByteArray asked(const char *command, const Fields &...fields)
{
    return commandFrame(kCaller, command, fields...);
}

/// From the oldest to the newest, evenly.
QList<qint32> spreadObjects(int objects)
{
    QList<qint32> spread;
    for (qint64 i = 0; i < kManyObjects; ++i)
        spread.append(static_cast<qint32>(1 + i * (objects - 1) / (kManyObjects - 1)));
    return spread;
}

QList<SensorInfoX> sensors(int count)
{
    const QList<SensorInfoX> some = MeasuredTemplate().sensors;
    QList<SensorInfoX> sensors;
    for (int i = 0; i < count; ++i)
        sensors.append(some[i % some.size()]);
    return sensors;
}

CardsProperty note()
{
    return {-1, QStringLiteral("note"), QStringLiteral("Примечание"), 2, "Осмотр в месяце 12", 't'};
}

/// As many groups and places of objects as a small installation has.
struct Tree
{
    static constexpr qint32 kGroups = 40;
    static constexpr qint32 kPlaces = 2000;
};

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const Tree &)
{
    out << Tree::kGroups;
    for (qint32 group = 1; group <= Tree::kGroups; ++group)
        out << group << (group == 1 ? 0 : 1 + group / 8) << "Группа " + QByteArray::number(group);
    out << Tree::kPlaces;
    for (qint32 object = 1; object <= Tree::kPlaces; ++object)
        out << 1 + object % Tree::kGroups << object;
    return out;
}

std::vector<Operation> reading(qint32 object, qint32 command)
{
    return {
        {"Get_object_card_v2", Kind::Reads, asked("Get_object_card_v2", object)},
        {"Get_sensors_v2, 50 sensors", Kind::Reads, asked("Get_sensors_v2", object)},
        {"Get_command_desc_v2, 20 commands", Kind::Reads, asked("Get_command_desc_v2", object)},
        {"Get_object_command", Kind::Reads, asked("Get_object_command", object, qint32(1))},
        {"Get_command_params", Kind::Reads, asked("Get_command_params", command)},
        {"Get_example_objprops_v2", Kind::Reads, asked("Get_example_objprops_v2")},
        {"Get_example_sensors_v2", Kind::Reads, asked("Get_example_sensors_v2")},
        {"Get_example_controls_v2", Kind::Reads, asked("Get_example_controls_v2")},
    };
}

std::vector<Operation> changingCards(qint32 measured)
{
    const auto object = [measured](Measured which) { return measured + which; };
    const QByteArray name = "Машина № 1, бригада 2";
    const qint32 last = object(Params) + 8; // registry.sql makes 20 of them
    return {
        {"Save_object_card_v2, 15 properties", Kind::Writes,
         asked("Save_object_card_v2", object(Card), MeasuredTemplate().card), filled(kCard, object(Card))},
        {"Update_object_card_field", Kind::Writes,
         asked("Update_object_card_field", object(Field), QMap<int, CardsProperty>{{1, note()}}),
         filled(kCard, object(Field))},
        {"Fix_property_multi_objs_v2, 1 object", Kind::Writes,
         asked("Fix_property_multi_objs_v2", true, QList<qint32>{object(Property)}, note()),
         filled(kCard, object(Property))},
        {"Fix_object_v2, create",
         Kind::Writes,
         asked("Fix_object_v2", qint32(0), name),
         filled(kNewest, last),
         {filled(kRemoveNewest, last)}},
        {"Fix_object_v2, rename", Kind::Writes, asked("Fix_object_v2", object(Renamed), name),
         filled(kCard, object(Renamed))},
        {"Fix_object_v2, delete",
         Kind::Writes,
         asked("Fix_object_v2", -object(Deleted)),
         kDeleted,
         {filled(kPutBack, object(Deleted))}},
    };
}

std::vector<Operation> changingParts(qint32 measured, qint32 command)
{
    const auto object = [measured](Measured which) { return measured + which; };
    const MeasuredTemplate made;
    return {
        {"Save_sensors_v2, 40 sensors", Kind::Writes, asked("Save_sensors_v2", object(Sensors), sensors(40)),
         filled(kSensors, object(Sensors))},
        {"Fix_sensor_multi_objs_v2, 1 object", Kind::Writes,
         asked("Fix_sensor_multi_objs_v2", true, QList<qint32>{object(Sensor)}, made.sensors.first()),
         filled(kSensors, object(Sensor))},
        {"Save_command_desc_v2, 20 commands", Kind::Writes,
         asked("Save_command_desc_v2", object(Commands), made.controls), filled(kCommands, object(Commands))},
        {"Fix_cmd_desc_multi_objs_v2, 1 object", Kind::Writes,
         asked("Fix_cmd_desc_multi_objs_v2", true, QList<qint32>{object(Command)}, made.controls.first()),
         filled(kCommands, object(Command))},
        {"Save_params, 2 parameters", Kind::Writes,
         asked("Save_params", qint32(0), command, qint32(2), QByteArray("param_001"), QByteArray("17"),
               QByteArray("param_002"), QByteArray("18")),
         filled(kParams, command)},
        {"Save_sensors_v2, 1000 sensors",
         Kind::WritesAll,
         asked("Save_sensors_v2", object(ManySensors), sensors(kManyObjects)),
         filled(kSensors, object(ManySensors)),
         {},
         Limit::Pipelined},
    };
}

std::vector<Operation> changingMany(const QList<qint32> &objects)
{
    const MeasuredTemplate made;
    return {
        {"Fix_property_multi_objs_v2, 1000 objects",
         Kind::WritesAll,
         asked("Fix_property_multi_objs_v2", true, objects, note()),
         filled(kCard, objects),
         {},
         Limit::Pipelined},
        {"Fix_sensor_multi_objs_v2, 1000 objects",
         Kind::WritesAll,
         asked("Fix_sensor_multi_objs_v2", true, objects, made.sensors.first()),
         filled(kSensors, objects),
         {},
         Limit::Pipelined},
        {"Fix_cmd_desc_multi_objs_v2, 1000 objects", Kind::WritesAll,
         asked("Fix_cmd_desc_multi_objs_v2", true, objects, made.controls.first()), filled(kCommands, objects)},
        {"Save_objects_tree, 2000 places",
         Kind::WritesAll,
         asked("Save_objects_tree", Tree()),
         kTree,
         {kPutBackTree, kTidyTree},
         Limit::Pipelined},
    };
}

} // namespace

std::vector<Operation> objectOperations(BareConnection &database, int objects)
{
    const auto commandOf = [&](qint32 object) {
        return qint32(QByteArray(PQgetvalue(database.text(filled(kFirstCommand, object)).get(), 0, 0)).toInt());
    };
    std::vector<Operation> all;
    for (std::vector<Operation> &some : std::vector<std::vector<Operation>>{
             reading(objects + Read, commandOf(objects + Read)), changingCards(objects),
             changingParts(objects, commandOf(objects + Params)), changingMany(spreadObjects(objects))})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

} // namespace bench

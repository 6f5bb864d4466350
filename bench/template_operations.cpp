#include "bench/template_operations.h"

#include "bench/command_frames.h"
#include "bench/measured_template.h"

#include <QMap>
#include <QString>

namespace bench {

namespace {

/// As registry.sql has numbered them; of the first four it has made no more than their heads.
enum Template { Whole = 1, Saved, Renamed, Deleted, Last = 100 };

constexpr const char *kRows =
    R"(SELECT string_agg(concat(whole::text, part::text), E'\n' ORDER BY whole."Id", part."Id") FROM "Templates" whole LEFT JOIN "Templates" part ON part."Owner" = whole."Id" AND part."Class" = 'd' AND whole."Class" = 'c' WHERE whole."Owner" %1 AND whole."Class" <> 'd')";
constexpr const char *kKeep =
    R"(CREATE TABLE kept.template AS SELECT * FROM "Templates" WHERE "Class" <> 'd' AND "Owner" = 4 OR "Class" = 'd' AND "Owner" IN (SELECT "Id" FROM "Templates" WHERE "Class" = 'c' AND "Owner" = 4); ANALYZE)";
constexpr const char *kPutBack =
    R"(INSERT INTO "Templates" SELECT * FROM kept.template WHERE NOT EXISTS (SELECT FROM "Templates" WHERE "Class" = 't' AND "Owner" = 4))";
constexpr const char *kRemoveNewest =
    R"(DELETE FROM "Templates" WHERE "Class" = 'd' AND "Owner" IN (SELECT "Id" FROM "Templates" WHERE "Class" = 'c' AND "Owner" > 100); DELETE FROM "Templates" WHERE "Class" <> 'd' AND "Owner" > 100)";

// The guid is another one each time.
constexpr const char *kNewestObject = R"(SELECT concat_ws(E'\n',
  (SELECT string_agg("Id"::text, ',') FROM "Objects" WHERE "Id" > %1),
  (SELECT string_agg(p::text, E'\n' ORDER BY "Id") FROM "Objects_property" p WHERE "Id_objects" > %1),
  (SELECT string_agg(s::text, E'\n' ORDER BY "Id") FROM "Sensors" s WHERE "Id_objects" > %1),
  (SELECT string_agg(concat(c::text, p::text), E'\n' ORDER BY c."Id", p."Id") FROM "Commands" c LEFT JOIN "Params" p ON p."Id_command" = c."Id" WHERE c."Id_object" > %1)))";
constexpr const char *kRemoveNewestObject =
    R"(DELETE FROM "Params" WHERE "Id_command" IN (SELECT "Id" FROM "Commands" WHERE "Id_object" > %1); DELETE FROM "Commands" WHERE "Id_object" > %1; DELETE FROM "Sensors" WHERE "Id_objects" > %1; DELETE FROM "Objects_property" WHERE "Id_objects" > %1; DELETE FROM "Objects" WHERE "Id" > %1)";

template <typename... Fields>
QByteArray asked(const char *command, const Fields &...fields)
{
    return commandFrame(kCaller, command, fields...);
}

QByteArray rowsOf(const QString &owner)
{
    return QString::fromUtf8(kRows).arg(owner).toUtf8();
}

QByteArray rowsOf(Template number)
{
    return rowsOf(QStringLiteral("= %1").arg(number));
}

QByteArray filled(const char *text, int object)
{
    return QString::fromUtf8(text).arg(object).toUtf8();
}

void fill(Link &service, BareConnection &database)
{
    const MeasuredTemplate measured;
    for (const Template number : {Whole, Saved, Deleted}) {
        for (const QByteArray &request : {asked("Save_template_card_v2", qint32(number), measured.card),
                                          asked("Save_template_sensors_v2", qint32(number), measured.sensors),
                                          asked("Save_template_controls_v2", qint32(number), measured.controls)}) {
            service.send(request);
            (void)service.receive();
        }
    }
    database.text(kKeep);
}

std::vector<Operation> reading()
{
    return {
        {"Get_template_list_v2, 150 templates", Kind::Reads, asked("Get_template_list_v2")},
        {"Get_template_card_v2, 15 properties", Kind::Reads, asked("Get_template_card_v2", qint32(Whole))},
        {"Get_template_sensors_v2, 40 sensors", Kind::Reads, asked("Get_template_sensors_v2", qint32(Whole))},
        {"Get_template_controls_v2, 20 commands", Kind::Reads, asked("Get_template_controls_v2", qint32(Whole))},
    };
}

std::vector<Operation> changing()
{
    const MeasuredTemplate measured;
    const QByteArray title = "Новый шаблон";
    const QByteArray newest = rowsOf(QStringLiteral("> %1").arg(Last));
    return {
        {"Fix_template_desc_v2, create",
         Kind::Writes,
         asked("Fix_template_desc_v2", qint32(0), title),
         newest,
         {kRemoveNewest}},
        {"Fix_template_desc_v2, rename", Kind::Writes, asked("Fix_template_desc_v2", qint32(Renamed), title),
         rowsOf(Renamed)},
        {"Fix_template_desc_v2, delete",
         Kind::Writes,
         asked("Fix_template_desc_v2", qint32(-Deleted)),
         rowsOf(Deleted),
         {kPutBack}},
        {"Save_template_card_v2, 15 properties", Kind::Writes,
         asked("Save_template_card_v2", qint32(Saved), measured.card), rowsOf(Saved)},
        {"Save_template_sensors_v2, 40 sensors", Kind::Writes,
         asked("Save_template_sensors_v2", qint32(Saved), measured.sensors), rowsOf(Saved)},
        {"Save_template_controls_v2, 20 commands", Kind::Writes,
         asked("Save_template_controls_v2", qint32(Saved), measured.controls), rowsOf(Saved)},
        {"Copy_template_v2",
         Kind::Writes,
         asked("Copy_template_v2", qint32(Whole), QString::fromUtf8(title)),
         newest,
         {kRemoveNewest}},
    };
}

Operation creating(int lastObject)
{
    const QMap<QString, QString> identity{{QStringLiteral("name"), QStringLiteral("Машина из шаблона")},
                                          {QStringLiteral("subdivision"), QStringLiteral("Участок 1")},
                                          {QStringLiteral("modem"), QStringLiteral("7000001")}};
    return {"Create_obj_by_template_v2",
            Kind::Writes,
            asked("Create_obj_by_template_v2", qint32(Whole), identity),
            filled(kNewestObject, lastObject),
            {filled(kRemoveNewestObject, lastObject)}};
}

} // namespace

std::vector<Operation> templateOperations(Link &service, BareConnection &database)
{
    fill(service, database);
    const Rows last = database.text(R"(SELECT max("Id") FROM "Objects")");
    std::vector<Operation> all = reading();
    for (Operation &operation : changing())
        all.push_back(std::move(operation));
    all.push_back(creating(QByteArray(PQgetvalue(last.get(), 0, 0)).toInt()));
    return all;
}

} // namespace bench

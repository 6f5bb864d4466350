#include "bench/crowd_commands.h"

#include "bench/command_frames.h"
#include "keystone/records.h"

#include <QMap>
#include <QString>

namespace bench {

using database::Value;

namespace {

// The service's own texts.
constexpr const char *kSelectCard = R"( SELECT * FROM "Objects_property" where "Id_objects" = $1 order by "Id" )";
constexpr const char *kSelectSensors = R"(SELECT * FROM "Sensors" WHERE "Id_objects" = $1 order by "Id")";
constexpr const char *kCountCommands = R"(SELECT Count(*) as cnt FROM "Commands" WHERE "Id_object" = $1)";
constexpr const char *kSelectCommands =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Operation", cmd."Description" AS CmdDesc, cmd."ExecBy", cnt."NumParams", p."Name" as "ParamName", p."Description" as ParamDesc, p."Value", p."Id" AS ParamId, p."Type" FROM "Commands" cmd LEFT JOIN LATERAL (SELECT count(*) AS "NumParams" FROM "Params" WHERE "Id_command" = cmd."Id" HAVING count(*) > 0) cnt ON true LEFT JOIN (SELECT * FROM "Params") p ON p."Id_command" = cmd."Id" WHERE cmd."Id_object" = $1 ORDER BY cmd."Operation", CmdId, ParamId)";
constexpr const char *kUpdateValue = R"(UPDATE "Objects_property" SET "Value"=$1 WHERE "Id_objects"=$2 AND "Name"=$3)";
constexpr const char *kSelectLogin = R"(SELECT "Login" FROM "Connections" WHERE "Id" = $1)";

constexpr const char *kChanged = "note";
constexpr const char *kChangedTo = "17.25";
constexpr const char *kProveChange =
    R"(SELECT count(*) FROM "Objects_property" WHERE "Id_objects" = %1 AND "Name" = 'note' AND "Value" = '17.25')";
constexpr const char *kProveRows = R"(SELECT count(*) FROM "%2" WHERE "%3" = %1)";

CrowdCommand reading(const char *name, int share, int object, int clients)
{
    CrowdCommand command;
    command.message = name;
    command.share = share;
    for (int client = 1; client <= clients; ++client)
        command.requests.append(commandFrame(client, name, qint32(object)));
    return command;
}

QByteArray rowCount(int object, const char *table, const char *column)
{
    return QString::fromLatin1(kProveRows)
        .arg(QString::number(object), QLatin1String(table), QLatin1String(column))
        .toLatin1();
}

CrowdCommand change(int share, int object, int clients)
{
    const QString name = QString::fromLatin1(kChanged);
    const QMap<int, CardsProperty> fields{{0, {-1, name, {}, 2, kChangedTo, 1}}};
    CrowdCommand command;
    command.message = "SavedCard";
    command.share = share;
    command.changes = true;
    for (int client = 1; client <= clients; ++client)
        command.requests.append(commandFrame(client, "Update_object_card_field", qint32(object), fields));
    // The second is for the event log.
    command.statements = {
        {kUpdateValue, {Value::bytes(kChangedTo), Value::integer(object), Value::text(name)}},
        {kSelectLogin, {Value::integer(1)}},
    };
    command.proof = QString::fromLatin1(kProveChange).arg(object).toLatin1();
    return command;
}

} // namespace

std::vector<CrowdCommand> crowdCommands(int object, int clients)
{
    const QList<Value> number{Value::integer(object)};
    CrowdCommand card = reading("Get_object_card_v2", 10, object, clients);
    card.statements = {{kSelectCard, number}};
    card.proof = rowCount(object, "Objects_property", "Id_objects");
    CrowdCommand sensors = reading("Get_sensors_v2", 5, object, clients);
    sensors.statements = {{kSelectSensors, number}};
    sensors.proof = rowCount(object, "Sensors", "Id_objects");
    CrowdCommand commands = reading("Get_command_desc_v2", 3, object, clients);
    commands.statements = {{kCountCommands, number}, {kSelectCommands, number}};
    commands.proof = rowCount(object, "Commands", "Id_object");
    // The change comes first, since what it changes is read by others, whose answers stay as long as that makes them.
    return {change(2, object, clients), std::move(card), std::move(sensors), std::move(commands)};
}

} // namespace bench

#include "registry/object_commands.h"

#include "registry/command_call.h"
#include "registry/command_requests.h"
#include "registry/command_rows.h"
#include "registry/number_list.h"
#include "registry/spliced_text.h"

namespace registry {

using database::Value;

namespace {

constexpr const char *kCountCommands = R"(SELECT Count(*) as cnt FROM "Commands" WHERE "Id_object" = %0)";
// Counts the parameters of this object's commands only; a command without any counts NULL.
constexpr const char *kSelectCommands =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Operation", cmd."Description" AS CmdDesc, cmd."ExecBy", cnt."NumParams", p."Name" as "ParamName", p."Description" as ParamDesc, p."Value", p."Id" AS ParamId, p."Type" FROM "Commands" cmd LEFT JOIN LATERAL (SELECT count(*) AS "NumParams" FROM "Params" WHERE "Id_command" = cmd."Id" HAVING count(*) > 0) cnt ON true LEFT JOIN (SELECT * FROM "Params") p ON p."Id_command" = cmd."Id" WHERE cmd."Id_object" = %0 ORDER BY cmd."Operation", CmdId, ParamId)";
constexpr const char *kDeleteCommands =
    R"(DELETE FROM "Params" WHERE "Id_command" IN (SELECT "Id" FROM "Commands" WHERE "Id_object" = %1); DELETE FROM "Commands" WHERE "Id_object" = %1;)";
constexpr const char *kDeleteCommandByName =
    R"(DELETE FROM "Params" WHERE "Id_command" IN (SELECT "Id" FROM "Commands" WHERE "Id_object" IN (%1) AND "Name" = '%2'); DELETE FROM "Commands" WHERE "Id_object" IN (%1) AND "Name" = '%2';)";

/// The columns of kSelectCommands.
enum Column {
    CmdId,
    CmdName,
    Operation,
    CmdDescription,
    ExecBy,
    NumParams,
    ParamName,
    ParamDescription,
    ParamValue,
    ParamId,
    Type
};

/// Writes the CmdDesc of a row.
void writeCommand(keystone::ByteWriter &out, const database::Result &rows, int row)
{
    out << CmdDesc().id << rows.utf8(row, CmdName) << rows.utf8(row, CmdDescription) << rows.integer(row, Operation)
        << rows.view(row, ExecBy) << rows.integer(row, NumParams);
}

/// Writes the ParamDesc of a row.
void writeParameter(keystone::ByteWriter &out, const database::Result &rows, int row)
{
    out << rows.view(row, ParamName) << rows.view(row, ParamValue) << rows.utf8(row, ParamDescription)
        << rows.integer(row, Type) << rows.integer(row, ParamId);
}

/// One row per parameter; a command without any has one row, whose parameter columns are empty.
void writeCommands(keystone::ByteWriter &out, const database::Result &rows)
{
    for (int row = 0; row < rows.rowCount(); ++row) {
        if (row == 0 || rows.integer(row, CmdId) != rows.integer(row - 1, CmdId))
            writeCommand(out, rows, row);
        if (rows.integer(row, NumParams) > 0)
            writeParameter(out, rows, row);
    }
}

/// Reads one command with its parameters and adds it to `object`; false at the first insert that fails.
bool insertNextCommand(CommandCall &call, qint32 object)
{
    const auto command = call.in.read<CmdDesc>();
    const auto key = insertCommand(call.db, object, command);
    if (!key)
        return false;
    for (qint32 i = 0; i < command.numParams; ++i) {
        if (!insertParameter(call.db, *key, call.in.read<ParamDesc>()))
            return false;
    }
    return true;
}

void setOnObjects(CommandCall &call, const QList<qint32> &objects)
{
    const qint64 command = call.in.position();
    for (const qint32 object : objects) {
        call.in.goTo(command);
        if (!insertNextCommand(call, object))
            return;
        call.announceSavedCard(object);
    }
}

database::Statement countCommands(qint32 object)
{
    return {kCountCommands, {Value::integer(object)}};
}

database::Statement selectCommands(qint32 object)
{
    return {kSelectCommands, {Value::integer(object)}};
}

} // namespace

QList<database::Statement> commandReads(RequestReader &in, int)
{
    const auto object = in.read<qint32>();
    return {countCommands(object), selectCommands(object)};
}

void getCommandDescV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto count = call.db.query(countCommands(object));
    if (count.rowCount() != 1) {
        call.withholdReply();
        return;
    }
    call.out << object << count.integer(0, 0);
    writeCommands(call.out, call.db.query(selectCommands(object)));
}

void saveCommandDescV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto count = call.in.recordCount();
    if (!count || !commandsMayBeRead(call.in, *count))
        return;
    (void)call.db.script(QString::fromLatin1(kDeleteCommands).arg(object));
    for (qint32 i = 0; i < *count; ++i) {
        if (!insertNextCommand(call, object))
            return;
        // Once per command, not once per save.
        call.announceSavedCard(object);
    }
}

void fixCmdDescMultiObjsV2(CommandCall &call)
{
    const bool set = call.in.read<bool>();
    const auto objects = call.in.readContainer<QList<qint32>>(sizeof(qint32));
    if ((set && !commandsMayBeRead(call.in, 1)) || objects.isEmpty())
        return;
    const qint64 subject = call.in.position();
    const QString name = set ? call.in.read<CmdDesc>().name : call.in.read<QString>();
    const QString text = QString::fromLatin1(kDeleteCommandByName).arg(numberListText(objects), name);
    if (!runSpliced(call.db, text, name).ok() || !set)
        return;
    call.in.goTo(subject);
    setOnObjects(call, objects);
}

} // namespace registry

#include "templates/template_controls.h"

#include "records/record_rows.h"
#include "registry/command_call.h"
#include "registry/command_requests.h"
#include "templates/template_table.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kCountCommands = R"(SELECT COUNT(*) FROM "%0" WHERE "Owner" = %1 AND "Class" = 'c' ;)";
// Counts the parameters of this template's commands only; a command without any counts NULL.
constexpr const char *kSelectControls =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Description" AS CmdDesc, cmd."SpecificData" AS CmdData , cnt."NumParams" , p."Name" as ParamName, p."Description" as ParamDesc, p."Id" AS ParamId, p."SpecificData" AS ParamData FROM "%0" cmd LEFT JOIN LATERAL (SELECT COUNT(*) AS "NumParams" FROM "%0" WHERE "Class" = 'd' AND "Owner" = cmd."Id" HAVING COUNT(*) > 0) cnt ON true LEFT JOIN (SELECT * FROM "%0" WHERE "Class" = 'd') p ON p."Owner" = cmd."Id" WHERE cmd."Class" = 'c' AND cmd."Owner" = %1 ORDER BY CmdId, ParamId )";
constexpr const char *kDeleteControls =
    R"(DELETE FROM "%0" WHERE "Class"='d' AND "Owner" IN (SELECT "Id" FROM "%0" WHERE "Class"='c' AND "Owner" = %1); DELETE FROM "%0" WHERE "Class"='c' AND "Owner" = %1; )";
constexpr const char *kInsertCommand =
    R"(INSERT INTO "Templates"("Id", "Owner", "Class", "Name", "Description", "SpecificData") VALUES (DEFAULT, ?, 'c', ?, ?, ?) RETURNING "Id"; )";
constexpr const char *kInsertParameter =
    R"(INSERT INTO "Templates"("Owner", "Class", "Name", "Description", "SpecificData" ) VALUES (?, 'd', ?, ?, ?) )";

/// The columns of kSelectControls.
enum Column { CmdId, CmdName, CmdDescription, CmdData, NumParams, ParamName, ParamDescription, ParamId, ParamData };

CmdDesc commandFromRow(const database::Result &rows, int row)
{
    CmdDesc command;
    command.id = rows.integer(row, CmdId);
    command.name = rows.text(row, CmdName);
    command.description = rows.text(row, CmdDescription);
    command.numParams = rows.integer(row, NumParams);
    records::unpack(rows.view(row, CmdData), command);
    return command;
}

ParamDesc parameterFromRow(const database::Result &rows, int row)
{
    ParamDesc parameter;
    parameter.name = rows.bytes(row, ParamName);
    parameter.description = rows.text(row, ParamDescription);
    parameter.id = rows.integer(row, ParamId);
    records::unpack(rows.view(row, ParamData), parameter);
    return parameter;
}

/// Gives the first row of each command, and each row with a parameter of it, in their order.
void walk(const database::Result &rows, const std::function<void(int)> &command,
          const std::function<void(int)> &parameter)
{
    // A first command with the key 0 does not differ from none: it is counted but not given.
    qint32 id = 0;
    qint32 parameters = 0;
    for (int row = 0; row < rows.rowCount(); ++row) {
        if (const qint32 next = rows.integer(row, CmdId); next != id) {
            id = next;
            parameters = rows.integer(row, NumParams);
            command(row);
        }
        if (parameters > 0)
            parameter(row);
    }
}

QList<Value> bind(qint32 command, const ParamDesc &parameter)
{
    return {Value::integer(command), Value::text(QString::fromUtf8(parameter.name)), Value::text(parameter.description),
            Value::bytes(records::pack(parameter))};
}

/// Reads one command with its parameters and adds it; false at the first insert that fails.
bool insertNextControl(CommandCall &call, qint32 number)
{
    const auto command = call.in.read<CmdDesc>();
    const auto key = insertTemplateCommand(call.db, number, command);
    if (!key)
        return false;
    for (qint32 i = 0; i < command.numParams; ++i) {
        if (!insertTemplateParameter(call.db, *key, call.in.read<ParamDesc>()))
            return false;
    }
    return true;
}

} // namespace

void readControls(database::Connection &db, qint32 number, const std::function<void(const CmdDesc &)> &emitCommand,
                  const std::function<void(const ParamDesc &)> &emitParameter)
{
    const auto place = TemplatePlace::of(number);
    if (place.query(db, kCountCommands).rowCount() == 0)
        return;
    const auto rows = place.query(db, kSelectControls);
    walk(
        rows, [&](int row) { emitCommand(commandFromRow(rows, row)); },
        [&](int row) { emitParameter(parameterFromRow(rows, row)); });
}

std::optional<qint32> insertTemplateCommand(database::Connection &db, qint32 number, const CmdDesc &command)
{
    const auto rows =
        db.query(kInsertCommand, {Value::integer(number), Value::text(command.name), Value::text(command.description),
                                  Value::bytes(records::pack(command))});
    if (rows.rowCount() == 0)
        return std::nullopt;
    return rows.integer(0, 0);
}

bool insertTemplateParameter(database::Connection &db, qint32 command, const ParamDesc &parameter)
{
    return db.query(kInsertParameter, bind(command, parameter)).ok();
}

void postTemplateParameter(database::Connection &db, qint32 command, const ParamDesc &parameter)
{
    db.post(kInsertParameter, bind(command, parameter));
}

void getTemplateControlsV2(CommandCall &call)
{
    const auto place = TemplatePlace::of(call.in.read<qint32>());
    const auto count = place.query(call.db, kCountCommands);
    if (count.rowCount() == 0)
        return;
    call.out << static_cast<qint32>(place.number) << count.integer(0, 0);
    const auto rows = place.query(call.db, kSelectControls);
    walk(
        rows,
        [&](int row) {
            records::writeCommand(call.out, rows.integer(row, CmdId), rows.utf8(row, CmdName),
                                  rows.utf8(row, CmdDescription), rows.view(row, CmdData),
                                  rows.integer(row, NumParams));
        },
        [&](int row) {
            records::writeParameter(call.out, rows.view(row, ParamName), rows.view(row, ParamData),
                                    rows.utf8(row, ParamDescription), rows.integer(row, ParamId));
        });
}

void saveTemplateControlsV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    if (number < 0)
        return;
    const auto count = call.in.recordCount();
    if (!count || !registry::commandsMayBeRead(call.in, *count))
        return;
    (void)call.db.script(TemplatePlace::of(number).fill(kDeleteControls));
    for (qint32 i = 0; i < *count; ++i) {
        if (!insertNextControl(call, number))
            return;
    }
}

} // namespace templates

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
constexpr const char *kSelectControls =
    R"(SELECT cmd."Id" AS CmdId, cmd."Name" AS CmdName, cmd."Description" AS CmdDesc, cmd."SpecificData" AS CmdData , cnt."NumParams" , p."Name" as ParamName, p."Description" as ParamDesc, p."Id" AS ParamId, p."SpecificData" AS ParamData FROM "%0" cmd LEFT JOIN (SELECT "Owner", COUNT(*) AS "NumParams" FROM "%0" WHERE "Class" = 'd' GROUP BY "Owner") cnt ON cnt."Owner" = cmd."Id" LEFT JOIN (SELECT * FROM "%0" WHERE "Class" = 'd') p ON p."Owner" = cmd."Id" WHERE cmd."Class" = 'c' AND cmd."Owner" = %1 ORDER BY CmdId, ParamId )";
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

void readControls(database::Connection &db, qint32 number, const NumberSink &emitNumber,
                  const std::function<void(const CmdDesc &)> &emitCommand,
                  const std::function<void(const ParamDesc &)> &emitParameter)
{
    const auto place = TemplatePlace::of(number);
    const auto count = place.query(db, kCountCommands);
    if (count.rowCount() == 0)
        return;
    if (emitNumber) {
        emitNumber(static_cast<qint32>(place.number));
        emitNumber(count.integer(0, 0));
    }
    const auto rows = place.query(db, kSelectControls);
    CmdDesc command;
    for (int row = 0; row < rows.rowCount(); ++row) {
        // A first command with the key 0 does not differ from none: it is counted but not given.
        if (rows.integer(row, CmdId) != command.id) {
            command = commandFromRow(rows, row);
            emitCommand(command);
        }
        if (command.numParams > 0)
            emitParameter(parameterFromRow(rows, row));
    }
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
    const auto write = [&call](const auto &value) { call.out << value; };
    readControls(call.db, call.in.read<qint32>(), write, write, write);
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

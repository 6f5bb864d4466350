#include "registry/example_catalogues.h"

#include "records/record_rows.h"
#include "registry/command_call.h"

namespace registry {

namespace {

constexpr const char *kSelectObjProps =
    R"(SELECT "Name", "Description", "Type", "Value", "Visible", "Id" FROM "ExampleObjProps" ORDER BY "Id"; )";
constexpr const char *kSelectSensors =
    R"(SELECT "Name", "Measure", "Quality", "Type", "Vid", "Enum", "Calculate", "Rate", "MayEdit", "MayDelete" FROM "ExampleSensors" ORDER BY "Type"; )";
constexpr const char *kSelectControls =
    R"(SELECT cmd2."Id", cmd2."Name", cmd2."Description", cmd2."SpecificInt" operation, hw."Description", cnt.numparams, p."Name", p."Description", p."SpecificInt" typep FROM "ExampleControls" hw JOIN "ExampleControls" cmd1 ON cmd1."Owner"=hw."Id" JOIN "ExampleControls" cmd2 ON cmd2."Name"=cmd1."Name" AND cmd2."Owner"=-2 LEFT JOIN (SELECT "Owner", count(*) numparams FROM "ExampleControls" group by "Owner") cnt ON cnt."Owner"=cmd2."Id" LEFT JOIN "ExampleControls" p ON p."Owner"=cmd2."Id" WHERE hw."Owner"=-1 ORDER BY hw."Id",cmd2."Id",p."Id";)";

/// The columns of kSelectControls.
enum Column { CmdId, CmdName, CmdDescription, Operation, Hardware, NumParams, ParamName, ParamDescription, ParamType };

/// Writes the control whose rows begin at `first`, one for each of its parameters, and gives the row behind them.
int writeControl(keystone::ByteWriter &out, const database::Result &rows, int first)
{
    int end = first + 1;
    while (end < rows.rowCount() && rows.integer(end, CmdId) == rows.integer(first, CmdId))
        ++end;
    const qint32 declared = rows.integer(first, NumParams);
    const qint32 parameters = declared > 0 ? end - first : 0;
    // A CmdDesc, executed by no unit yet.
    out << rows.integer(first, CmdId) << rows.utf8(first, CmdName) << rows.utf8(first, CmdDescription)
        << rows.integer(first, Operation) << QByteArrayView() << declared;
    out << parameters;
    // Each a ParamDesc, without a value and a row key.
    for (int row = first; row < first + parameters; ++row) {
        out << rows.view(row, ParamName) << QByteArrayView() << rows.utf8(row, ParamDescription)
            << rows.integer(row, ParamType) << ParamDesc().id;
    }
    // The kind of device that offers the command.
    out << rows.utf8(first, Hardware);
    return end;
}

} // namespace

void getExamplesObjProps(CommandCall &call)
{
    const auto rows = call.db.query(kSelectObjProps);
    const records::CardRows properties(rows);
    call.out << rows.size();
    // An example is not a property of any card yet.
    for (int row = 0; row < rows.rowCount(); ++row)
        properties.write(call.out, row, CardsProperty().id);
}

void getExamplesSensors(CommandCall &call)
{
    const auto rows = call.db.query(kSelectSensors);
    const records::SensorRows sensors(rows);
    const int mayEdit = rows.column("MayEdit");
    const int mayDelete = rows.column("MayDelete");
    call.out << rows.size();
    for (int row = 0; row < rows.rowCount(); ++row) {
        sensors.write(call.out, row);
        call.out << (rows.integer(row, mayEdit) != 0) << (rows.integer(row, mayDelete) != 0);
    }
}

void getExamplesControls(CommandCall &call)
{
    const auto rows = call.db.query(kSelectControls);
    // The number of rows, not of controls: clients read controls until the reply ends.
    call.out << rows.size();
    for (int row = 0; row < rows.rowCount();)
        row = writeControl(call.out, rows, row);
}

} // namespace registry

#include "registry/example_catalogues.h"

#include "records/record_rows.h"
#include "registry/command_call.h"

#include <optional>

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

struct Control
{
    CmdDesc command;
    QList<ParamDesc> parameters;
    QString hardware; ///< the kind of device that offers the command
};

Control controlFromRow(const database::Result &rows, int row)
{
    return {{rows.integer(row, CmdId), rows.text(row, CmdName), rows.text(row, CmdDescription),
             rows.integer(row, Operation), QByteArray(), rows.integer(row, NumParams)},
            {},
            rows.text(row, Hardware)};
}

void write(QDataStream &out, const Control &control)
{
    out << control.command << static_cast<qint32>(control.parameters.size());
    for (const ParamDesc &parameter : control.parameters)
        out << parameter;
    out << control.hardware;
}

} // namespace

void getExamplesObjProps(CommandCall &call)
{
    const auto rows = call.db.query(kSelectObjProps);
    call.out << rows.size();
    for (CardsProperty property : records::cardFromRows(rows)) {
        // An example is not a property of any card yet.
        property.id = CardsProperty().id;
        call.out << property;
    }
}

void getExamplesSensors(CommandCall &call)
{
    const auto rows = call.db.query(kSelectSensors);
    const QList<SensorInfoX> sensors = records::sensorsFromRows(rows);
    const int mayEdit = rows.column("MayEdit");
    const int mayDelete = rows.column("MayDelete");
    call.out << rows.size();
    for (int row = 0; row < sensors.size(); ++row)
        call.out << sensors[row] << (rows.integer(row, mayEdit) != 0) << (rows.integer(row, mayDelete) != 0);
}

void getExamplesControls(CommandCall &call)
{
    const auto rows = call.db.query(kSelectControls);
    // The number of rows, not of controls: clients read controls until the reply ends.
    call.out << rows.size();
    std::optional<Control> control;
    for (int row = 0; row < rows.rowCount(); ++row) {
        if (!control || control->command.id != rows.integer(row, CmdId)) {
            if (control)
                write(call.out, *control);
            control = controlFromRow(rows, row);
        }
        if (control->command.numParams > 0) {
            control->parameters.append({rows.bytes(row, ParamName), QByteArray(), rows.text(row, ParamDescription),
                                        rows.integer(row, ParamType), 0});
        }
    }
    if (control)
        write(call.out, *control);
}

} // namespace registry

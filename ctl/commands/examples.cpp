#include "ctl/card_records.h"
#include "ctl/command_records.h"
#include "ctl/commands/commands.h"
#include "ctl/reply_reader.h"
#include "ctl/sensor_records.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <CLI/CLI.hpp>

namespace ctl {
namespace {

struct SensorExample
{
    SensorInfoX sensor;
    bool mayEdit = false;
    bool mayDelete = false;
};

struct ControlExample
{
    RemoteCommand command;
    QString hardware; ///< the kind of device that offers it
};

Result<Card> decodeProps(const QByteArray &reply)
{
    ReplyReader in(reply);
    Card props;
    const qint32 count = in.count(kSmallestProperty, "examples");
    for (qint32 index = 0; index < count && !in.failed(); ++index)
        props.append(in.read<CardsProperty>());
    if (const Outcome failure = in.end())
        return *failure;
    return props;
}

Result<QList<SensorExample>> decodeSensorExamples(const QByteArray &reply)
{
    constexpr int smallest = kSmallestSensor + 2;
    ReplyReader in(reply);
    QList<SensorExample> examples;
    const qint32 count = in.count(smallest, "examples");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        SensorExample example;
        in.stream() >> example.sensor >> example.mayEdit >> example.mayDelete;
        examples.append(example);
    }
    if (const Outcome failure = in.end())
        return *failure;
    return examples;
}

Result<QList<ControlExample>> decodeControls(const QByteArray &reply)
{
    ReplyReader in(reply);
    QList<ControlExample> examples;
    // It counts rows of the catalogue, not controls: these go on until the answer ends.
    (void)in.count(0, "examples");
    while (!in.failed() && !in.stream().atEnd()) {
        ControlExample example;
        example.command.head = in.read<CmdDesc>();
        const qint32 params = in.count(kSmallestParam, "parameters");
        for (qint32 index = 0; index < params && !in.failed(); ++index)
            example.command.params.append(in.read<ParamDesc>());
        example.hardware = in.read<QString>();
        examples.append(example);
    }
    if (const Outcome failure = in.end())
        return *failure;
    return examples;
}

QString yesOrNo(bool value)
{
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

/// Prints what `command` answers: as `json` or, for people, `table`.
template <typename Examples>
Outcome show(Session &session, const char *command, Result<Examples> (*decode)(const QByteArray &),
             QString (*json)(const Examples &), QString (*table)(const Examples &))
{
    Result<bus::Action> reply = session.ask(command, QByteArray());
    if (!reply)
        return reply.failure();
    Result<Examples> examples = decode(reply->data);
    if (!examples)
        return examples.failure();
    if (session.options().json)
        session.printLine(json(*examples));
    else if (examples->isEmpty())
        session.printLine(QStringLiteral("the catalogue is empty"));
    else
        session.out() << table(*examples);
    return std::nullopt;
}

QString propsJson(const Card &props)
{
    return jsonObject({{QStringLiteral("card"), propertiesJson(props)}});
}

QString sensorExamplesJson(const QList<SensorExample> &examples)
{
    QStringList lines;
    for (const SensorExample &example : examples) {
        lines.append(jsonObject(sensorMembers(example.sensor) +
                                QList<JsonMember>{{QStringLiteral("may_edit"), jsonBool(example.mayEdit)},
                                                  {QStringLiteral("may_delete"), jsonBool(example.mayDelete)}}));
    }
    return jsonObject({{QStringLiteral("sensors"), jsonLines(lines)}});
}

QString sensorExamplesTable(const QList<SensorExample> &examples)
{
    Table table(sensorHeaders() << QStringLiteral("may edit") << QStringLiteral("may delete"));
    for (const SensorExample &example : examples)
        table.addRow(sensorCells(example.sensor) << yesOrNo(example.mayEdit) << yesOrNo(example.mayDelete));
    return table.text();
}

QString controlsJson(const QList<ControlExample> &examples)
{
    QStringList lines;
    for (const ControlExample &example : examples) {
        lines.append(jsonObject(commandMembers(example.command) +
                                QList<JsonMember>{{QStringLiteral("hardware"), jsonText(example.hardware)}}));
    }
    return jsonObject({{QStringLiteral("controls"), jsonLines(lines)}});
}

QString controlsTable(const QList<ControlExample> &examples)
{
    Table table({QStringLiteral("hardware"), QStringLiteral("name"), QStringLiteral("description"),
                 QStringLiteral("operation"), QStringLiteral("parameters")});
    for (const auto &[command, hardware] : examples) {
        QStringList params;
        for (const ParamDesc &param : command.params)
            params.append(bytesForPeople(param.name));
        table.addRow({textForPeople(hardware), textForPeople(command.head.name),
                      textForPeople(command.head.description), operationForPeople(command.head.operation),
                      params.join(QStringLiteral(", "))});
    }
    return table.text();
}

} // namespace

void registerExamples(CLI::App &app, Job &job)
{
    CLI::App *examples = app.add_subcommand("examples", "Show the catalogues of ready-made entries");
    examples->require_subcommand(0, 1);
    examples->add_subcommand("props", "Properties of cards")->callback([&job] {
        job = [](Session &session) {
            return show(session, "Get_example_objprops_v2", decodeProps, propsJson, cardTable);
        };
    });
    examples->add_subcommand("sensors", "Sensors")->callback([&job] {
        job = [](Session &session) {
            return show(session, "Get_example_sensors_v2", decodeSensorExamples, sensorExamplesJson,
                        sensorExamplesTable);
        };
    });
    examples->add_subcommand("controls", "Remote-control commands by kinds of devices")->callback([&job] {
        job = [](Session &session) {
            return show(session, "Get_example_controls_v2", decodeControls, controlsJson, controlsTable);
        };
    });
}

} // namespace ctl

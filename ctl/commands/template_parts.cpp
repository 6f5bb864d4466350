#include "ctl/arguments.h"
#include "ctl/card_records.h"
#include "ctl/command_records.h"
#include "ctl/commands/commands.h"
#include "ctl/commands/template_part.h"
#include "ctl/sensor_records.h"

#include <memory>

namespace ctl {
namespace {

// Card ----------------------------------------------------------------------------------------------------------------

CardsProperty readCardProperty(ReplyReader &in)
{
    return in.read<CardsProperty>();
}

void writeCardProperty(keystone::ByteWriter &out, const CardsProperty &property)
{
    out << property;
}

/// Names that the service keeps off the cards of templates.
CardsProperty readTemplateProperty(JsonFields &fields, JsonProblem &)
{
    const CardsProperty property = readProperty(fields);
    const QString name = QStringLiteral("name");
    fields.refuseNul(name, property.name);
    fields.refuseNul(QStringLiteral("description"), property.description);
    if (property.name.isNull())
        fields.note(name, QStringLiteral("a property without a name would never be shown again"));
    if (property.name == name || property.name == u"subdivision" || property.name == u"modem")
        fields.note(name,
                    QStringLiteral("\"%1\" belongs to an object itself, and the cards of templates do not show it")
                        .arg(property.name));
    return property;
}

/// Unlike on an object's card, any code of a flag is kept.
bool isPropertyStored(const CardsProperty &sent, const CardsProperty &stored)
{
    return isStored(sent, stored) && sent.visible == stored.visible;
}

constexpr TemplatePart<CardsProperty> kCard = {
    "Get_template_card_v2", "Save_template_card_v2", "card",    "property",   "properties",         kSmallestProperty,
    readCardProperty,       writeCardProperty,       cardTable, propertyJson, readTemplateProperty, isPropertyStored,
};

// Sensors -------------------------------------------------------------------------------------------------------------

SensorInfoX readTemplateSensor(ReplyReader &in)
{
    return in.read<SensorInfoX>();
}

void writeTemplateSensor(keystone::ByteWriter &out, const SensorInfoX &sensor)
{
    out << sensor;
}

QString templateSensorJson(const SensorInfoX &sensor)
{
    return jsonObject(sensorMembers(sensor));
}

SensorInfoX readTemplateSensorJson(JsonFields &fields, JsonProblem &)
{
    SensorInfoX sensor = readSensor(fields);
    fields.refuseNul(QStringLiteral("name"), sensor.name);
    return sensor;
}

/// Unlike on an object, no label and one empty label stay different.
bool isSensorStored(const SensorInfoX &sent, const SensorInfoX &stored)
{
    return isStored(sent, stored) && sent.enumeration == stored.enumeration;
}

constexpr TemplatePart<SensorInfoX> kSensors = {
    "Get_template_sensors_v2",
    "Save_template_sensors_v2",
    "sensors",
    "sensor",
    "sensors",
    kSmallestSensor,
    readTemplateSensor,
    writeTemplateSensor,
    sensorTable,
    templateSensorJson,
    readTemplateSensorJson,
    isSensorStored,
};

// Controls ------------------------------------------------------------------------------------------------------------

RemoteCommand readTemplateCommand(ReplyReader &in)
{
    return readCommand(in);
}

QString templateCommandJson(const RemoteCommand &command)
{
    return jsonObject(commandMembers(command));
}

RemoteCommand readTemplateCommandJson(JsonFields &fields, JsonProblem &problem)
{
    RemoteCommand command = readCommand(fields, problem);
    noteUnstorable(command, fields);
    return command;
}

constexpr TemplatePart<RemoteCommand> kControls = {
    "Get_template_controls_v2",
    "Save_template_controls_v2",
    "controls",
    "command",
    "commands",
    kSmallestCommand,
    readTemplateCommand,
    writeCommand,
    commandTables,
    templateCommandJson,
    readTemplateCommandJson,
    isStored,
};

struct PartArguments
{
    qint32 number = 0;
    std::string file = "-";
};

constexpr char kSavePartsHelp[] =
    "Reads the JSON that \"show --json\" prints. \"template\" must be the TEMPLATE of the command line or be left "
    "out;\n"
    "row keys (\"id\") may be left out and are ignored. A wrong field is named by its path, and nothing is sent.\n"
    "Afterwards the template is read back and compared.";

template <typename Record>
void registerPart(CLI::App &noun, Job &job, const TemplatePart<Record> &part, const char *name, const char *what)
{
    CLI::App *partNoun = noun.add_subcommand(name, std::string("Read and save the ") + what + " of a template")
                             ->require_subcommand(0, 1);
    const auto arguments = std::make_shared<PartArguments>();

    CLI::App *show = partNoun->add_subcommand("show", std::string("Show the ") + what + " of a template");
    show->add_option("TEMPLATE", arguments->number, "Number of the template; negative for a supplied one")
        ->required()
        ->check(anyNumber());
    show->callback([arguments, &job, &part] {
        job = [arguments, &part](Session &session) { return showPart(session, part, arguments->number); };
    });

    CLI::App *save = partNoun->add_subcommand("save", std::string("Replace the ") + what + " of an own template");
    save->add_option("TEMPLATE", arguments->number, "Number of the template")
        ->required()
        ->check(decimal(1, std::numeric_limits<qint32>::max()));
    save->add_option("--file", arguments->file, "File with them as JSON; - is the standard input")
        ->capture_default_str();
    save->footer(kSavePartsHelp);
    save->callback([arguments, &job, &part] {
        job = [arguments, &part](Session &session) {
            return savePart(session, part, arguments->number, arguments->file);
        };
    });
}

} // namespace

void registerTemplateParts(CLI::App &noun, Job &job)
{
    registerPart(noun, job, kCard, "card", "card");
    registerPart(noun, job, kSensors, "sensors", "sensors");
    registerPart(noun, job, kControls, "controls", "remote-control commands");
}

} // namespace ctl

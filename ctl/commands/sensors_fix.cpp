#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/compare_lists.h"
#include "ctl/database_probe.h"
#include "ctl/input_file.h"
#include "ctl/same_values.h"
#include "ctl/sensor_records.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <memory>

namespace ctl {
namespace {

constexpr char kSetSensorHelp[] =
    "The sensor is one element of \"sensors\" as \"sensors show --json\" prints them (see \"sensors save --help\"):\n"
    "  {\"name\": \"Door\", \"measure\": \"\", \"quality\": 0, \"type\": 8, \"vid\": \"D\", \"labels\": [\"shut\", "
    "\"open\"],\n"
    "   \"calculate\": \"\", \"rate\": null}\n"
    "It takes the place of every sensor of its type, whatever their names. Afterwards the sensors are read back.";

struct SensorFixArguments
{
    std::string objects;
    std::string file = "-";
    std::string name;
};

Outcome setSensor(Session &session, const SensorFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    Result<QByteArray> text = readInput(arguments.file);
    if (!text)
        return text.failure();
    Result<SensorInfoX> sensor = readSensorJson(*text);
    if (!sensor)
        return sensor.failure();
    QByteArray request;
    keystone::ByteWriter(&request) << true << *objects << *sensor;
    if (Outcome failure = session.tell("Fix_sensor_multi_objs_v2", request))
        return failure;
    const auto isOfItsType = [&sensor](const SensorInfoX &stored) { return stored.type == sensor->type; };
    const auto isRight = [&sensor](const Sensors &ofType) {
        return ofType.size() == 1 && isStored(*sensor, ofType[0]);
    };
    if (Outcome failure = checkOnObjects(session, *objects, fetchSensors, isOfItsType, isRight))
        return failure;
    session.confirm(
        QStringLiteral("\"%1\" set on %2").arg(printable(sensor->name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

Outcome removeSensor(Session &session, const SensorFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    const QString name = QString::fromStdString(arguments.name);
    if (Outcome failure = refuseQuote(name, "--name", "\"sensors save\" replaces all sensors of an object"))
        return failure;
    QByteArray request;
    keystone::ByteWriter(&request) << false << *objects << name;
    if (Outcome failure = session.tell("Fix_sensor_multi_objs_v2", request))
        return failure;
    const auto isCalledSo = [&name](const SensorInfoX &stored) { return sameText(stored.name, name); };
    const auto isRight = [](const Sensors &called) { return called.isEmpty(); };
    if (Outcome failure = checkOnObjects(session, *objects, fetchSensors, isCalledSo, isRight))
        return failure;
    if (Outcome failure = probeDatabase(session))
        return failure;
    session.confirm(
        QStringLiteral("\"%1\" removed from %2").arg(printable(name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

} // namespace

void registerSensorsFix(CLI::App &sensors, Job &job)
{
    CLI::App *fix = sensors.add_subcommand("fix", "Set or remove one sensor on many objects")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<SensorFixArguments>();

    CLI::App *set = fix->add_subcommand("set", "Add a sensor, in place of any of its type");
    CLI::App *remove = fix->add_subcommand("remove", "Remove the sensors of a name");
    for (CLI::App *verb : {set, remove})
        verb->add_option("--objects", arguments->objects, "Numbers of the objects, as 3,7,12")->required();
    set->add_option("--file", arguments->file, "File with the sensor as JSON; - is the standard input")
        ->capture_default_str();
    set->footer(kSetSensorHelp);
    set->callback(
        [arguments, &job] { job = [arguments](Session &session) { return setSensor(session, *arguments); }; });
    remove->add_option("--name", arguments->name, "Name of the sensors")->required();
    remove->callback(
        [arguments, &job] { job = [arguments](Session &session) { return removeSensor(session, *arguments); }; });
}

} // namespace ctl

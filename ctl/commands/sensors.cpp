#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/compare_lists.h"
#include "ctl/database_probe.h"
#include "ctl/input_file.h"
#include "ctl/sensor_records.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <memory>

namespace ctl {
namespace {

constexpr ListWords kSensorWords = {"sensors", "the sensors", "sensors"};

constexpr char kSaveSensorsHelp[] =
    "Reads the JSON that \"sensors show --json\" prints and makes it all sensors, in its order:\n"
    "  {\"object\": 17, \"sensors\": [{\"name\": \"Door\", \"measure\": \"\", \"quality\": 0, \"type\": 8, \"vid\": "
    "\"D\",\n"
    "                               \"labels\": [\"shut\", \"open\"], \"calculate\": \"\", \"rate\": null}, ...]}\n"
    "  object       must be the OBJECT of the command line; may be left out\n"
    "  name, measure, calculate   a string or null (they differ from the empty string \"\")\n"
    "  quality      an integer from -2147483648 to 2147483647\n"
    "  type         an integer from -32768 to 32767\n"
    "  vid          one character, or its code as a number from 0 to 255; \"\" is the code 0\n"
    "  labels       strings without \";\", which separates them in the registry; none come back as one empty label\n"
    "  rate         null; a string, whose UTF-8 bytes are the value; or {\"base64\": \"...\"} for other bytes\n"
    "A wrong field is named by its path, and nothing is sent. Afterwards the sensors are read back and compared.";

Outcome showSensors(Session &session, qint32 object)
{
    Result<Sensors> sensors = fetchSensors(session, object);
    if (!sensors)
        return sensors.failure();
    if (session.options().json) {
        session.printLine(sensorsJson(object, *sensors));
    } else if (sensors->isEmpty()) {
        session.printLine(QStringLiteral("object %1 has no sensors").arg(object));
    } else {
        session.printLine(
            QStringLiteral("object %1, %2").arg(object).arg(counted(sensors->size(), "sensor", "sensors")));
        session.out() << sensorTable(*sensors);
    }
    return std::nullopt;
}

Outcome saveSensors(Session &session, qint32 object, const std::string &file)
{
    Result<QByteArray> text = readInput(file);
    if (!text)
        return text.failure();
    Result<Sensors> sensors = readSensorsJson(*text, object);
    if (!sensors)
        return sensors.failure();
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << object << qint32(sensors->size());
    for (const SensorInfoX &sensor : *sensors)
        out << sensor;
    if (Outcome failure = session.tell("Save_sensors_v2", request))
        return failure;
    // The service takes commands in order, so that the sensors are read after they were saved.
    Result<Sensors> stored = fetchSensors(session, object);
    if (!stored)
        return Session::unconfirmed(stored.failure());
    const auto nameOf = [](const SensorInfoX &sensor) { return sensor.name; };
    if (const auto what = firstDifference(*sensors, *stored, isStored, kSensorWords, nameOf))
        return Failure{QStringLiteral("the service did not store %1").arg(*what)};
    if (sensors->isEmpty()) {
        if (Outcome failure = probeDatabase(session))
            return failure;
    }
    session.confirm(
        QStringLiteral("object %1: %2 saved").arg(object).arg(counted(sensors->size(), "sensor", "sensors")));
    return std::nullopt;
}

struct SensorArguments
{
    qint32 object = 0;
    std::string file = "-";
};

} // namespace

void registerSensors(CLI::App &app, Job &job)
{
    CLI::App *sensors = app.add_subcommand("sensors", "Read and change the sensors of objects");
    sensors->require_subcommand(0, 1);
    const auto arguments = std::make_shared<SensorArguments>();

    CLI::App *show = sensors->add_subcommand("show", "Show the sensors of an object");
    CLI::App *save = sensors->add_subcommand("save", "Replace all sensors of an object");
    for (CLI::App *verb : {show, save})
        verb->add_option("OBJECT", arguments->object, "Number of the object")->required()->check(objectNumber());
    show->callback(
        [arguments, &job] { job = [arguments](Session &session) { return showSensors(session, arguments->object); }; });
    save->add_option("--file", arguments->file, "File with the sensors as JSON; - is the standard input")
        ->capture_default_str();
    save->footer(kSaveSensorsHelp);
    save->callback([arguments, &job] {
        job = [arguments](Session &session) { return saveSensors(session, arguments->object, arguments->file); };
    });

    registerSensorsFix(*sensors, job);
}

} // namespace ctl

#include "templates/template_sensors.h"

#include "records/record_rows.h"
#include "registry/command_call.h"
#include "templates/template_table.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectSensors =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='s' ORDER BY "Id" )";
constexpr const char *kDeleteSensors = R"(DELETE FROM "%0" WHERE "Owner" = %1 AND "Class"='s')";
constexpr const char *kInsertSensor =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES (?,'s',?,?,?))";

} // namespace

void readSensors(database::Connection &db, qint32 number, const NumberSink &emitNumber,
                 const std::function<void(const SensorInfoX &)> &emitSensor)
{
    const auto place = TemplatePlace::of(number);
    const auto rows = place.query(db, kSelectSensors);
    if (emitNumber) {
        emitNumber(static_cast<qint32>(place.number));
        emitNumber(rows.size());
    }
    for (int row = 0; row < rows.rowCount(); ++row) {
        SensorInfoX sensor;
        // A template's sensor has its name in the caption's column, and nothing in the name's.
        sensor.name = rows.text(row, 1);
        records::unpack(rows.bytes(row, 2), sensor);
        emitSensor(sensor);
    }
}

void postTemplateSensor(database::Connection &db, qint32 number, const SensorInfoX &sensor)
{
    db.post(kInsertSensor, {Value::integer(number), Value::text(QStringLiteral("")), Value::text(sensor.name),
                            Value::bytes(records::pack(sensor))});
}

void getTemplateSensorsV2(CommandCall &call)
{
    readSensors(
        call.db, call.in.read<qint32>(), [&](qint32 value) { call.out << value; },
        [&](const SensorInfoX &sensor) { call.out << sensor; });
}

void saveTemplateSensorsV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    if (number < 0)
        return;
    const auto count = call.in.recordCount();
    if (!count)
        return;
    TemplatePlace::of(number).post(call.db, kDeleteSensors);
    for (qint32 i = 0; i < *count; ++i)
        postTemplateSensor(call.db, number, call.in.read<SensorInfoX>());
}

} // namespace templates

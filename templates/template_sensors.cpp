#include "templates/template_sensors.h"

#include "records/record_rows.h"
#include "templates/template_records.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectSensors =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='s' ORDER BY "Id" )";
constexpr const char *kDeleteSensors = R"(DELETE FROM "%0" WHERE "Owner" = %1 AND "Class"='s')";
constexpr const char *kInsertSensor =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES (?,'s',?,?,?))";

SensorInfoX sensorFromRow(const database::Result &rows, int row)
{
    SensorInfoX sensor;
    // "Name" is empty: a sensor's name stands where the others have their caption.
    sensor.name = rows.text(row, 1);
    records::unpack(rows.view(row, 2), sensor);
    return sensor;
}

} // namespace

void readSensors(database::Connection &db, qint32 number, const NumberSink &emitNumber,
                 const std::function<void(const SensorInfoX &)> &emitSensor)
{
    readRecords<SensorInfoX>(db, number, kSelectSensors, emitNumber, sensorFromRow, emitSensor);
}

void postTemplateSensor(database::Connection &db, qint32 number, const SensorInfoX &sensor)
{
    db.post(kInsertSensor, {Value::integer(number), Value::text(QStringLiteral("")), Value::text(sensor.name),
                            Value::bytes(records::pack(sensor))});
}

void getTemplateSensorsV2(CommandCall &call)
{
    const auto write = [&call](const auto &value) { call.out << value; };
    readSensors(call.db, call.in.read<qint32>(), write, write);
}

void saveTemplateSensorsV2(CommandCall &call)
{
    saveRecords<SensorInfoX>(call, kDeleteSensors, postTemplateSensor);
}

} // namespace templates

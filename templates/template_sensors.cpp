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

/// The columns of kSelectSensors. "Name" is empty: a sensor's name stands where the others have their caption.
enum Column { Empty, Name, Data };

SensorInfoX sensorFromRow(const database::Result &rows, int row)
{
    SensorInfoX sensor;
    sensor.name = rows.text(row, Name);
    records::unpack(rows.view(row, Data), sensor);
    return sensor;
}

void writeSensorOfRow(keystone::ByteWriter &out, const database::Result &rows, int row)
{
    records::writeSensor(out, rows.utf8(row, Name), rows.view(row, Data));
}

} // namespace

void readSensors(database::Connection &db, qint32 number, const std::function<void(const SensorInfoX &)> &emitSensor)
{
    readRecords<SensorInfoX>(db, number, kSelectSensors, sensorFromRow, emitSensor);
}

void postTemplateSensor(database::Connection &db, qint32 number, const SensorInfoX &sensor)
{
    db.post(kInsertSensor, {Value::integer(number), Value::text(QStringLiteral("")), Value::text(sensor.name),
                            Value::bytes(records::pack(sensor))});
}

void getTemplateSensorsV2(CommandCall &call)
{
    writeRecords(call, kSelectSensors, writeSensorOfRow);
}

void saveTemplateSensorsV2(CommandCall &call)
{
    saveRecords<SensorInfoX>(call, kDeleteSensors, postTemplateSensor);
}

} // namespace templates

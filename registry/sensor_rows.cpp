#include "registry/sensor_rows.h"

#include "records/record_rows.h"

namespace registry {

namespace {

constexpr const char *kInsertSensor =
    R"(INSERT INTO "Sensors"  ( "Id_objects", "Name", "Measure", "Type", "Calculate",  "Vid", "Quality", "Enum", "Rate") VALUES (?,?,?,?,?,?,?,?,?))";

} // namespace

bool insertSensor(database::Connection &db, qint32 object, const SensorInfoX &sensor)
{
    return db.query(kInsertSensor, records::bind(object, sensor)).ok();
}

void postSensor(database::Connection &db, qint32 object, const SensorInfoX &sensor)
{
    db.post(kInsertSensor, records::bind(object, sensor));
}

} // namespace registry

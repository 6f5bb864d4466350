#include "registry/object_sensors.h"

#include "records/record_rows.h"
#include "registry/command_call.h"
#include "registry/number_list.h"
#include "registry/sensor_rows.h"
#include "registry/spliced_text.h"

namespace registry {

using database::Value;

namespace {

constexpr const char *kSelectSensors = R"(SELECT * FROM "Sensors" WHERE "Id_objects" = %0 order by "Id")";
constexpr const char *kDeleteSensors = R"(DELETE FROM "Sensors" where "Id_objects" = %0)";
constexpr const char *kDeleteByType = R"(DELETE FROM "Sensors" WHERE "Id_objects" IN (%1) AND "Type" = '%2')";
constexpr const char *kDeleteByName = R"(DELETE FROM "Sensors" WHERE "Id_objects" IN (%1) AND "Name" = '%2')";

database::Statement selectSensors(qint32 object)
{
    return {kSelectSensors, {Value::integer(object)}};
}

/// Replaces on each object every sensor of this one's type, whatever its name.
void setOnObjects(CommandCall &call, const QList<qint32> &objects, const SensorInfoX &sensor)
{
    const QString text = QString::fromLatin1(kDeleteByType).arg(numberListText(objects), QString::number(sensor.type));
    if (!call.db.queryOnce(text).ok())
        return;
    for (const qint32 object : objects) {
        if (!insertSensor(call.db, object, sensor))
            return;
        call.announceSavedCard(object);
    }
}

} // namespace

QList<database::Statement> sensorReads(RequestReader &in, int)
{
    return {selectSensors(in.read<qint32>())};
}

void getSensorsV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto rows = call.db.query(selectSensors(object));
    const records::SensorRows sensors(rows);
    call.out << object << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row)
        sensors.write(call.out, row);
}

void saveSensorsV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto count = call.in.recordCount();
    if (!count)
        return;
    // Nothing stops the save: a failed delete or insert leaves the other rows to be written.
    call.db.post(kDeleteSensors, {Value::integer(object)});
    for (qint32 i = 0; i < *count; ++i)
        postSensor(call.db, object, call.in.read<SensorInfoX>());
    call.announceSavedCard(object);
}

void fixSensorMultiObjsV2(CommandCall &call)
{
    const bool set = call.in.read<bool>();
    const auto objects = call.in.readContainer<QList<qint32>>(sizeof(qint32));
    if (objects.isEmpty())
        return;
    // Set by type, removed by name, and only setting is announced.
    if (set) {
        setOnObjects(call, objects, call.in.read<SensorInfoX>());
        return;
    }
    const auto name = call.in.read<QString>();
    (void)runSpliced(call.db, QString::fromLatin1(kDeleteByName).arg(numberListText(objects), name), name);
}

} // namespace registry

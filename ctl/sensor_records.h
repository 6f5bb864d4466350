#pragma once

#include "ctl/json_fields.h"
#include "ctl/json_text.h"
#include "ctl/session.h"
#include "keystone/records.h"

#include <QList>

/// Sensors of objects and templates: reading them from the service, and their forms for people and programs.
namespace ctl {

using Sensors = QList<SensorInfoX>;

/// Bytes of a SensorInfoX whose texts, labels and rate are empty.
inline constexpr int kSmallestSensor = 28;

/// Decodes an answer of "Get_sensors_v2". An answer that is short, too long, promises more than it holds or is about
/// another object is a failure.
[[nodiscard]] Result<Sensors> decodeSensors(const QByteArray &reply, qint32 object);

/// Asks the service for the sensors of `object`.
[[nodiscard]] Result<Sensors> fetchSensors(Session &session, qint32 object);

[[nodiscard]] QString sensorTable(const Sensors &sensors);

/// The columns of sensorTable(), for tables that have more.
[[nodiscard]] QStringList sensorHeaders();
[[nodiscard]] QStringList sensorCells(const SensorInfoX &sensor);

/// The fields of one sensor, in the order that people expect.
[[nodiscard]] QList<JsonMember> sensorMembers(const SensorInfoX &sensor);

/// {"object": N, "sensors": [...]}, one sensor on a line.
[[nodiscard]] QString sensorsJson(qint32 object, const Sensors &sensors);

/// Reads the members that sensorMembers() writes. The caller calls refuseOthers().
[[nodiscard]] SensorInfoX readSensor(JsonFields &fields);

/// Notes the first value of `sensor`, read from `fields`, that the sensors of an object cannot keep. (Those of a
/// template can.)
void noteUnstorable(const SensorInfoX &sensor, JsonFields &fields);

/// Reads what sensorsJson() writes, for an object. "object" may be missing, else it must be `object`.
[[nodiscard]] Result<Sensors> readSensorsJson(const QByteArray &text, qint32 object);

/// Reads one element of "sensors", for objects.
[[nodiscard]] Result<SensorInfoX> readSensorJson(const QByteArray &text);

/// Whether `stored`, read back from an object, is what was sent: an object keeps no labels as one empty label, and a
/// null label as an empty one.
[[nodiscard]] bool isStored(const SensorInfoX &sent, const SensorInfoX &stored);

} // namespace ctl

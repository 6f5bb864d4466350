#include "ctl/sensor_records.h"

#include "ctl/reply_reader.h"
#include "ctl/same_values.h"
#include "ctl/table.h"
#include "ctl/text.h"

namespace ctl {
namespace {

constexpr qint16 kLastStoredKind = 255;

QString kindForPeople(qint16 vid)
{
    const bool isPlain = vid >= '!' && vid <= '~';
    return isPlain ? QString(QLatin1Char(char(vid))) : vid == 0 ? QString() : QString::number(vid);
}

/// Texts of labels may be null on the way, not in the registry.
QStringList storedLabels(const QStringList &labels)
{
    return labels.isEmpty() ? QStringList{QString()} : labels;
}

} // namespace

Result<Sensors> decodeSensors(const QByteArray &reply, qint32 object)
{
    ReplyReader in(reply);
    if (const auto answered = in.read<qint32>(); !in.failed() && answered != object)
        in.refuse(QStringLiteral("it is about object %1, not %2").arg(answered).arg(object));
    Sensors sensors;
    const qint32 count = in.count(kSmallestSensor, "sensors");
    for (qint32 index = 0; index < count && !in.failed(); ++index)
        sensors.append(in.read<SensorInfoX>());
    if (const Outcome failure = in.end())
        return *failure;
    return sensors;
}

Result<Sensors> fetchSensors(Session &session, qint32 object)
{
    QByteArray request;
    keystone::ByteWriter(&request) << object;
    Result<bus::Action> reply = session.ask("Get_sensors_v2", request);
    if (!reply)
        return reply.failure();
    return decodeSensors(reply->data, object);
}

QStringList sensorHeaders()
{
    return {QStringLiteral("name"), QStringLiteral("measure"), QStringLiteral("quality"),   QStringLiteral("type"),
            QStringLiteral("vid"),  QStringLiteral("labels"),  QStringLiteral("calculate"), QStringLiteral("rate")};
}

QStringList sensorCells(const SensorInfoX &sensor)
{
    return {textForPeople(sensor.name),      textForPeople(sensor.measure), QString::number(sensor.quality),
            QString::number(sensor.type),    kindForPeople(sensor.vid),     printable(sensor.enumeration.join(u';')),
            textForPeople(sensor.calculate), bytesForPeople(sensor.rate)};
}

QString sensorTable(const Sensors &sensors)
{
    Table table(sensorHeaders());
    for (const SensorInfoX &sensor : sensors)
        table.addRow(sensorCells(sensor));
    return table.text();
}

QList<JsonMember> sensorMembers(const SensorInfoX &sensor)
{
    QStringList labels;
    for (const QString &label : sensor.enumeration)
        labels.append(jsonText(label));
    return {{QStringLiteral("name"), jsonText(sensor.name)},
            {QStringLiteral("measure"), jsonText(sensor.measure)},
            {QStringLiteral("quality"), QString::number(sensor.quality)},
            {QStringLiteral("type"), QString::number(sensor.type)},
            {QStringLiteral("vid"), jsonFlag(sensor.vid)},
            {QStringLiteral("labels"), jsonArray(labels)},
            {QStringLiteral("calculate"), jsonText(sensor.calculate)},
            {QStringLiteral("rate"), jsonBytes(sensor.rate)}};
}

QString sensorsJson(qint32 object, const Sensors &sensors)
{
    QStringList lines;
    for (const SensorInfoX &sensor : sensors)
        lines.append(jsonObject(sensorMembers(sensor)));
    return jsonObject(
        {{QStringLiteral("object"), QString::number(object)}, {QStringLiteral("sensors"), jsonLines(lines)}});
}

SensorInfoX readSensor(JsonFields &fields)
{
    SensorInfoX sensor;
    sensor.name = fields.text(QStringLiteral("name"));
    sensor.measure = fields.text(QStringLiteral("measure"));
    sensor.quality = fields.int32(QStringLiteral("quality"));
    sensor.type = fields.int16(QStringLiteral("type"));
    sensor.vid = fields.flag(QStringLiteral("vid"));
    sensor.enumeration = fields.texts(QStringLiteral("labels"));
    sensor.calculate = fields.text(QStringLiteral("calculate"));
    sensor.rate = fields.bytes(QStringLiteral("rate"));
    return sensor;
}

void noteUnstorable(const SensorInfoX &sensor, JsonFields &fields)
{
    fields.refuseNul(QStringLiteral("name"), sensor.name);
    fields.refuseNul(QStringLiteral("measure"), sensor.measure);
    fields.refuseNul(QStringLiteral("calculate"), sensor.calculate);
    if (sensor.vid < 0 || sensor.vid > kLastStoredKind)
        fields.note(QStringLiteral("vid"),
                    QStringLiteral("objects keep only the codes 0 to 255: others come back as 0"));
    for (qsizetype index = 0; index < sensor.enumeration.size(); ++index) {
        const QString label = QStringLiteral("labels[%1]").arg(index);
        fields.refuseNul(label, sensor.enumeration[index]);
        if (sensor.enumeration[index].contains(u';'))
            fields.note(label, QStringLiteral("holds \";\", at which the registry would cut it into several labels"));
    }
}

Result<Sensors> readSensorsJson(const QByteArray &text, qint32 object)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    fields.expectObject(object, "sensors");
    const QString list = QStringLiteral("sensors");
    const QJsonArray values = fields.array(list);
    Sensors sensors;
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(list, index), problem);
        sensors.append(readSensor(row));
        row.refuseOthers();
        noteUnstorable(sensors.last(), row);
    }
    fields.refuseOthers();
    if (problem.found())
        return *problem.failure();
    return sensors;
}

Result<SensorInfoX> readSensorJson(const QByteArray &text)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    SensorInfoX sensor = readSensor(fields);
    fields.refuseOthers();
    noteUnstorable(sensor, fields);
    if (problem.found())
        return *problem.failure();
    return sensor;
}

bool isStored(const SensorInfoX &sent, const SensorInfoX &stored)
{
    return sameText(sent.name, stored.name) && sameText(sent.measure, stored.measure) &&
           sent.quality == stored.quality && sent.type == stored.type && sent.vid == stored.vid &&
           storedLabels(sent.enumeration) == storedLabels(stored.enumeration) &&
           sameText(sent.calculate, stored.calculate) && sameBytes(sent.rate, stored.rate);
}

} // namespace ctl

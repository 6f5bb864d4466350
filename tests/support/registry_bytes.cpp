#include "registry_bytes.h"

#include "bytes.h"

namespace support {

QByteArray textOrNull(const QString &value)
{
    return value.isNull() ? null() : text(value);
}

QByteArray bytesOrNull(const QByteArray &value)
{
    return value.isNull() ? null() : bytes(value);
}

QByteArray numbers(const QList<int> &values)
{
    QByteArray result = i32(values.size());
    for (const int value : values)
        result += i32(value);
    return result;
}

QByteArray labels(const QStringList &values)
{
    QByteArray result = i32(values.size());
    for (const QString &value : values)
        result += textOrNull(value);
    return result;
}

QByteArray everyByte()
{
    QByteArray result;
    for (int i = 0; i < 256; ++i)
        result += char(i);
    return result;
}

QByteArray sensorRecord(const SensorFields &sensor)
{
    return textOrNull(sensor.name) + textOrNull(sensor.measure) + i32(sensor.quality) + i16(sensor.type) +
           i16(sensor.vid) + labels(sensor.enumeration) + textOrNull(sensor.calculate) + bytesOrNull(sensor.rate);
}

QByteArray commandRecord(const CommandFields &command)
{
    return i32(command.id) + textOrNull(command.name) + textOrNull(command.description) + i32(command.operation) +
           bytesOrNull(command.execBy) + i32(command.numParams);
}

QByteArray parameterRecord(const ParameterFields &parameter)
{
    return bytesOrNull(parameter.name) + bytesOrNull(parameter.value) + textOrNull(parameter.description) +
           i32(parameter.type) + i32(parameter.id);
}

} // namespace support

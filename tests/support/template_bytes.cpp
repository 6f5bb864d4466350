#include "template_bytes.h"

#include "bytes.h"

namespace support {

QByteArray propertyData(int type, const QByteArray &value, int visible)
{
    return i32(type) + bytesOrNull(value) + i16(visible);
}

QByteArray sensorData(const SensorFields &sensor)
{
    return textOrNull(sensor.measure) + i32(sensor.quality) + i16(sensor.type) + i16(sensor.vid) +
           labels(sensor.enumeration) + textOrNull(sensor.calculate) + bytesOrNull(sensor.rate);
}

QByteArray commandData(int operation, const QByteArray &execBy)
{
    return i32(operation) + bytesOrNull(execBy);
}

QByteArray parameterData(const QByteArray &value, int type)
{
    return bytesOrNull(value) + i32(type);
}

QByteArrayList spellings(const QList<Field> &fields)
{
    QByteArrayList result{""};
    for (const Field &field : fields) {
        QByteArrayList longer;
        for (const QByteArray &start : result) {
            if (field)
                longer += start + *field;
            else
                longer += {start + bytes(""), start + null()};
        }
        result = longer;
    }
    return result;
}

} // namespace support

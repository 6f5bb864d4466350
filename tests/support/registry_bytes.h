#pragma once

#include <QByteArrayList>
#include <QString>
#include <QStringList>

/// Sensors and commands as they travel, put together by hand like all of bytes.h.
namespace support {

/// A text whose null form is kept: the count 0xFFFFFFFF alone.
[[nodiscard]] QByteArray textOrNull(const QString &value);
[[nodiscard]] QByteArray bytesOrNull(const QByteArray &value);
/// A list of object numbers: its count, then the numbers.
[[nodiscard]] QByteArray numbers(const QList<int> &values);
/// A list of labels: its count, then each text.
[[nodiscard]] QByteArray labels(const QStringList &values);
/// Every byte from 0 to 255 once.
[[nodiscard]] QByteArray everyByte();

struct SensorFields
{
    QString name;
    QString measure = "";
    int quality = 0;
    int type = 0;
    int vid = 't';
    QStringList enumeration = {""};
    QString calculate = "";
    QByteArray rate = "";
};
[[nodiscard]] QByteArray sensorRecord(const SensorFields &sensor);

struct CommandFields
{
    QString name;
    QString description = "";
    int operation = 0;
    QByteArray execBy = "";
    /// The number of parameters that the record claims to be followed by.
    qint64 numParams = 0;
    int id = 0;
};
[[nodiscard]] QByteArray commandRecord(const CommandFields &command);

struct ParameterFields
{
    QByteArray name;
    QByteArray value = "";
    QString description = "";
    int type = 0;
    int id = 0;
};
[[nodiscard]] QByteArray parameterRecord(const ParameterFields &parameter);

} // namespace support

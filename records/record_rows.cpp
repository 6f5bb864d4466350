#include "records/record_rows.h"

#include "keystone/stream.h"

namespace records {

using database::Value;

namespace {

constexpr QLatin1Char kEnumSeparator(';');

QString characterText(qint16 code)
{
    return QChar(static_cast<char16_t>(code));
}

/// The boolean column takes a character as its text form; a code of 0 is no character and stored as NULL.
Value visibleFlag(qint16 code)
{
    return Value::text(code == 0 ? QString() : characterText(code));
}

/// A code of 0 is the empty text.
Value kindFlag(qint16 code)
{
    return Value::text(code == 0 ? QStringLiteral("") : characterText(code));
}

} // namespace

QList<CardsProperty> cardFromRows(const database::Result &rows)
{
    const int id = rows.column("Id");
    const int name = rows.column("Name");
    const int description = rows.column("Description");
    const int type = rows.column("Type");
    const int value = rows.column("Value");
    const int visible = rows.column("Visible");
    QList<CardsProperty> card;
    card.reserve(rows.rowCount());
    for (int row = 0; row < rows.rowCount(); ++row) {
        card.append({rows.integer(row, id), rows.text(row, name), rows.text(row, description), rows.integer(row, type),
                     rows.bytes(row, value), rows.character(row, visible)});
    }
    return card;
}

QList<Value> bind(qint32 object, const CardsProperty &property)
{
    return {Value::integer(object),        Value::text(property.name),   Value::text(property.description),
            Value::integer(property.type), Value::bytes(property.value), visibleFlag(property.visible)};
}

QList<SensorInfoX> sensorsFromRows(const database::Result &rows)
{
    const int name = rows.column("Name");
    const int measure = rows.column("Measure");
    const int quality = rows.column("Quality");
    const int type = rows.column("Type");
    const int vid = rows.column("Vid");
    const int labels = rows.column("Enum");
    const int calculate = rows.column("Calculate");
    const int rate = rows.column("Rate");
    QList<SensorInfoX> sensors;
    sensors.reserve(rows.rowCount());
    for (int row = 0; row < rows.rowCount(); ++row) {
        sensors.append({rows.text(row, name), rows.text(row, measure), rows.integer(row, quality),
                        static_cast<qint16>(rows.integer(row, type)), rows.character(row, vid),
                        enumLabels(rows.text(row, labels)), rows.text(row, calculate), rows.bytes(row, rate)});
    }
    return sensors;
}

QList<Value> bind(qint32 object, const SensorInfoX &sensor)
{
    return {Value::integer(object),         Value::text(sensor.name),
            Value::text(sensor.measure),    Value::integer(sensor.type),
            Value::text(sensor.calculate),  kindFlag(sensor.vid),
            Value::integer(sensor.quality), Value::text(enumText(sensor.enumeration)),
            Value::bytes(sensor.rate)};
}

QList<Value> bind(qint32 object, const CmdDesc &command)
{
    return {Value::integer(object), Value::text(command.name), Value::integer(command.operation),
            Value::text(command.description), Value::bytes(command.execBy)};
}

QList<Value> bind(qint32 command, const ParamDesc &parameter)
{
    return {Value::integer(command), Value::text(QString::fromUtf8(parameter.name)), Value::text(parameter.description),
            Value::bytes(parameter.value), Value::integer(parameter.type)};
}

QString enumText(const QStringList &labels)
{
    const QString text = labels.join(kEnumSeparator);
    return text.isNull() ? QStringLiteral("") : text;
}

QStringList enumLabels(const QString &text)
{
    return text.split(kEnumSeparator, Qt::KeepEmptyParts);
}

QByteArray pack(const CardsProperty &property)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << property.type << property.value << property.visible;
    return packed;
}

void unpack(const QByteArray &packed, CardsProperty &property)
{
    keystone::ByteReader in(packed);
    in >> property.type >> property.value >> property.visible;
}

QByteArray pack(const SensorInfoX &sensor)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << sensor.measure << sensor.quality << sensor.type << sensor.vid << sensor.enumeration << sensor.calculate
        << sensor.rate;
    return packed;
}

void unpack(const QByteArray &packed, SensorInfoX &sensor)
{
    keystone::ByteReader in(packed);
    in >> sensor.measure >> sensor.quality >> sensor.type >> sensor.vid;
    keystone::readContainer(in, sensor.enumeration, sizeof(quint32));
    in >> sensor.calculate >> sensor.rate;
}

QByteArray pack(const CmdDesc &command)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << command.operation << command.execBy;
    return packed;
}

void unpack(const QByteArray &packed, CmdDesc &command)
{
    keystone::ByteReader in(packed);
    in >> command.operation >> command.execBy;
}

QByteArray pack(const ParamDesc &parameter)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << parameter.value << parameter.type;
    return packed;
}

void unpack(const QByteArray &packed, ParamDesc &parameter)
{
    keystone::ByteReader in(packed);
    in >> parameter.value >> parameter.type;
}

} // namespace records

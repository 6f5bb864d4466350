#include "templates/records.h"

#include "keystone/stream.h"

namespace templates {

using database::Value;

namespace {

constexpr QLatin1Char kEnumSeparator(';');

/// The boolean column takes a character as its text form; a code of 0 is no character and stored as NULL.
Value visibleFlag(qint16 code)
{
    return Value::text(code == 0 ? QString() : QString(QChar(static_cast<char16_t>(code))));
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

} // namespace templates

#include "records/record_rows.h"

namespace records {

using database::Value;

namespace {

constexpr char kEnumSeparator = ';';

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

CardRows::CardRows(const database::Result &rows)
    : m_rows(rows)
    , m_id(rows.column("Id"))
    , m_name(rows.column("Name"))
    , m_description(rows.column("Description"))
    , m_type(rows.column("Type"))
    , m_value(rows.column("Value"))
    , m_visible(rows.column("Visible"))
{}

void CardRows::write(keystone::ByteWriter &out, int row, qint32 id) const
{
    out << id << m_rows.utf8(row, m_name) << m_rows.utf8(row, m_description) << m_rows.integer(row, m_type)
        << m_rows.view(row, m_value) << m_rows.character(row, m_visible);
}

QList<Value> bind(qint32 object, const CardsProperty &property)
{
    return {Value::integer(object),        Value::text(property.name),   Value::text(property.description),
            Value::integer(property.type), Value::bytes(property.value), visibleFlag(property.visible)};
}

SensorRows::SensorRows(const database::Result &rows)
    : m_rows(rows)
    , m_name(rows.column("Name"))
    , m_measure(rows.column("Measure"))
    , m_quality(rows.column("Quality"))
    , m_type(rows.column("Type"))
    , m_vid(rows.column("Vid"))
    , m_labels(rows.column("Enum"))
    , m_calculate(rows.column("Calculate"))
    , m_rate(rows.column("Rate"))
{}

void SensorRows::write(keystone::ByteWriter &out, int row) const
{
    out << m_rows.utf8(row, m_name) << m_rows.utf8(row, m_measure) << m_rows.integer(row, m_quality)
        << static_cast<qint16>(m_rows.integer(row, m_type)) << m_rows.character(row, m_vid)
        << keystone::Utf8List{m_rows.view(row, m_labels), kEnumSeparator} << m_rows.utf8(row, m_calculate)
        << m_rows.view(row, m_rate);
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
    const QString text = labels.join(QLatin1Char(kEnumSeparator));
    return text.isNull() ? QStringLiteral("") : text;
}

QByteArray pack(const CardsProperty &property)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << property.type << property.value << property.visible;
    return packed;
}

void unpack(QByteArrayView packed, CardsProperty &property)
{
    keystone::ByteReader in(packed);
    in >> property.type >> property.value >> property.visible;
}

void writeProperty(keystone::ByteWriter &out, qint32 id, keystone::Utf8 name, keystone::Utf8 description,
                   QByteArrayView packed)
{
    keystone::ByteReader in(packed);
    qint32 type = 0;
    in >> type;
    const QByteArrayView value = in.readBlock();
    qint16 visible = 0;
    in >> visible;
    out << id << name << description << type << value << visible;
}

QByteArray pack(const SensorInfoX &sensor)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << sensor.measure << sensor.quality << sensor.type << sensor.vid << sensor.enumeration << sensor.calculate
        << sensor.rate;
    return packed;
}

void unpack(QByteArrayView packed, SensorInfoX &sensor)
{
    keystone::ByteReader in(packed);
    in >> sensor.measure >> sensor.quality >> sensor.type >> sensor.vid;
    keystone::readContainer(in, sensor.enumeration, sizeof(quint32));
    in >> sensor.calculate >> sensor.rate;
}

void writeSensor(keystone::ByteWriter &out, keystone::Utf8 name, QByteArrayView packed)
{
    keystone::ByteReader in(packed);
    keystone::Utf16 measure;
    qint32 quality = 0;
    qint16 type = 0;
    qint16 vid = 0;
    QList<keystone::Utf16> labels;
    keystone::Utf16 calculate;
    in >> measure >> quality >> type >> vid;
    keystone::readContainer(in, labels, sizeof(quint32));
    in >> calculate;
    out << name << measure << quality << type << vid << labels << calculate << in.readBlock();
}

QByteArray pack(const CmdDesc &command)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << command.operation << command.execBy;
    return packed;
}

void unpack(QByteArrayView packed, CmdDesc &command)
{
    keystone::ByteReader in(packed);
    in >> command.operation >> command.execBy;
}

void writeCommand(keystone::ByteWriter &out, qint32 id, keystone::Utf8 name, keystone::Utf8 description,
                  QByteArrayView packed, qint32 numParams)
{
    keystone::ByteReader in(packed);
    qint32 operation = 0;
    in >> operation;
    out << id << name << description << operation << in.readBlock() << numParams;
}

QByteArray pack(const ParamDesc &parameter)
{
    QByteArray packed;
    keystone::ByteWriter out(&packed);
    out << parameter.value << parameter.type;
    return packed;
}

void unpack(QByteArrayView packed, ParamDesc &parameter)
{
    keystone::ByteReader in(packed);
    in >> parameter.value >> parameter.type;
}

void writeParameter(keystone::ByteWriter &out, QByteArrayView name, QByteArrayView packed, keystone::Utf8 description,
                    qint32 id)
{
    keystone::ByteReader in(packed);
    const QByteArrayView value = in.readBlock();
    qint32 type = 0;
    in >> type;
    out << name << value << description << type << id;
}

} // namespace records

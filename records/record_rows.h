#pragma once

#include "database/result.h"
#include "database/value.h"
#include "keystone/byte_writer.h"
#include "keystone/records.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QStringList>

/// How the shared records lie in the database: in columns of their own for an object, packed into "SpecificData" for a
/// template. Packing and unpacking mirror each other; fields that are columns everywhere (names, captions, ids) are
/// left alone. Bytes that end early unpack to zero and empty fields. Into a reply a record is written straight from its
/// packed form, with the fields that are columns.
namespace records {

/// A card as its rows come, to be written into a reply. The columns are those of "Objects_property". The rows must
/// outlive this.
class CardRows
{
public:
    explicit CardRows(const database::Result &rows);

    /// Writes a CardsProperty. `id` is its row key or what stands for one.
    void write(keystone::ByteWriter &out, int row, qint32 id) const;
    void write(keystone::ByteWriter &out, int row) const { write(out, row, m_rows.integer(row, m_id)); }

private:
    const database::Result &m_rows;
    int m_id;
    int m_name;
    int m_description;
    int m_type;
    int m_value;
    int m_visible;
};

/// The binds of the statement that inserts a property of object `object`: "Id_objects", "Name", "Description", "Type",
/// "Value", "Visible".
[[nodiscard]] QList<database::Value> bind(qint32 object, const CardsProperty &property);

/// The same for an object's sensors. The columns are those of "Sensors".
class SensorRows
{
public:
    explicit SensorRows(const database::Result &rows);

    /// Writes a SensorInfoX.
    void write(keystone::ByteWriter &out, int row) const;

private:
    const database::Result &m_rows;
    int m_name;
    int m_measure;
    int m_quality;
    int m_type;
    int m_vid;
    int m_labels;
    int m_calculate;
    int m_rate;
};

/// The binds of the statement that inserts a sensor of object `object`: "Id_objects", "Name", "Measure", "Type",
/// "Calculate", "Vid", "Quality", "Enum", "Rate".
[[nodiscard]] QList<database::Value> bind(qint32 object, const SensorInfoX &sensor);

/// The binds of the statement that inserts a command of object `object`: "Id_object", "Name", "Operation",
/// "Description", "ExecBy".
[[nodiscard]] QList<database::Value> bind(qint32 object, const CmdDesc &command);

/// The binds of the statement that inserts a parameter of command `command`: "Id_command", "Name", "Description",
/// "Value", "Type". The name, bytes in the record, is text in its column.
[[nodiscard]] QList<database::Value> bind(qint32 command, const ParamDesc &parameter);

/// "Enum" of a sensor: the labels joined with ";". Labels that hold ";" come back as several, and none as an empty one.
[[nodiscard]] QString enumText(const QStringList &labels);

/// type, value, visible
[[nodiscard]] QByteArray pack(const CardsProperty &property);
void unpack(QByteArrayView packed, CardsProperty &property);
void writeProperty(keystone::ByteWriter &out, qint32 id, keystone::Utf8 name, keystone::Utf8 description,
                   QByteArrayView packed);

/// measure, quality, type, vid, enumeration, calculate, rate
[[nodiscard]] QByteArray pack(const SensorInfoX &sensor);
void unpack(QByteArrayView packed, SensorInfoX &sensor);
void writeSensor(keystone::ByteWriter &out, keystone::Utf8 name, QByteArrayView packed);

/// operation, execBy
[[nodiscard]] QByteArray pack(const CmdDesc &command);
void unpack(QByteArrayView packed, CmdDesc &command);
void writeCommand(keystone::ByteWriter &out, qint32 id, keystone::Utf8 name, keystone::Utf8 description,
                  QByteArrayView packed, qint32 numParams);

/// value, type
[[nodiscard]] QByteArray pack(const ParamDesc &parameter);
void unpack(QByteArrayView packed, ParamDesc &parameter);
void writeParameter(keystone::ByteWriter &out, QByteArrayView name, QByteArrayView packed, keystone::Utf8 description,
                    qint32 id);

} // namespace records

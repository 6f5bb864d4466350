#pragma once

#include "database/result.h"
#include "database/value.h"
#include "keystone/records.h"

#include <QByteArray>
#include <QList>
#include <QStringList>

/// How the shared records lie in the database: in columns of their own for an object, packed into "SpecificData" for a
/// template. Packing and unpacking mirror each other; fields that are columns everywhere (names, captions, ids) are
/// left alone. Bytes that end early unpack to zero and empty fields.
namespace records {

/// A card in the order of its rows. The columns are those of "Objects_property".
[[nodiscard]] QList<CardsProperty> cardFromRows(const database::Result &rows);

/// The binds of the statement that inserts a property of object `object`: "Id_objects", "Name", "Description", "Type",
/// "Value", "Visible".
[[nodiscard]] QList<database::Value> bind(qint32 object, const CardsProperty &property);

/// An object's sensors in the order of their rows. The columns are those of "Sensors".
[[nodiscard]] QList<SensorInfoX> sensorsFromRows(const database::Result &rows);

/// The binds of the statement that inserts a sensor of object `object`: "Id_objects", "Name", "Measure", "Type",
/// "Calculate", "Vid", "Quality", "Enum", "Rate".
[[nodiscard]] QList<database::Value> bind(qint32 object, const SensorInfoX &sensor);

/// The binds of the statement that inserts a command of object `object`: "Id_object", "Name", "Operation",
/// "Description", "ExecBy".
[[nodiscard]] QList<database::Value> bind(qint32 object, const CmdDesc &command);

/// The binds of the statement that inserts a parameter of command `command`: "Id_command", "Name", "Description",
/// "Value", "Type". The name, bytes in the record, is text in its column.
[[nodiscard]] QList<database::Value> bind(qint32 command, const ParamDesc &parameter);

/// "Enum" of a sensor: the labels joined with ";". Labels that hold ";" come back as several.
[[nodiscard]] QString enumText(const QStringList &labels);

/// The labels of an "Enum" column; an empty text is one empty label.
[[nodiscard]] QStringList enumLabels(const QString &text);

/// type, value, visible
[[nodiscard]] QByteArray pack(const CardsProperty &property);
void unpack(const QByteArray &packed, CardsProperty &property);

/// measure, quality, type, vid, enumeration, calculate, rate
[[nodiscard]] QByteArray pack(const SensorInfoX &sensor);
void unpack(const QByteArray &packed, SensorInfoX &sensor);

/// operation, execBy
[[nodiscard]] QByteArray pack(const CmdDesc &command);
void unpack(const QByteArray &packed, CmdDesc &command);

/// value, type
[[nodiscard]] QByteArray pack(const ParamDesc &parameter);
void unpack(const QByteArray &packed, ParamDesc &parameter);

} // namespace records

#pragma once

#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

/// The value records that clients, services and templates share, with their stream forms.
///
/// Each record streams its fields in the order in which they are declared. A stream that ends early leaves the missing
/// fields zero or empty. Null and empty texts and byte arrays are different values and stay so.

/// One named property of an object's or a template's card.
struct CardsProperty
{
    qint32 id = -1; ///< row key; -1 where no row gave one
    QString name;
    QString description;
    qint32 type = 0;    ///< value type code (the kind of editor)
    QByteArray value;   ///< texts are UTF-8; pictures and colours are packed values of the clients
    qint16 visible = 0; ///< Latin-1 code of a character: 't' is shown; 0 is none
};

/// One sensor of an object or a template.
struct SensorInfoX
{
    QString name;
    QString measure; ///< unit of measure
    qint32 quality = 0;
    qint16 type = 0;
    qint16 vid = 0;          ///< kind, as the code of one character; 0 is none
    QStringList enumeration; ///< labels of the values; stored joined with ";"
    QString calculate;       ///< formula
    QByteArray rate;         ///< scale
};

/// One remote-control command. In every stream exactly `numParams` ParamDesc follow it.
struct CmdDesc
{
    qint32 id = 0; ///< row key; 0 where no row gave one
    QString name;
    QString description;
    qint32 operation = 0; ///< 1 observation, 2 control, 3 mode change, 4 configuration
    QByteArray execBy;    ///< which unit executes it
    qint32 numParams = 0;
};

/// One parameter of a remote-control command.
struct ParamDesc
{
    QByteArray name; ///< UTF-8
    QByteArray value;
    QString description;
    qint32 type = 0;
    qint32 id = 0; ///< row key when read from the database; never written
};

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const CardsProperty &record);
keystone::ByteReader &operator>>(keystone::ByteReader &in, CardsProperty &record);
keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const SensorInfoX &record);
keystone::ByteReader &operator>>(keystone::ByteReader &in, SensorInfoX &record);
keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const CmdDesc &record);
keystone::ByteReader &operator>>(keystone::ByteReader &in, CmdDesc &record);
keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const ParamDesc &record);
keystone::ByteReader &operator>>(keystone::ByteReader &in, ParamDesc &record);

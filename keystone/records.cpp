#include "keystone/records.h"

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const CardsProperty &record)
{
    return out << record.id << record.name << record.description << record.type << record.value << record.visible;
}

keystone::ByteReader &operator>>(keystone::ByteReader &in, CardsProperty &record)
{
    return in >> record.id >> record.name >> record.description >> record.type >> record.value >> record.visible;
}

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const SensorInfoX &record)
{
    return out << record.name << record.measure << record.quality << record.type << record.vid << record.enumeration
               << record.calculate << record.rate;
}

keystone::ByteReader &operator>>(keystone::ByteReader &in, SensorInfoX &record)
{
    in >> record.name >> record.measure >> record.quality >> record.type >> record.vid;
    keystone::readContainer(in, record.enumeration, sizeof(quint32));
    return in >> record.calculate >> record.rate;
}

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const CmdDesc &record)
{
    return out << record.id << record.name << record.description << record.operation << record.execBy
               << record.numParams;
}

keystone::ByteReader &operator>>(keystone::ByteReader &in, CmdDesc &record)
{
    return in >> record.id >> record.name >> record.description >> record.operation >> record.execBy >>
           record.numParams;
}

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const ParamDesc &record)
{
    return out << record.name << record.value << record.description << record.type << record.id;
}

keystone::ByteReader &operator>>(keystone::ByteReader &in, ParamDesc &record)
{
    return in >> record.name >> record.value >> record.description >> record.type >> record.id;
}

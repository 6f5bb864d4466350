#include "keystone/records.h"

#include "keystone/stream.h"

QDataStream &operator<<(QDataStream &out, const CardsProperty &record)
{
    return out << record.id << record.name << record.description << record.type << record.value << record.visible;
}

QDataStream &operator>>(QDataStream &in, CardsProperty &record)
{
    return in >> record.id >> record.name >> record.description >> record.type >> record.value >> record.visible;
}

QDataStream &operator<<(QDataStream &out, const SensorInfoX &record)
{
    return out << record.name << record.measure << record.quality << record.type << record.vid << record.enumeration
               << record.calculate << record.rate;
}

QDataStream &operator>>(QDataStream &in, SensorInfoX &record)
{
    in >> record.name >> record.measure >> record.quality >> record.type >> record.vid;
    keystone::readContainer(in, record.enumeration, sizeof(quint32));
    return in >> record.calculate >> record.rate;
}

QDataStream &operator<<(QDataStream &out, const CmdDesc &record)
{
    return out << record.id << record.name << record.description << record.operation << record.execBy
               << record.numParams;
}

QDataStream &operator>>(QDataStream &in, CmdDesc &record)
{
    return in >> record.id >> record.name >> record.description >> record.operation >> record.execBy >>
           record.numParams;
}

QDataStream &operator<<(QDataStream &out, const ParamDesc &record)
{
    return out << record.name << record.value << record.description << record.type << record.id;
}

QDataStream &operator>>(QDataStream &in, ParamDesc &record)
{
    return in >> record.name >> record.value >> record.description >> record.type >> record.id;
}

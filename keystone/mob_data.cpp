#include "keystone/mob_data.h"

namespace {

constexpr int kUnusedHeadFields = 5;

} // namespace

QDataStream &operator<<(QDataStream &out, const MobData &record)
{
    for (int field = 0; field < kUnusedHeadFields; ++field)
        out << qint32(0);
    constexpr quint32 sensorCount = 0;
    return out << record.time << sensorCount;
}

QDataStream &operator>>(QDataStream &in, MobData &record)
{
    qint32 unused = 0;
    for (int field = 0; field < kUnusedHeadFields; ++field)
        in >> unused;
    quint32 sensorCount = 0;
    in >> record.time >> sensorCount;
    if (sensorCount != 0)
        in.setStatus(QDataStream::ReadCorruptData);
    return in;
}

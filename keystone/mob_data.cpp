#include "keystone/mob_data.h"

namespace {

constexpr int kUnusedHeadFields = 5;

} // namespace

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const MobData &record)
{
    for (int field = 0; field < kUnusedHeadFields; ++field)
        out << qint32(0);
    constexpr quint32 sensorCount = 0;
    return out << record.time << sensorCount;
}

keystone::ByteReader &operator>>(keystone::ByteReader &in, MobData &record)
{
    qint32 unused = 0;
    for (int field = 0; field < kUnusedHeadFields; ++field)
        in >> unused;
    quint32 sensorCount = 0;
    in >> record.time >> sensorCount;
    if (sensorCount != 0)
        in.fail();
    return in;
}

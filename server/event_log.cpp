#include "server/event_log.h"

#include "keystone/byte_writer.h"
#include "keystone/mob_data.h"

namespace server {

QByteArray eventLogRecord(quint32 time, const QByteArray &text, quint8 level)
{
    QByteArray record;
    keystone::ByteWriter out(&record);
    out << MobData{time} << text << static_cast<qint8>(level);
    return record;
}

} // namespace server

#include "ctl/event_record.h"

#include "keystone/byte_reader.h"
#include "keystone/mob_data.h"

namespace ctl {

std::optional<EventRecord> decodeEvent(const QByteArray &data)
{
    keystone::ByteReader in(data);
    MobData head;
    EventRecord record;
    in >> head >> record.text >> record.level;
    if (!in.ok() || !in.atEnd())
        return std::nullopt;
    record.time = head.time;
    return record;
}

} // namespace ctl

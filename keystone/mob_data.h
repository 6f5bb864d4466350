#pragma once

#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

/// Head of an event-log record: the installation's monitoring record, of which this service fills only the time.
///
/// Streams as five qint32 zeros, the time, and an empty list of sensor readings (quint32 0).
struct MobData
{
    quint32 time = 0; ///< seconds since 1970-01-01 00:00 UTC
};

keystone::ByteWriter &operator<<(keystone::ByteWriter &out, const MobData &record);

/// A record that carries sensor readings cannot be read here: the reader is not ok() any more.
keystone::ByteReader &operator>>(keystone::ByteReader &in, MobData &record);

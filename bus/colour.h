#pragma once

#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

#include <QColor>

namespace bus {

/// Writes a colour as a QDataStream would.
void writeColour(keystone::ByteWriter &out, const QColor &colour);

/// Reads one as a QDataStream would: of one that is not all there the missing parts are 0.
[[nodiscard]] QColor readColour(keystone::ByteReader &in);

} // namespace bus

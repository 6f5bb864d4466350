#include "bus/colour.h"

#include "keystone/stream.h"

#include <QRgba64>

#include <algorithm>

namespace bus {

void writeColour(keystone::ByteWriter &out, const QColor &colour)
{
    // Every frame to a client has one, nearly always of this kind. A peer's may be of none that QColor knows.
    const QRgba64 parts = colour.rgba64();
    if (colour != QColor::fromRgba64(parts)) {
        out.append(keystone::streamed(colour));
        return;
    }
    constexpr quint16 kUnused = 0;
    out << static_cast<qint8>(QColor::Rgb) << parts.alpha() << parts.red() << parts.green() << parts.blue() << kUnused;
}

QColor readColour(keystone::ByteReader &in)
{
    constexpr qsizetype kBytes = 1 + 5 * sizeof(quint16);
    const qsizetype left = std::min(kBytes, in.bytesLeft());
    const auto colour = keystone::fromStreamed<QColor>(in.take(left));
    if (left < kBytes)
        in.fail();
    return colour;
}

} // namespace bus

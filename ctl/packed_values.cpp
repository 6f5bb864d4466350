#include "ctl/packed_values.h"

#include "keystone/stream.h"

#include <QColor>

namespace ctl {
namespace {

constexpr quint64 kPngSignature = 0x89504E470D0A1A0A;
constexpr quint64 kPngHeader = 0x0000000D49484452; ///< length 13, name "IHDR"

} // namespace

std::optional<QString> pictureForPeople(const QByteArray &value)
{
    keystone::ByteReader in(value);
    qint32 present = 0;
    in >> present;
    if (in.status() == QDataStream::Ok && present == 0 && in.atEnd())
        return QStringLiteral("no picture");
    // Pictures stream as PNG, whose size stands in its first block. A decoder would see more of the bytes of a peer
    // than a table needs.
    quint64 signature = 0;
    quint64 firstBlock = 0;
    qint32 width = 0;
    qint32 height = 0;
    in >> signature >> firstBlock >> width >> height;
    if (in.status() != QDataStream::Ok || present != 1 || signature != kPngSignature || firstBlock != kPngHeader)
        return std::nullopt;
    return QStringLiteral("picture %1x%2").arg(width).arg(height);
}

std::optional<QString> colourForPeople(const QByteArray &value)
{
    constexpr qsizetype streamSize = 11;
    constexpr char lastSpec = QColor::ExtendedRgb;
    if (value.size() != streamSize || value[0] < 0 || value[0] > lastSpec)
        return std::nullopt;
    keystone::ByteReader in(value);
    QColor colour;
    in >> colour;
    if (!colour.isValid())
        return QStringLiteral("no colour");
    return colour.name(colour.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
}

} // namespace ctl

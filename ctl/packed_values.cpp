#include "ctl/packed_values.h"

#include "keystone/stream.h"

namespace ctl {
namespace {

constexpr quint64 kPngSignature = 0x89504E470D0A1A0A;
constexpr quint64 kPngHeader = 0x0000000D49484452; ///< length 13, name "IHDR"
constexpr quint32 kPngEnd = 0x49454E44;            ///< "IEND"
constexpr int kRestOfHeader = 5;                   ///< behind width and height
constexpr int kChecksum = 4;
constexpr int kColourBytes = 11;

/// Reads what a picture begins with. Pictures stream as 1 and a PNG file, whose size stands in its first block; a
/// picture that is none is 0 alone.
std::optional<QSize> readPictureHead(keystone::ByteReader &in)
{
    qint32 present = 0;
    in >> present;
    if (in.ok() && present == 0)
        return QSize();
    quint64 signature = 0;
    quint64 firstBlock = 0;
    qint32 width = 0;
    qint32 height = 0;
    in >> signature >> firstBlock >> width >> height;
    if (!in.ok() || present != 1 || signature != kPngSignature || firstBlock != kPngHeader)
        return std::nullopt;
    if (width < 1 || height < 1)
        return std::nullopt;
    return QSize(width, height);
}

bool skip(keystone::ByteReader &in, qsizetype bytes)
{
    return !in.take(bytes).isNull();
}

} // namespace

std::optional<QString> pictureForPeople(const QByteArray &value)
{
    // A decoder would see more of the bytes of a peer than a table needs.
    keystone::ByteReader in(value);
    const auto size = readPictureHead(in);
    if (!size || (!size->isValid() && !in.atEnd()))
        return std::nullopt;
    if (!size->isValid())
        return QStringLiteral("no picture");
    return QStringLiteral("picture %1x%2").arg(size->width()).arg(size->height());
}

std::optional<QString> colourForPeople(const QByteArray &value)
{
    keystone::ByteReader in(value);
    const auto colour = readColour(in);
    if (!colour || !in.atEnd())
        return std::nullopt;
    return colour->isValid() ? colourName(*colour) : QStringLiteral("no colour");
}

std::optional<QSize> readPicture(keystone::ByteReader &in)
{
    const auto size = readPictureHead(in);
    if (!size || !size->isValid())
        return size;
    // A PNG file is a row of blocks (length, name, content, checksum) up to the one called IEND.
    if (!skip(in, kRestOfHeader + kChecksum))
        return std::nullopt;
    quint32 name = 0;
    while (name != kPngEnd) {
        quint32 length = 0;
        in >> length >> name;
        if (!in.ok() || !skip(in, qsizetype(length) + kChecksum))
            return std::nullopt;
    }
    return size;
}

std::optional<QColor> readColour(keystone::ByteReader &in)
{
    constexpr char lastSpec = QColor::ExtendedRgb;
    const QByteArrayView bytes = in.take(kColourBytes);
    if (bytes.isNull() || bytes[0] < 0 || bytes[0] > lastSpec)
        return std::nullopt;
    return keystone::fromStreamed<QColor>(bytes);
}

QString colourName(const QColor &colour)
{
    return colour.name(colour.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
}

} // namespace ctl

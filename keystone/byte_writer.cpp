#include "keystone/byte_writer.h"

namespace keystone {

namespace {

constexpr quint32 kNull = 0xFFFFFFFF; ///< length of what is not there
constexpr qsizetype kLengthBytes = sizeof(quint32);
constexpr qsizetype kUnitBytes = sizeof(char16_t);

constexpr qsizetype kBlock = 16;

bool isAscii(const char *block)
{
    unsigned char bits = 0;
    for (qsizetype i = 0; i < kBlock; ++i)
        bits |= static_cast<unsigned char>(block[i]);
    return bits < 0x80;
}

bool isLater(char byte)
{
    return (static_cast<quint8>(byte) & 0xC0) == 0x80;
}

/// Writes a text's code units to `to` and gives the end of them. Takes the characters of up to three bytes, each of
/// which is one code unit; null where there are others, bytes that are no UTF-8, or a byte order mark.
char *writeShortCharacters(QByteArrayView utf8, char *to)
{
    constexpr quint8 kFirstOfTwo = 0xC2;
    constexpr quint8 kFirstOfThree = 0xE0;
    constexpr quint8 kFirstOfFour = 0xF0;
    constexpr unsigned kByteOrderMark = 0xFEFF;
    const char *at = utf8.begin();
    const char *const end = utf8.end();
    const auto put = [&to](unsigned unit) {
        *to++ = static_cast<char>(unit >> 8);
        *to++ = static_cast<char>(unit);
    };
    while (at < end) {
        if (end - at >= kBlock && isAscii(at)) {
            for (qsizetype i = 0; i < kBlock; ++i) {
                to[2 * i] = 0;
                to[2 * i + 1] = at[i];
            }
            at += kBlock;
            to += 2 * kBlock;
            continue;
        }
        const auto first = static_cast<quint8>(*at++);
        if (first < 0x80) {
            put(first);
            continue;
        }
        if (first >= kFirstOfTwo && first < kFirstOfThree && at < end && isLater(*at)) {
            put((first & 0x1FU) << 6 | (static_cast<quint8>(*at++) & 0x3FU));
            continue;
        }
        if (first < kFirstOfThree || first >= kFirstOfFour || end - at < 2 || !isLater(at[0]) || !isLater(at[1]))
            return nullptr;
        const unsigned unit =
            (first & 0x0FU) << 12 | (static_cast<quint8>(at[0]) & 0x3FU) << 6 | (static_cast<quint8>(at[1]) & 0x3FU);
        if (unit < 0x800 || QChar::isSurrogate(unit) || unit == kByteOrderMark)
            return nullptr;
        put(unit);
        at += 2;
    }
    return to;
}

} // namespace

ByteWriter &ByteWriter::operator<<(QByteArrayView bytes)
{
    if (bytes.isNull())
        return *this << kNull;
    char *to = grow(kLengthBytes + bytes.size());
    qToBigEndian(static_cast<quint32>(bytes.size()), to);
    std::memcpy(to + kLengthBytes, bytes.data(), static_cast<size_t>(bytes.size()));
    return *this;
}

ByteWriter &ByteWriter::operator<<(const QString &text)
{
    if (text.isNull())
        return *this << kNull;
    const qsizetype size = text.size() * kUnitBytes;
    char *to = grow(kLengthBytes + size);
    qToBigEndian(static_cast<quint32>(size), to);
    qToBigEndian<char16_t>(text.utf16(), text.size(), to + kLengthBytes);
    return *this;
}

bool ByteWriter::writeShort(QByteArrayView utf8)
{
    const qsizetype start = position();
    // As many as there can be: a byte makes no more than one code unit.
    char *to = grow(kLengthBytes + utf8.size() * kUnitBytes);
    const char *end = writeShortCharacters(utf8, to + kLengthBytes);
    if (!end) {
        cutBack(start);
        return false;
    }
    const qsizetype size = end - to - kLengthBytes;
    qToBigEndian(static_cast<quint32>(size), to);
    cutBack(start + kLengthBytes + size);
    return true;
}

ByteWriter &ByteWriter::operator<<(Utf8 text)
{
    if (text.bytes.isNull())
        return *this << kNull;
    if (!writeShort(text.bytes))
        *this << QString::fromUtf8(text.bytes);
    return *this;
}

ByteWriter &ByteWriter::operator<<(Utf8List texts)
{
    const qsizetype start = position();
    *this << quint32(0);
    quint32 count = 0;
    qsizetype begin = 0;
    for (qsizetype end = 0; end >= 0; begin = end + 1) {
        end = texts.bytes.indexOf(texts.separator, begin);
        if (!writeShort(texts.bytes.sliced(begin, (end < 0 ? texts.bytes.size() : end) - begin))) {
            cutBack(start);
            return *this << QString::fromUtf8(texts.bytes).split(QLatin1Char(texts.separator));
        }
        ++count;
    }
    overwrite(start, count);
    return *this;
}

} // namespace keystone

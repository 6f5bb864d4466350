#include "keystone/byte_reader.h"

namespace keystone {

namespace {

constexpr quint32 kNull = 0xFFFFFFFF; ///< length of what is not there
constexpr qsizetype kUnitBytes = sizeof(char16_t);

} // namespace

ByteReader &ByteReader::operator>>(bool &flag)
{
    qint8 byte = 0;
    *this >> byte;
    flag = byte != 0;
    return *this;
}

QByteArrayView ByteReader::readBlock()
{
    quint32 length = 0;
    *this >> length;
    return length == kNull ? QByteArrayView() : take(length);
}

ByteReader &ByteReader::operator>>(QByteArray &bytes)
{
    bytes = readBlock().toByteArray();
    return *this;
}

ByteReader &ByteReader::operator>>(Utf16 &text)
{
    text = {};
    quint32 length = 0;
    *this >> length;
    if (length == kNull)
        return *this;
    if (length % kUnitBytes != 0)
        fail();
    else
        text.bytes = take(length);
    return *this;
}

ByteReader &ByteReader::operator>>(QString &text)
{
    Utf16 units;
    *this >> units;
    text = QString();
    if (units.bytes.isNull())
        return *this;
    text = QString(units.bytes.size() / kUnitBytes, Qt::Uninitialized);
    qFromBigEndian<char16_t>(units.bytes.data(), text.size(), text.data());
    return *this;
}

} // namespace keystone

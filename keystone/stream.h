#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDataStream>
#include <QIODevice>

namespace keystone {

/// Every byte that the modules of an installation exchange or store in packed columns is written in this form.
inline constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_4_5;

/// The bytes of a value that only QDataStream knows how to write, as a colour or a picture.
template <typename Value>
[[nodiscard]] QByteArray streamed(const Value &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(kStreamVersion);
    out << value;
    return bytes;
}

/// The value whose bytes these are.
template <typename Value>
[[nodiscard]] Value fromStreamed(QByteArrayView bytes)
{
    QDataStream in(QByteArray::fromRawData(bytes.data(), bytes.size()));
    in.setVersion(kStreamVersion);
    Value value;
    in >> value;
    return value;
}

} // namespace keystone

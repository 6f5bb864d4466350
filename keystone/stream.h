#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>

namespace keystone {

/// Every byte that the modules of an installation exchange or store in packed columns is written in this form.
inline constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_4_5;

/// Reads `bytes`, which must outlive the stream.
class ByteReader : public QDataStream
{
public:
    explicit ByteReader(const QByteArray &bytes)
        : QDataStream(bytes)
    {
        setVersion(kStreamVersion);
    }
};

/// Appends to `target`, which must outlive the stream. A target that nothing is written to stays as it was (null stays
/// null).
class ByteWriter : public QDataStream
{
public:
    explicit ByteWriter(QByteArray *target)
        : QDataStream(target, QIODevice::WriteOnly)
    {
        setVersion(kStreamVersion);
        device()->seek(target->size());
    }
};

/// Takes back what a ByteWriter has written from `position` on.
inline void cutBack(QDataStream &out, qint64 position)
{
    auto *buffer = qobject_cast<QBuffer *>(out.device());
    Q_ASSERT(buffer);
    buffer->buffer().resize(position);
    buffer->seek(position);
}

/// Writes a byte array of which only a view is at hand; a null view is written as a null array.
inline void writeBytes(QDataStream &out, QByteArrayView bytes)
{
    constexpr quint32 kNull = 0xFFFFFFFF;
    out << (bytes.isNull() ? kNull : static_cast<quint32>(bytes.size()));
    if (!bytes.isEmpty())
        out.writeRawData(bytes.data(), static_cast<int>(bytes.size()));
}

/// True when `count` elements of at least `minBytes` each may still lie in what is left of `stream`.
[[nodiscard]] inline bool mayHold(const QDataStream &stream, quint32 count, int minBytes)
{
    return qint64(count) * minBytes <= stream.device()->bytesAvailable();
}

/// Reads a container (quint32 count, then the elements) whose elements take at least `minBytes` each.
///
/// A count that the remaining bytes cannot hold leaves the container empty and the stream at its end, exactly as a read
/// that runs past the end would, but without walking or reserving what a peer merely promised.
template <typename Container>
void readContainer(QDataStream &stream, Container &container, int minBytes)
{
    container.clear();
    QIODevice *device = stream.device();
    const qint64 start = device->pos();
    quint32 count = 0;
    stream >> count;
    if (!mayHold(stream, count, minBytes)) {
        device->seek(device->size());
        stream.setStatus(QDataStream::ReadPastEnd);
        return;
    }
    device->seek(start);
    stream >> container;
}

} // namespace keystone

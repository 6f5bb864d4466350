#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDataStream>
#include <QIODevice>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QtEndian>

#include <concepts>
#include <utility>

namespace keystone {

/// Every byte that the modules of an installation exchange or store in packed columns is written in this form.
inline constexpr QDataStream::Version kStreamVersion = QDataStream::Qt_4_5;

/// Reads `bytes`, which must outlive the reader, as a QDataStream of kStreamVersion would: what is not all there takes
/// the rest and reads as zero or empty, as does what cannot be, and reading goes on.
class ByteReader
{
public:
    explicit ByteReader(QByteArrayView bytes)
        : m_bytes(bytes.isNull() ? QByteArrayView("") : bytes)
    {}
    explicit ByteReader(const QByteArray &bytes)
        : ByteReader(QByteArrayView(bytes))
    {}
    explicit ByteReader(QByteArray &&) = delete;

    template <std::integral Number>
    ByteReader &operator>>(Number &number)
    {
        const QByteArrayView bytes = take(sizeof(number));
        number = bytes.isNull() ? Number(0) : qFromBigEndian<Number>(bytes.data());
        return *this;
    }

    /// Any byte but 0 is true.
    ByteReader &operator>>(bool &flag);

    ByteReader &operator>>(QByteArray &bytes);
    ByteReader &operator>>(QString &text);

    /// See readContainer() for a count that is not to be believed.
    template <typename Element>
    ByteReader &operator>>(QList<Element> &list)
    {
        return readElements(list, [&] {
            Element element{};
            *this >> element;
            list.append(std::move(element));
        });
    }

    template <typename Key, typename Element>
    ByteReader &operator>>(QMap<Key, Element> &map)
    {
        return readElements(map, [&] {
            Key key{};
            Element element{};
            *this >> key >> element;
            map.insert(std::move(key), std::move(element));
        });
    }

    /// A byte array where it lies. Null for a null one, and for one that is not all there.
    QByteArrayView readBlock();

    /// The next `size` bytes. Where fewer are left it is null, and the reader at its end.
    QByteArrayView take(qsizetype size)
    {
        if (size > bytesLeft()) {
            m_at = m_bytes.size();
            m_ok = false;
            return {};
        }
        return {m_bytes.data() + std::exchange(m_at, m_at + size), size};
    }

    /// False once a value was not all there, or could not be one.
    [[nodiscard]] bool ok() const { return m_ok; }

    /// For values that cannot be read on.
    void fail() { m_ok = false; }

    [[nodiscard]] qsizetype size() const { return m_bytes.size(); }
    [[nodiscard]] qsizetype bytesLeft() const { return m_bytes.size() - m_at; }
    [[nodiscard]] bool atEnd() const { return bytesLeft() == 0; }

    /// Where reading stands, for going back to it.
    [[nodiscard]] qsizetype position() const { return m_at; }
    void goTo(qsizetype position)
    {
        m_at = position;
        m_ok = true;
    }

private:
    /// An element that cannot be read leaves the container empty, and is the last one that is read.
    template <typename Container, typename ReadElement>
    ByteReader &readElements(Container &container, ReadElement readElement)
    {
        container.clear();
        const bool wasOk = std::exchange(m_ok, true);
        quint32 count = 0;
        *this >> count;
        for (quint32 i = 0; i < count && m_ok; ++i)
            readElement();
        if (!m_ok)
            container.clear();
        m_ok = m_ok && wasOk;
        return *this;
    }

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    bool m_ok = true;
};

/// A text of which the UTF-8 is at hand; a null view is a null text.
struct Utf8
{
    QByteArrayView bytes;
};

/// The texts between the separators, an ASCII character; of an empty or null text that is one empty text.
struct Utf8List
{
    QByteArrayView bytes;
    char separator;
};

/// Appends to `target`, which must outlive the writer, the bytes that a QDataStream of kStreamVersion would: replies
/// are written value by value from rows, and a stream on a buffer takes ten times as long for a value. A target that
/// nothing is written to stays as it was (null stays null).
class ByteWriter
{
public:
    explicit ByteWriter(QByteArray *target)
        : m_target(target)
    {}

    /// Numbers take as many bytes as they have, the highest first; a bool takes one.
    template <std::integral Number>
    requires(!std::same_as<Number, bool>) ByteWriter &operator<<(Number number)
    {
        qToBigEndian(number, grow(sizeof(number)));
        return *this;
    }

    /// Of bools only, since nearly everything can be turned into one.
    template <std::same_as<bool> Flag>
    ByteWriter &operator<<(Flag flag)
    {
        return *this << static_cast<qint8>(flag);
    }

    /// A null view is written as a null array.
    ByteWriter &operator<<(QByteArrayView bytes);
    ByteWriter &operator<<(const QByteArray &bytes) { return *this << QByteArrayView(bytes); }

    ByteWriter &operator<<(const QString &text);
    ByteWriter &operator<<(Utf8 text);
    ByteWriter &operator<<(Utf8List texts);

    template <typename Element>
    ByteWriter &operator<<(const QList<Element> &list)
    {
        *this << static_cast<quint32>(list.size());
        for (const Element &element : list)
            *this << element;
        return *this;
    }

    template <typename Key, typename Element>
    ByteWriter &operator<<(const QMap<Key, Element> &map)
    {
        *this << static_cast<quint32>(map.size());
        for (auto entry = map.begin(); entry != map.end(); ++entry)
            *this << entry.key() << entry.value();
        return *this;
    }

    /// Bytes that have this form already, as they are.
    void append(QByteArrayView streamed) { m_target->append(streamed); }

    /// Where the next value goes.
    [[nodiscard]] qsizetype position() const { return m_target->size(); }

    /// Takes back what has been written from `position` on.
    void cutBack(qsizetype position) { m_target->truncate(position); }

    /// Replaces the number that was written at `position`.
    void overwrite(qsizetype position, std::integral auto number) { qToBigEndian(number, m_target->data() + position); }

private:
    /// False, and nothing written, where the text has characters that are beyond this way.
    bool writeShort(QByteArrayView utf8);

    /// Room for `size` bytes at the end.
    char *grow(qsizetype size)
    {
        const qsizetype end = m_target->size();
        m_target->resize(end + size);
        return m_target->data() + end;
    }

    QByteArray *m_target;
};

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

/// True when `count` elements of at least `minBytes` each may still lie in what is left of `in`.
[[nodiscard]] inline bool mayHold(const ByteReader &in, quint32 count, int minBytes)
{
    return qint64(count) * minBytes <= in.bytesLeft();
}

/// Reads a container (quint32 count, then the elements) whose elements take at least `minBytes` each.
///
/// A count that the remaining bytes cannot hold leaves the container empty and the reader at its end, exactly as a read
/// that runs past the end would, but without walking what a peer merely promised.
template <typename Container>
void readContainer(ByteReader &in, Container &container, int minBytes)
{
    const qsizetype start = in.position();
    const bool wasOk = in.ok();
    quint32 count = 0;
    in >> count;
    if (!mayHold(in, count, minBytes)) {
        container.clear();
        (void)in.take(in.bytesLeft() + 1);
        return;
    }
    in.goTo(start);
    in >> container;
    if (!wasOk)
        in.fail();
}

} // namespace keystone

#pragma once

#include "keystone/text_views.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QMap>
#include <QString>
#include <QtEndian>

#include <concepts>
#include <utility>

namespace keystone {

/// Reads `bytes`, which must outlive the reader, as a QDataStream of the version in keystone/stream.h would: what is
/// not all there takes the rest and reads as zero or empty, as does what cannot be, and reading goes on.
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
    ByteReader &operator>>(Utf16 &text);

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

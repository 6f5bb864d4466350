#pragma once

#include "keystone/memory.h"
#include "keystone/text_views.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QMap>
#include <QString>
#include <QtEndian>

#include <concepts>
#include <cstddef>
#include <cstring>

namespace keystone {

/// Appends to `target`, which must outlive the writer, the bytes that a QDataStream of the version in keystone/stream.h
/// would: replies are written value by value from rows, and a stream on a buffer takes ten times as long for a value. A
/// target that nothing is written to stays as it was (null stays null).
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
    ByteWriter &operator<<(Utf16 text) { return *this << text.bytes; }

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
    void append(QByteArrayView streamed)
    {
        if (!streamed.isEmpty())
            std::memcpy(grow(streamed.size()), streamed.data(), static_cast<std::size_t>(streamed.size()));
    }

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
        const qsizetype room = m_target->capacity();
        m_target->resize(end + size);
        if (m_target->capacity() != room)
            preferLargePages(m_target->constData(), static_cast<std::size_t>(m_target->capacity()));
        return m_target->data() + end;
    }

    QByteArray *m_target;
};

} // namespace keystone

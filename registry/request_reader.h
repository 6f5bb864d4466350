#pragma once

#include "keystone/byte_reader.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace registry {

/// Reads the fields of a request in order. A request that ends early gives zeros and empty values for what is missing.
///
/// Counts and containers come from a peer and are not believed: nothing is reserved or repeated at a peer's word alone.
class RequestReader
{
public:
    /// A count may promise this many records more than bytes are left: a short request still owes its empty records.
    static constexpr qint64 kOwedRecords = 1024;

    /// `request` must outlive the reader.
    explicit RequestReader(const QByteArray &request)
        : m_in(request)
    {}
    explicit RequestReader(QByteArray &&) = delete;

    template <typename T>
    [[nodiscard]] T read()
    {
        T value{};
        m_in >> value;
        return value;
    }

    /// A container of elements of at least `minBytes` each; empty where the request ends before its last element.
    template <typename Container>
    [[nodiscard]] Container readContainer(int minBytes)
    {
        Container container;
        keystone::readContainer(m_in, container, minBytes);
        return container;
    }

    /// The number of records that follow; 0 for a negative one. Nothing where the request cannot hold them: the command
    /// must then end before it has changed anything, and refusal() says why.
    [[nodiscard]] std::optional<qint32> recordCount();

    /// The same check for a count that was read as a field of a record.
    [[nodiscard]] bool mayHold(qint32 count);

    /// True once every byte has been read; what follows is zero and empty.
    [[nodiscard]] bool atEnd() const { return m_in.atEnd(); }

    /// Where reading stands, for going back to it.
    [[nodiscard]] qsizetype position() const { return m_in.position(); }
    void goTo(qsizetype position);

    /// Refuses the request; the command must end before it has changed anything.
    void refuse(const QString &reason) { m_refusal = reason; }

    /// Why the request was refused; empty where it was not.
    [[nodiscard]] QString refusal() const { return m_refusal; }

private:
    keystone::ByteReader m_in;
    QString m_refusal;
};

} // namespace registry

#pragma once

#include "ctl/result.h"
#include "keystone/byte_reader.h"

#include <QByteArray>
#include <QList>

namespace ctl {

/// Reads an answer of the service from front to back without believing it: a count must fit into the bytes that are
/// left, and no byte may be left over. The first problem is kept; behind it everything reads as zero and empty.
class ReplyReader
{
public:
    /// `reply` must outlive the reader.
    explicit ReplyReader(const QByteArray &reply)
        : m_in(reply)
    {}
    explicit ReplyReader(QByteArray &&) = delete;

    template <typename T>
    [[nodiscard]] T read()
    {
        T value{};
        m_in >> value;
        return value;
    }

    /// The number of records of at least `minBytes` each that follow. `things`: what they are, for messages.
    [[nodiscard]] qint32 count(int minBytes, const char *things);

    /// The same, but the -1 of a statement that failed in the database is handed on and is no problem.
    [[nodiscard]] qint32 countOrFailed(int minBytes, const char *things);

    /// A count and as many numbers.
    [[nodiscard]] QList<qint32> numbers();

    /// Says that what was read cannot be right. `what`: as in "it is about object 4, not 3".
    void refuse(const QString &what);

    /// True once something was refused or the answer has ended too early; loops over records stop there.
    [[nodiscard]] bool failed() const { return m_failure || !m_in.ok(); }

    /// Nothing when all was read and all was well. Call it last.
    [[nodiscard]] Outcome end();

    /// For forms that no function here reads.
    [[nodiscard]] keystone::ByteReader &stream() { return m_in; }

private:
    keystone::ByteReader m_in;
    Outcome m_failure;
};

} // namespace ctl

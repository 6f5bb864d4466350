#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <libpq-fe.h>

namespace database {

/// A value bound to a placeholder, in the form that the column's type wants.
///
/// Texts and byte arrays that are null bind NULL; empty ones bind an empty value. A text with U+0000 can be made here
/// but no statement takes it: PostgreSQL has no such text.
class Value
{
public:
    [[nodiscard]] static Value integer(qint32 number);

    /// For a number that may lie beyond what an integer column holds, and is then to be found in no row.
    [[nodiscard]] static Value bigInteger(qint64 number);

    [[nodiscard]] static Value boolean(bool flag);
    [[nodiscard]] static Value text(const QString &text);
    [[nodiscard]] static Value bytes(const QByteArray &bytes);

    /// An array of integers.
    [[nodiscard]] static Value integers(const QList<qint32> &numbers);

    /// Nullptr for NULL; else the value's bytes, ended by a zero where it is not binary.
    [[nodiscard]] const char *data() const { return m_bytes.isNull() ? nullptr : m_bytes.constData(); }
    [[nodiscard]] int size() const { return static_cast<int>(m_bytes.size()); }
    [[nodiscard]] bool isBinary() const { return m_binary; }

    /// The type that the placeholder has; 0 leaves it to the server.
    [[nodiscard]] Oid type() const { return m_type; }

    /// True for a text that no column can hold.
    [[nodiscard]] bool isImpossible() const { return !m_binary && m_bytes.contains('\0'); }

    [[nodiscard]] bool operator==(const Value &) const = default;

private:
    Value(QByteArray bytes, bool binary, Oid type);

    QByteArray m_bytes;
    bool m_binary;
    Oid m_type;
};

} // namespace database

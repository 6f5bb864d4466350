#pragma once

#include <QByteArray>
#include <QString>

namespace database {

/// A value bound to a placeholder, in the form that the column's type wants.
///
/// Texts and byte arrays that are null bind NULL; empty ones bind an empty value. A text with U+0000 can be made here
/// but no statement takes it: PostgreSQL has no such text.
class Value
{
public:
    [[nodiscard]] static Value integer(qint32 number);
    [[nodiscard]] static Value boolean(bool flag);
    [[nodiscard]] static Value text(const QString &text);
    [[nodiscard]] static Value bytes(const QByteArray &bytes);

    /// Nullptr for NULL; else the value's bytes, ended by a zero where it is not binary.
    [[nodiscard]] const char *data() const { return m_bytes.isNull() ? nullptr : m_bytes.constData(); }
    [[nodiscard]] int size() const { return static_cast<int>(m_bytes.size()); }
    [[nodiscard]] bool isBinary() const { return m_binary; }

    /// True for a text that no column can hold.
    [[nodiscard]] bool isImpossible() const { return !m_binary && m_bytes.contains('\0'); }

private:
    Value(QByteArray bytes, bool binary);

    QByteArray m_bytes;
    bool m_binary;
};

} // namespace database

#pragma once

#include "database/binary_value.h"

#include <QByteArrayView>
#include <QList>

namespace database {

/// A row of a large result, as COPY sends it in its binary format. Columns count from 0; the row's values live as long
/// as the bytes that it was read from.
class CopiedRow
{
public:
    /// Takes what the server has sent as one row: the first one has the head of all before it. False for bytes that are
    /// no row, as those that end them all.
    [[nodiscard]] bool read(QByteArrayView bytes);

    [[nodiscard]] qsizetype columnCount() const { return m_values.size(); }

    /// Null for NULL, which an empty value is not.
    [[nodiscard]] QByteArrayView view(qsizetype column) const { return m_values[column]; }
    [[nodiscard]] bool isNull(qsizetype column) const { return view(column).isNull(); }

    /// See database/binary_value.h.
    [[nodiscard]] qint32 integer(qsizetype column) const { return integerOf(view(column)); }
    [[nodiscard]] QList<qint32> integers(qsizetype column) const { return integersOf(view(column)); }

private:
    QList<QByteArrayView> m_values;
};

} // namespace database

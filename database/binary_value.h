#pragma once

#include <QByteArrayView>
#include <QList>

namespace database {

/// The number that PostgreSQL has sent in binary form: an integer of 2, 4 or 8 bytes, of which the low 4 count, or a
/// boolean. 0 for NULL (a null view) and for what has another size.
[[nodiscard]] qint32 integerOf(QByteArrayView value);

/// The elements of an array of 4-byte integers, 0 for a NULL among them; empty for NULL and for what is no such array.
[[nodiscard]] QList<qint32> integersOf(QByteArrayView value);

} // namespace database

#include "database/binary_value.h"

#include <QtEndian>

namespace database {

qint32 integerOf(QByteArrayView value)
{
    switch (value.size()) {
    case 1:
        return value.front();
    case 2:
        return qFromBigEndian<qint16>(value.data());
    case 4:
        return qFromBigEndian<qint32>(value.data());
    case 8:
        return static_cast<qint32>(qFromBigEndian<qint64>(value.data()));
    default:
        return 0;
    }
}

QList<qint32> integersOf(QByteArrayView value)
{
    // number of dimensions, null flag, element type, then size and lower bound of the one dimension there is
    constexpr qsizetype kHeadBytes = 5 * sizeof(qint32);
    constexpr qsizetype kNumberBytes = sizeof(qint32);
    constexpr qsizetype kTypeAt = 2 * sizeof(qint32);
    constexpr qint32 kIntegerType = 23;
    QList<qint32> numbers;
    if (value.size() < kHeadBytes || qFromBigEndian<qint32>(value.data() + kTypeAt) != kIntegerType)
        return numbers;
    qsizetype at = kHeadBytes;
    const auto next = [&] {
        const auto number = qFromBigEndian<qint32>(value.data() + at);
        at += kNumberBytes;
        return number;
    };
    numbers.reserve((value.size() - kHeadBytes) / kNumberBytes);
    while (value.size() - at >= kNumberBytes) {
        const qint32 length = next();
        const bool isThere = length == kNumberBytes && value.size() - at >= kNumberBytes;
        numbers.append(isThere ? next() : 0);
    }
    return numbers;
}

} // namespace database

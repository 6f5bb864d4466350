#include "database/copied_row.h"

#include <QtEndian>

#include <optional>

namespace database {

namespace {

constexpr QByteArrayView kSignature("PGCOPY\n\377\r\n\0", 11);
constexpr qint32 kNull = -1;

template <typename Number>
std::optional<Number> takeNumber(QByteArrayView &bytes)
{
    if (bytes.size() < qsizetype(sizeof(Number)))
        return std::nullopt;
    const auto number = qFromBigEndian<Number>(bytes.data());
    bytes = bytes.sliced(sizeof(Number));
    return number;
}

/// Behind the signature: flags, then the size of an extension and the extension. False where they are not all there.
bool skipHead(QByteArrayView &bytes)
{
    if (!bytes.startsWith(kSignature))
        return true;
    bytes = bytes.sliced(kSignature.size());
    const auto flags = takeNumber<qint32>(bytes);
    const auto extension = takeNumber<qint32>(bytes);
    if (!flags || !extension || *extension < 0 || *extension > bytes.size())
        return false;
    bytes = bytes.sliced(*extension);
    return true;
}

} // namespace

bool CopiedRow::read(QByteArrayView bytes)
{
    m_values.clear();
    const auto count = skipHead(bytes) ? takeNumber<qint16>(bytes) : std::nullopt;
    for (int column = 0; count && column < *count; ++column) {
        const auto size = takeNumber<qint32>(bytes);
        if (!size || *size < kNull || *size > bytes.size())
            return false;
        m_values.append(*size == kNull ? QByteArrayView() : bytes.first(*size));
        bytes = bytes.sliced(m_values.last().size());
    }
    return count && *count >= 0;
}

} // namespace database

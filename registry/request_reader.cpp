#include "registry/request_reader.h"

#include <algorithm>

namespace registry {

std::optional<qint32> RequestReader::recordCount()
{
    const auto count = read<qint32>();
    if (!mayHold(count))
        return std::nullopt;
    return std::max(count, 0);
}

bool RequestReader::mayHold(qint32 count)
{
    const qint64 left = m_in.bytesLeft();
    if (count <= left + kOwedRecords)
        return true;
    m_refusal = QStringLiteral("%1 records promised, %2 bytes left").arg(count).arg(left);
    return false;
}

void RequestReader::goTo(qsizetype position)
{
    m_in.goTo(position);
}

} // namespace registry

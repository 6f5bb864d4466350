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
    const qint64 left = m_in.device()->bytesAvailable();
    if (count <= left + kOwedRecords)
        return true;
    m_refusal = QStringLiteral("%1 records promised, %2 bytes left").arg(count).arg(left);
    return false;
}

void RequestReader::goTo(qint64 position)
{
    m_in.device()->seek(position);
    m_in.resetStatus();
}

} // namespace registry

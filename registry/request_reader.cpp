#include "registry/request_reader.h"

#include <algorithm>

namespace registry {

std::optional<qint32> RequestReader::recordCount()
{
    const auto count = read<qint32>();
    const qint64 left = m_in.device()->bytesAvailable();
    if (count > left + kOwedRecords) {
        m_refusal = QStringLiteral("%1 records promised, %2 bytes left").arg(count).arg(left);
        return std::nullopt;
    }
    return std::max(count, 0);
}

} // namespace registry

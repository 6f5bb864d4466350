#include "bus/incoming_bound.h"

#include <algorithm>

#include <sys/resource.h>

namespace bus {

namespace {

/// A new descriptor is the lowest free one, so its number says how many are in use, whoever uses them.
bool leavesEnoughFree(qintptr descriptor)
{
    rlimit files = {};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0)
        return true;
    const quint64 reserved = std::min<quint64>(IncomingBound::kReserved, files.rlim_cur / 4);
    return static_cast<quint64>(descriptor) < files.rlim_cur - reserved;
}

} // namespace

IncomingBound::Verdict IncomingBound::judge(qsizetype open, qintptr descriptor)
{
    if (open < kLimit && leavesEnoughFree(descriptor)) {
        m_refusing = false;
        return Verdict::Take;
    }
    const bool told = m_refusing;
    m_refusing = true;
    return told ? Verdict::RefuseAgain : Verdict::Refuse;
}

} // namespace bus

#pragma once

#include <QtGlobal>

namespace bus {

/// How many links a service's own server takes, so that it always has descriptors for its database, its log and its own
/// links, and memory for all.
class IncomingBound
{
public:
    /// Incoming links at the same time, however many files the process may open.
    static constexpr qsizetype kLimit = 1000;

    /// Descriptors that incoming links leave free below the process's soft limit of open files; of a limit below four
    /// times as many, a quarter.
    static constexpr quint64 kReserved = 64;

    enum class Verdict {
        Take,
        Refuse,     ///< the first after a link was taken: to be told
        RefuseAgain ///< one more of the same burst
    };

    /// For a link that would be the one after `open` others and has the descriptor `descriptor`.
    [[nodiscard]] Verdict judge(qsizetype open, qintptr descriptor);

private:
    bool m_refusing = false;
};

} // namespace bus

#pragma once

#include <QtGlobal>

#include <sys/types.h>

namespace bench {

/// The physical memory of another process, which must belong to the same user. Throws std::runtime_error where the
/// system does not tell it.
class ProcessMemory
{
public:
    explicit ProcessMemory(pid_t process)
        : m_process(process)
    {}

    /// In bytes.
    [[nodiscard]] qint64 resident() const { return bytesOf("VmRSS:"); }

    /// The most that it has been since forgetPeak().
    [[nodiscard]] qint64 peak() const { return bytesOf("VmHWM:"); }
    void forgetPeak() const;

private:
    [[nodiscard]] qint64 bytesOf(const char *name) const;

    pid_t m_process;
};

} // namespace bench

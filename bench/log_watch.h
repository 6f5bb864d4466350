#pragma once

#include <QtGlobal>

#include <string>
#include <string_view>

namespace bench {

/// Waits for a line in the log of another process, asleep until the file is written to.
class LogWatch
{
public:
    /// Empties the file, or makes it.
    explicit LogWatch(std::string path);
    ~LogWatch();
    Q_DISABLE_COPY_MOVE(LogWatch)

    /// Throws std::runtime_error where `text` is not in the log after 30 s without a further line.
    void waitFor(std::string_view text);

private:
    std::string m_path;
    int m_descriptor; ///< of the system's notices
};

} // namespace bench

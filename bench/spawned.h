#pragma once

#include <QtGlobal>

#include <string>
#include <vector>

#include <sys/types.h>

namespace bench {

/// A program that runs beside this one; it is ended with this object, or with its parent.
class Spawned
{
public:
    /// Throws std::runtime_error where no process can be made; a program that cannot be run ends at once.
    explicit Spawned(const std::vector<std::string> &commandLine);
    ~Spawned();
    Q_DISABLE_COPY_MOVE(Spawned)

private:
    pid_t m_process = -1;
};

/// The path of a program that was built with this one.
[[nodiscard]] std::string besideThisProgram(const std::string &name);

} // namespace bench

#pragma once

#include <QTextStream>

#include <string>
#include <vector>

namespace ctl {

enum ExitCode { Done = 0, Failed = 1, WrongUsage = 2 };

/// Runs the program with the words after its name. Needs a QCoreApplication, but no running event loop.
/// Results go to `out`, messages to `err`. Returns the exit code.
[[nodiscard]] int runProgram(std::vector<std::string> words, QTextStream &out, QTextStream &err);

} // namespace ctl

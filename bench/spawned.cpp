#include "bench/spawned.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

Spawned::Spawned(const std::vector<std::string> &commandLine)
{
    std::vector<char *> arguments;
    for (const std::string &argument : commandLine)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    m_process = ::fork();
    if (m_process < 0)
        throw std::runtime_error("no process for " + commandLine.front());
    if (m_process > 0)
        return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execv(arguments.front(), arguments.data());
    ::_exit(127);
}

Spawned::~Spawned()
{
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
}

std::string besideThisProgram(const std::string &name)
{
    return std::filesystem::read_symlink("/proc/self/exe").replace_filename(name).string();
}

} // namespace bench

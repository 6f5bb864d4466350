#include "bench/process_memory.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

std::string pathOf(pid_t process, const char *file)
{
    return "/proc/" + std::to_string(process) + '/' + file;
}

} // namespace

void ProcessMemory::forgetPeak() const
{
    const std::string path = pathOf(m_process, "clear_refs");
    std::ofstream out(path);
    constexpr const char *kPeak = "5";
    if (!(out << kPeak << std::flush))
        throw std::runtime_error("cannot write " + path);
}

qint64 ProcessMemory::bytesOf(const char *name) const
{
    constexpr qint64 kUnit = 1024;
    const std::string path = pathOf(m_process, "status");
    std::ifstream in(path);
    for (std::string word; in >> word;) {
        qint64 kilobytes = 0;
        if (word == name && in >> kilobytes)
            return kilobytes * kUnit;
    }
    throw std::runtime_error(path + " does not tell " + name);
}

} // namespace bench

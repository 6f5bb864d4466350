#include "bench/log_watch.h"

#include <QByteArrayView>
#include <QFile>

#include <fstream>
#include <stdexcept>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace bench {

namespace {

constexpr int kPatienceMs = 30000;

bool holds(const std::string &path, std::string_view text)
{
    QFile file(QString::fromStdString(path));
    return file.open(QIODevice::ReadOnly) &&
           file.readAll().contains(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
}

} // namespace

LogWatch::LogWatch(std::string path)
    : m_path(std::move(path))
    , m_descriptor(::inotify_init1(IN_CLOEXEC))
{
    const bool emptied = std::ofstream(m_path).is_open();
    if (emptied && m_descriptor >= 0 && ::inotify_add_watch(m_descriptor, m_path.c_str(), IN_MODIFY) >= 0)
        return;
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    throw std::runtime_error("cannot watch " + m_path);
}

LogWatch::~LogWatch()
{
    ::close(m_descriptor);
}

void LogWatch::waitFor(std::string_view text)
{
    while (!holds(m_path, text)) {
        pollfd waiting{m_descriptor, POLLIN, 0};
        alignas(inotify_event) char notices[4096];
        if (::poll(&waiting, 1, kPatienceMs) <= 0 || ::read(m_descriptor, notices, sizeof notices) <= 0)
            throw std::runtime_error(m_path + " does not say \"" + std::string(text) + '"');
    }
}

} // namespace bench

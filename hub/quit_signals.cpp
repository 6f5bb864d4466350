#include "hub/quit_signals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace hub {

QuitSignals::QuitSignals(QObject *parent)
    : QObject(parent)
{
    sigset_t signalSet;
    sigemptyset(&signalSet);
    sigaddset(&signalSet, SIGINT);
    sigaddset(&signalSet, SIGTERM);
    m_descriptor = signalfd(-1, &signalSet, SFD_CLOEXEC | SFD_NONBLOCK);
    if (m_descriptor < 0)
        return; // the signals keep their default effect, which ends the process as well
    sigprocmask(SIG_BLOCK, &signalSet, nullptr);
    auto *notifier = new QSocketNotifier(m_descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        signalfd_siginfo info;
        while (read(m_descriptor, &info, sizeof info) == qint64(sizeof info))
            emit quitRequested();
    });
}

QuitSignals::~QuitSignals()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

} // namespace hub

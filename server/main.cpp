#include "keystone/log.h"
#include "keystone/memory.h"
#include "server/kernel_objects_server.h"

#include <QCoreApplication>
#include <QTimer>
#include <QTranslator>

#include <cstring>

namespace {

/// Memory that was needed for a large answer is given back when so much time has passed, not after each of many.
constexpr int kMemoryMs = 5000;

/// Every "-settings PATH" is a full load of its own, in order. A "-settings" without a path loads the default file
/// there and then, and does not count as a given path.
void loadSettings(TKernelObjectsServer &service, int argc, char **argv)
{
    bool pathGiven = false;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], "-settings") != 0)
            continue;
        if (i + 1 < argc) {
            service.LoadSettings(QString::fromLocal8Bit(argv[++i]));
            pathGiven = true;
        } else {
            service.LoadSettings(QString());
        }
    }
    if (!pathGiven)
        service.LoadSettings(QString());
}

} // namespace

int main(int argc, char *argv[])
{
    keystone::keepFreedMemory();
    // GLib's event loop costs two more system calls for every frame, and nothing here needs it.
    qputenv("QT_NO_GLIB", "1");
    const QCoreApplication application(argc, argv);

    QTimer memoryTimer;
    QObject::connect(&memoryTimer, &QTimer::timeout, &application, keystone::giveFreedMemoryBack);
    memoryTimer.start(kMemoryMs);

    QTranslator translator;
    // A missing file leaves the texts as they are in the code.
    const bool translated = translator.load(QStringLiteral("Objects_server.qm"));
    Q_UNUSED(translated)
    QCoreApplication::installTranslator(&translator);

    // Never deleted: links and log lines may still come while the application is torn down.
    static auto *const service = new TKernelObjectsServer(nullptr);
    loadSettings(*service, argc, argv);
    logMessage(QStringLiteral("Start Ok!"));
    return QCoreApplication::exec();
}

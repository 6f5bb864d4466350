#include "registry/about.h"

#include "build_revision.h"
#include "keystone/version.h"
#include "registry/command_call.h"

namespace registry {

void about(CommandCall &call)
{
    // The numbers of the placeholders that are missing belong to versions that other modules show.
    const QString text = QStringLiteral("----\nИнформация о сборке.\nВерсия модуля: %1\nВерсия Keystone: %4\n")
                             .arg(QStringLiteral("5.4." BUILD_REVISION), getKeystoneVersion());
    // The one answer that is red and carries its text in the message.
    call.announcer.sendAction("About", text.toUtf8(), QByteArray(), Qt::red, call.caller());
}

void quitSignal(CommandCall &call)
{
    call.announcer.stop(0);
}

} // namespace registry

#include "hub/log_line.h"

#include <cstdio>

namespace hub {

void logLine(const QString &text)
{
    const QByteArray line = "admin_hub: " + text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

} // namespace hub

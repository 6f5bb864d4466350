#include "hub/log_line.h"

#include <cstdio>

namespace hub {

void logLine(const QString &text)
{
    const QByteArray line = "admin_hub: " + text.toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

QString printableName(const QByteArray &name)
{
    constexpr qsizetype longest = 64;
    QString text = QString::fromUtf8(name.left(4 * longest)).left(longest);
    for (QChar &character : text) {
        if (!character.isPrint() && !character.isSurrogate())
            character = u'?';
    }
    return text;
}

} // namespace hub

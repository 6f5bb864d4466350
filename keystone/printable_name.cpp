#include "keystone/printable_name.h"

QString printableName(const QByteArray &name)
{
    constexpr qsizetype longest = 128;
    constexpr qsizetype bytesOfACharacter = 4;
    QString text = QString::fromUtf8(name.left(bytesOfACharacter * (longest + 1)));
    const bool cut = text.size() > longest;
    text.truncate(longest);
    for (QChar &character : text) {
        const auto category = character.category();
        const bool separates = category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
        const bool printable = character.isPrint() || character.isSurrogate() || character == u'\n';
        if (separates || !printable)
            character = u'?';
    }
    text.replace(u'\n', QLatin1String("\\n"));
    return cut ? text + QLatin1String("...") : text;
}

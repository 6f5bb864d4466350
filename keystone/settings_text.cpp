#include "keystone/settings_text.h"

#include "keystone/ini_lines.h"

#include <QFile>
#include <QSettings>
#include <QStringList>

#include <optional>

namespace {

bool hasBareSeparator(const QString &text)
{
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\'))
            ++i;
        else if (text[i] == QLatin1Char('"'))
            quoted = !quoted;
        else if ((text[i] == QLatin1Char(';') || text[i] == QLatin1Char(',')) && !quoted)
            return true;
    }
    return false;
}

std::optional<QChar> simpleEscape(QChar letter)
{
    switch (letter.unicode()) {
    case 'n':
        return QLatin1Char('\n');
    case 'r':
        return QLatin1Char('\r');
    case 't':
        return QLatin1Char('\t');
    case '"':
    case '\\':
        return letter;
    default:
        return std::nullopt;
    }
}

/// The escapes of the format that stand in passwords, paths and options; any other backslash is dropped, as QSettings
/// does.
QString unescaped(const QString &text)
{
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\\') && i + 1 < text.size()) {
            ++i;
            if (text[i] == QLatin1Char('x')) {
                qsizetype end = i + 1;
                while (end < text.size() && end < i + 5 && QStringView(u"0123456789abcdefABCDEF").contains(text[end]))
                    ++end;
                result += QChar(text.mid(i + 1, end - i - 1).toUShort(nullptr, 16));
                i = end - 1;
            } else if (const auto character = simpleEscape(text[i])) {
                result += *character;
            }
        } else if (text[i] != QLatin1Char('"')) {
            result += text[i];
        }
    }
    return result;
}

} // namespace

QString settingText(const QSettings &settings, const QString &key, const QString &fallback)
{
    const QHash<QString, QString> uncut = unquotedValues(settings);
    if (const auto found = uncut.find(key); found != uncut.end())
        return *found;
    return settings.value(key, fallback).toString();
}

QHash<QString, QString> unquotedValues(const QSettings &settings)
{
    QHash<QString, QString> result;
    QFile file(settings.fileName());
    if (!file.open(QIODevice::ReadOnly))
        return result;
    const QByteArray content = file.readAll();
    IniLines lines(content);
    while (const auto line = lines.next()) {
        const QString value = QString::fromUtf8(line->value);
        // Of a key that stands twice the last value counts.
        if (hasBareSeparator(value))
            result.insert(line->key, unescaped(value));
        else
            result.remove(line->key);
    }
    return result;
}

// A settings file of any bytes: every key reads, and filling in what a template has changes nothing that is there.
// Input: the file.

#include "bus/socket_mode.h"
#include "fuzz.h"
#include "keystone/settings_files.h"
#include "keystone/settings_text.h"

#include <QFile>
#include <QHash>
#include <QSettings>

#include <QTemporaryDir>
#include <algorithm>

namespace {

QString written(const QString &name, const QByteArray &content)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(name + QStringLiteral(".ini"));
    QFile file(path);
    FUZZ_CHECK(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return path;
}

/// QSettings remembers the last 30 files by name, size and time: a name comes again only when it is forgotten. It keeps
/// a little of every name for ever.
QString newFile(const QByteArray &content)
{
    constexpr int names = 1000;
    static int number = 0;
    return written(QString::number(++number % names), content);
}

QSettings &templateSettings()
{
    static QSettings settings(
        written(QStringLiteral("template"), "[Base]\nDbHost=a,b\nDbPassword=\"x;y\"\nOnlyHere=1\n[Other]\nKey=value\n"),
        QSettings::IniFormat);
    return settings;
}

/// QSettings finds keys of other forms in a file, but nobody can ask for them.
bool isUsable(const QString &key)
{
    return !key.isEmpty() && !key.startsWith(u'/') && !key.endsWith(u'/') && !key.contains(QLatin1String("//"));
}

QHash<QString, QString> textsOf(const QSettings &settings)
{
    QHash<QString, QString> texts;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys) {
        // Half a pair of UTF-16 is no text that a file could hold.
        if (isUsable(key) && key == QString::fromUtf8(key.toUtf8()))
            texts.insert(key, QString::fromUtf8(settingText(settings, key, QString()).toUtf8()));
    }
    return texts;
}

/// A value with a type of its own ("@Variant(...)") is none that the service has, and its text may differ each time.
bool holdsTypedValue(const QByteArray &content)
{
    return content.contains('@');
}

void checkRebuilding(const QString &path)
{
    QHash<QString, QString> before;
    {
        QSettings settings(path, QSettings::IniFormat);
        settings.setFallbacksEnabled(false);
        if (settings.status() != QSettings::NoError)
            return;
        // QSettings may write a key of such a form under the name of another.
        const QStringList keys = settings.allKeys();
        if (!std::all_of(keys.begin(), keys.end(), isUsable))
            return;
        before = textsOf(settings);
        rebuildSettingsByTemplate(settings, templateSettings());
    }
    const QSettings settings(path, QSettings::IniFormat);
    const QHash<QString, QString> after = textsOf(settings);
    for (auto text = before.begin(); text != before.end(); ++text)
        FUZZ_CHECK(after.value(text.key()) == text.value());
    const QHash<QString, QString> filled = textsOf(templateSettings());
    for (auto text = filled.begin(); text != filled.end(); ++text)
        FUZZ_CHECK(before.contains(text.key()) || after.value(text.key()) == text.value());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    // QSettings complains of keys that are none, often.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray content = fuzz::bytesOf(data, size);
    const QString path = newFile(content);
    {
        const QSettings settings(path, QSettings::IniFormat);
        const QHash<QString, QString> uncut = unquotedValues(settings);
        for (auto value = uncut.begin(); value != uncut.end(); ++value)
            FUZZ_CHECK(settingText(settings, value.key(), QStringLiteral("none")) == value.value());
        (void)bus::socketModeNamed(settingText(settings, QStringLiteral("Base/SocketMode"), QString()));
        (void)settings.value(QStringLiteral("Base/Log"), QStringLiteral("0")).toInt();
    }
    if (!holdsTypedValue(content))
        checkRebuilding(path);
    QFile::remove(path);
    return 0;
}

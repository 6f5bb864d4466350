#include "keystone/settings_files.h"

#include "keystone/settings_text.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>

QString getIniNameDefault(bool forTemplate)
{
    const QFileInfo program(QCoreApplication::applicationFilePath());
    QString name = program.dir().filePath(program.baseName() + QStringLiteral(".ini"));
    if (!QFileInfo::exists(name))
        name = QStringLiteral("/etc/objects_server/%1.ini").arg(program.baseName());
    if (forTemplate)
        name.replace(name.size() - 4, 4, QStringLiteral(".template.ini"));
    return name;
}

void rebuildSettingsByTemplate(QSettings &settings, QSettings &settingsTemplate)
{
    const QStringList templateKeys = settingsTemplate.allKeys();
    QStringList missing;
    for (const QString &key : templateKeys) {
        if (!settings.contains(key))
            missing.append(key);
    }
    if (missing.isEmpty())
        return;
    // The file is about to be written anew: values that QSettings takes apart must stay whole in it.
    const QHash<QString, QString> uncut = unquotedValues(settings);
    for (auto value = uncut.begin(); value != uncut.end(); ++value)
        settings.setValue(value.key(), value.value());
    for (const QString &key : std::as_const(missing))
        settings.setValue(key, settingText(settingsTemplate, key, QString()));
}

#include "keystone/database.h"

#include "keystone/settings_text.h"

#include <QSettings>
#include <QSqlDatabase>
#include <QStringList>

#include <pwd.h>
#include <unistd.h>

namespace {

QString processUserName()
{
    const passwd *user = getpwuid(geteuid());
    return user ? QString::fromLocal8Bit(user->pw_name) : QString();
}

/// A list as people write it, "a, b", in the form that libpq takes.
QString withoutBlanks(const QString &list)
{
    QStringList parts = list.split(QLatin1Char(','));
    for (QString &part : parts)
        part = part.trimmed();
    return parts.join(QLatin1Char(','));
}

bool setsOption(const QString &options, const QString &name)
{
    const QStringList pairs = options.split(QLatin1Char(';'));
    for (const QString &pair : pairs) {
        if (pair.section(QLatin1Char('='), 0, 0).trimmed() == name)
            return true;
    }
    return false;
}

/// The options come last in the connection text, where a later value of a key replaces an earlier one: so a list of
/// ports goes there, since QtSql itself knows only a single port.
QString connectOptions(const QString &ports, const QString &options)
{
    QStringList all;
    if (ports.contains(QLatin1Char(',')))
        all.append(QStringLiteral("port='%1'").arg(ports));
    // The driver asks for this by a statement of its own, which a reset of the session would undo.
    all.append(QStringLiteral("client_encoding=UTF8"));
    if (!setsOption(options, QStringLiteral("connect_timeout")))
        all.append(QStringLiteral("connect_timeout=%1").arg(kConnectTimeoutSeconds));
    if (!options.isEmpty())
        all.append(options);
    return all.join(QLatin1Char(';'));
}

} // namespace

QSqlError openDataBaseBySettings(QString &connectionName, QSettings &settings, const QString &group, const QString &)
{
    const auto text = [&](const char *key, const char *fallback) {
        const QString value = settingText(settings, group + QLatin1Char('/') + QLatin1String(key), QString());
        return value.isEmpty() ? QString::fromLatin1(fallback) : value;
    };
    if (QSqlDatabase::contains(connectionName))
        QSqlDatabase::removeDatabase(connectionName);

    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connectionName);
    const QString ports = withoutBlanks(text("DbPort", "5432"));
    if (!ports.contains(QLatin1Char(',')))
        db.setPort(ports.toInt());
    const QString user = text("DbUser", "");
    db.setHostName(withoutBlanks(text("DbHost", "")));
    db.setDatabaseName(text("DbName", "objects"));
    db.setUserName(user.isEmpty() ? processUserName() : user);
    db.setPassword(text("DbPassword", ""));
    db.setConnectOptions(connectOptions(ports, text("DbOptions", "")));
    return db.open() ? QSqlError() : db.lastError();
}

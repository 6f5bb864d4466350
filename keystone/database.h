#pragma once

#include <QSqlError>
#include <QString>

class QSettings;

/// Adds and opens the QtSql connection `connectionName` to the PostgreSQL database that `group` of `settings`
/// describes.
///
/// Keys: DbHost (host, several separated by commas, or the folder of a Unix socket), DbPort (one, or one per host),
/// DbName, DbUser, DbPassword, DbOptions (further options of libpq, key=value separated by ";"). An earlier connection
/// of the same name is replaced. A connection attempt ends after kConnectTimeoutSeconds a host unless DbOptions says
/// otherwise. `title` names the database in messages of the caller and is not used here.
///
/// Returns an invalid error on success, else the server's or the client library's reason. The connection stays known
/// under its name either way, so that it can be opened later.
[[nodiscard]] QSqlError openDataBaseBySettings(QString &connectionName, QSettings &settings, const QString &group,
                                               const QString &title);

inline constexpr int kConnectTimeoutSeconds = 3;

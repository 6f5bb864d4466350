#include "keystone/user_names.h"

#include <QSqlQuery>
#include <QVariant>

QString userNameByID(unsigned int id, const QSqlDatabase &db, QSqlError *error)
{
    QSqlQuery query(db);
    const bool done = query.exec(QStringLiteral(R"(SELECT "Login" FROM "Connections" WHERE "Id" = %1)").arg(id));
    if (error) {
        *error = query.lastError();
        // On a closed connection the driver refuses without an error of its own.
        if (!done && !error->isValid())
            *error = QSqlError(QStringLiteral("the database is not open"), QString(), QSqlError::ConnectionError);
    }
    return done && query.next() ? query.value(0).toString() : QString();
}

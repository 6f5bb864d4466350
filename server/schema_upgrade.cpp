#include "server/schema_upgrade.h"

#include "keystone/log.h"

#include <QDebug>
#include <QSqlError>
#include <QSqlQuery>

namespace server {

namespace {

constexpr const char *kSelectEmail =
    "SELECT Column_Name  FROM INFORMATION_SCHEMA.COLUMNS  WHERE Table_Name='Connections' and Column_Name='Email' ";
constexpr const char *kAddEmail = R"(ALTER TABLE "Connections" ADD COLUMN "Email" character varying(150))";
constexpr const char *kSelectPhone =
    "SELECT Column_Name  FROM INFORMATION_SCHEMA.COLUMNS  WHERE Table_Name='Connections' and Column_Name='Phone' ";
constexpr const char *kAddPhone = R"(ALTER TABLE "Connections" ADD COLUMN "Phone" character varying(10))";

void tellError(const QSqlQuery &query)
{
    const QString error = query.lastError().text();
    qDebug().noquote() << error;
    logMessage(error);
}

/// Adds a column where `select` does not find it, also when that question itself failed: the attempt then says why not.
/// False when either failed; the last query text goes to the debug output where `withText` says so.
bool addColumn(QSqlQuery &query, const char *select, const char *alter, bool withText)
{
    const bool asked = query.prepare(QLatin1String(select)) && query.exec();
    if (!asked)
        tellError(query);
    if (query.next() || query.exec(QLatin1String(alter)))
        return asked;
    if (withText)
        qDebug().noquote() << query.lastQuery();
    tellError(query);
    return false;
}

} // namespace

bool upgradeConnections(const QSqlDatabase &db)
{
    QSqlQuery query(db);
    const bool email = addColumn(query, kSelectEmail, kAddEmail, false);
    // Only here the statement is told with its error.
    const bool phone = addColumn(query, kSelectPhone, kAddPhone, true);
    return email && phone;
}

} // namespace server

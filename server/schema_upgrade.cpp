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

/// Also false when the question itself failed: the column is then added, or the attempt says why not.
bool columnExists(QSqlQuery &query, const char *select)
{
    if (!query.prepare(QLatin1String(select)) || !query.exec())
        tellError(query);
    return query.next();
}

} // namespace

void upgradeConnections(const QSqlDatabase &db)
{
    QSqlQuery query(db);
    if (!columnExists(query, kSelectEmail) && !query.exec(QLatin1String(kAddEmail)))
        tellError(query);
    if (!columnExists(query, kSelectPhone) && !query.exec(QLatin1String(kAddPhone))) {
        // Only here the statement is told with its error, and only to the debug output.
        qDebug().noquote() << query.lastQuery();
        tellError(query);
    }
}

} // namespace server

#include "templates/template_table.h"

namespace templates {

namespace {

/// The text for this table, with the number as its only placeholder.
QByteArray inTable(QByteArray statement, const QString &table)
{
    return statement.replace("%0", table.toLatin1()).replace("%1", "%0");
}

} // namespace

TemplatePlace TemplatePlace::of(qint32 number)
{
    if (number < 0)
        return {QStringLiteral("TemplatesFirm"), -qint64(number)};
    return {QStringLiteral("Templates"), number};
}

database::Result TemplatePlace::query(database::Connection &db, const char *statement) const
{
    return db.query(inTable(statement, table), {database::Value::bigInteger(number)});
}

void TemplatePlace::post(database::Connection &db, const char *statement) const
{
    db.post(inTable(statement, table), {database::Value::bigInteger(number)});
}

QString TemplatePlace::fill(const char *statement) const
{
    return QString::fromLatin1(statement).arg(table, QString::number(number));
}

} // namespace templates

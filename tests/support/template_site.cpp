#include "template_site.h"

namespace support {

namespace {

QString literal(const QString &value)
{
    return value.isNull() ? QStringLiteral("NULL") : "'" + QString(value).replace('\'', "''") + "'";
}

QString literal(const QByteArray &value)
{
    return value.isNull() ? QStringLiteral("NULL") : "'\\x" + QString::fromLatin1(value.toHex()) + "'";
}

QString orNull(const QString &value)
{
    return value.isNull() ? QStringLiteral("NULL") : value;
}

} // namespace

QString said(const TemplateRow &row)
{
    const QString data = row.data.isNull() ? QString() : "\\x" + QString::fromLatin1(row.data.toHex());
    return QStringList{QString::number(row.owner), QString(QChar::fromLatin1(row.kind)), orNull(row.name),
                       orNull(row.description), orNull(data)}
        .join('|');
}

void TemplateSite::beginFunction()
{
    RegistrySite::beginFunction();
    for (const QString &table : {kOwn, kSupplied})
        database->run("DELETE FROM \"" + table + "\"");
    for (const char *table : {"Templates", "Objects", "Objects_property", "Sensors", "Commands", "Params"})
        database->run(
            QStringLiteral("SELECT setval(pg_get_serial_sequence('\"%1\"', 'Id'), 999)").arg(QLatin1String(table)));
}

void TemplateSite::give(const QString &table, int id, const TemplateRow &row)
{
    database->run(QStringLiteral("INSERT INTO \"%1\" (\"Id\",\"Owner\",\"Class\",\"Name\",\"Description\","
                                 "\"SpecificData\") VALUES (%2,%3,'%4',%5,%6,%7)")
                      .arg(table, QString::number(id), QString::number(row.owner), QString(QChar::fromLatin1(row.kind)),
                           literal(row.name), literal(row.description), literal(row.data)));
}

QStringList TemplateSite::stored(const QString &table, const QString &condition)
{
    return database->rows(
        QStringLiteral("SELECT \"Owner\", \"Class\", \"Name\", \"Description\", \"SpecificData\" FROM "
                       "\"%1\" WHERE %2 ORDER BY \"Id\"")
            .arg(table, condition));
}

QStringList TemplateSite::written(const QString &table)
{
    return database->rows(
        QStringLiteral("SELECT r.ctid::text AS place, r.xmin::text AS version, r.* FROM \"%1\" r ORDER BY r.\"Id\"")
            .arg(table));
}

QStringList TemplateSite::commandNames(int owner)
{
    return database->rows(QStringLiteral("SELECT coalesce(c.\"Name\", 'NULL') || coalesce((SELECT string_agg(' ' || "
                                         "coalesce(p.\"Name\", 'NULL'), '' ORDER BY p.\"Id\") FROM \"Templates\" p "
                                         "WHERE p.\"Class\" = 'd' AND p.\"Owner\" = c.\"Id\"), '') "
                                         "FROM \"Templates\" c WHERE c.\"Class\" = 'c' AND c.\"Owner\" = %1 "
                                         "ORDER BY c.\"Id\"")
                              .arg(owner));
}

QString TemplateSite::count(const QString &table, const QString &condition)
{
    return database->value(QStringLiteral("SELECT count(*) FROM \"%1\" WHERE %2").arg(table, condition)).toString();
}

} // namespace support

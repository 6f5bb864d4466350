#include "registry/card_rows.h"

#include "records/record_rows.h"

namespace registry {

using database::Value;

namespace {

constexpr const char *kInsertProperty =
    R"(INSERT INTO "Objects_property" ("Id_objects","Name","Description","Type","Value","Visible") VALUES (?,?,?,?,?,?))";
constexpr const char *kUpdateValue = R"(UPDATE "Objects_property" SET "Value"=? WHERE "Id_objects"=? AND "Name"=?)";

} // namespace

bool insertProperty(database::Connection &db, qint32 object, const CardsProperty &property)
{
    return db.query(QLatin1String(kInsertProperty), records::bind(object, property)).ok();
}

bool updatePropertyValue(database::Connection &db, qint32 object, const QString &name, const QByteArray &value)
{
    return db.query(QLatin1String(kUpdateValue), {Value::bytes(value), Value::integer(object), Value::text(name)}).ok();
}

} // namespace registry

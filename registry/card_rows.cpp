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
    return db.query(kInsertProperty, records::bind(object, property)).ok();
}

void postProperty(database::Connection &db, qint32 object, const CardsProperty &property)
{
    db.post(kInsertProperty, records::bind(object, property));
}

void postPropertyValue(database::Connection &db, qint32 object, const QString &name, const QByteArray &value)
{
    db.post(kUpdateValue, {Value::bytes(value), Value::integer(object), Value::text(name)});
}

} // namespace registry

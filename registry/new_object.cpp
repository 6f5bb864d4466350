#include "registry/new_object.h"

#include <QUuid>

namespace registry {

namespace {

constexpr const char *kInsertObject =
    R"(INSERT INTO "Objects" ("Id", "Id_owner", "Id_shema_sensors", "guid") VALUES (DEFAULT, 0, 1, ?) RETURNING "Id";)";

} // namespace

std::optional<qint32> insertObject(database::Connection &db)
{
    const auto rows = db.query(kInsertObject, {database::Value::text(QUuid::createUuid().toString())});
    if (rows.rowCount() == 0)
        return std::nullopt;
    return rows.integer(0, 0);
}

} // namespace registry

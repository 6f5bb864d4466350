#include "database/user_names.h"

using database::Value;

namespace {

constexpr const char *kSelectLogin = R"(SELECT "Login" FROM "Connections" WHERE "Id" = ?)";

} // namespace

QString userNameByID(unsigned int id, database::Connection &db)
{
    // Callers without an account have negative numbers, which are in no row in this form.
    const auto rows = db.query(kSelectLogin, {Value::bigInteger(id)});
    return rows.rowCount() > 0 ? rows.text(0, 0) : QString();
}

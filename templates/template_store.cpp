#include "templates/template_store.h"

#include "registry/command_call.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectList =
    R"(SELECT -"Owner", "Description", 0 a, "Owner" b FROM "TemplatesFirm" WHERE "Class" = 't' UNION SELECT  "Owner", "Description", 1 a, "Owner" b FROM "Templates" WHERE "Class" = 't' ORDER BY a, b; )";
constexpr const char *kInsertHead =
    R"(INSERT INTO "Templates" ("Owner", "Class", "Description") VALUES ((select coalesce(max("Owner"), 0)+1 from "Templates" where "Class"='t'), 't', ?); )";
constexpr const char *kInsertHeadOfCopy =
    R"(INSERT INTO "Templates" ("Id", "Owner", "Class", "Description") VALUES (DEFAULT, (select coalesce(max("Owner"), 0)+1 from "Templates" where "Class"='t'), 't', ?) RETURNING "Owner"; )";
constexpr const char *kRename = R"(UPDATE "Templates" SET "Description"=? WHERE "Owner"=? AND "Class"='t' )";
constexpr const char *kDelete =
    R"(DELETE FROM "Templates" WHERE "Class"='d' AND "Owner" IN (SELECT "Id" FROM "Templates" WHERE "Class"='c' AND "Owner" = %0); DELETE FROM "Templates" WHERE "Class"<>'d' AND "Owner" = %0 ;)";

} // namespace

void getTemplateListV2(CommandCall &call)
{
    const auto rows = call.db.query(kSelectList);
    call.out << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row)
        call.out << rows.integer(row, 0) << rows.view(row, 1);
}

void fixTemplateDescV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    if (number < 0) {
        (void)call.db.script(QString::fromLatin1(kDelete).arg(-qint64(number)));
        return;
    }
    const Value title = Value::text(QString::fromUtf8(call.in.read<QByteArray>()));
    if (number == 0)
        call.db.post(kInsertHead, {title});
    else
        call.db.post(kRename, {title, Value::integer(number)});
}

std::optional<qint32> insertTemplate(database::Connection &db, const QString &title)
{
    const auto rows = db.query(kInsertHeadOfCopy, {Value::text(title)});
    if (rows.rowCount() == 0)
        return std::nullopt;
    return rows.integer(0, 0);
}

} // namespace templates

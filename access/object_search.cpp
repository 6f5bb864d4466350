#include "access/object_search.h"

#include "access/working_adm_commands.h"
#include "registry/command_call.h"
#include "registry/spliced_text.h"

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSearchAll =
    R"(SELECT "Id_objects", "Value" FROM "Objects_property", "Person_Setup" WHERE "Name" LIKE 'name' AND "Value" != '' AND "Id_connect"=$1 AND "Id_objects"="Id_object" AND "Person_Setup"."Type"=1 GROUP BY "Id_objects", "Value" ORDER BY "Id_objects";)";
constexpr const char *kSearchTextBegin =
    R"(SELECT ob."Id_objects", n.modem_name, ob."Value", ob."Description", ob."Name" FROM "Objects_property" as ob, "Person_Setup" INNER JOIN ( SELECT "Value" as modem_name, "Id_objects" FROM "Objects_property" WHERE "Name" LIKE 'name' ) as n on "Id_objects"="Id_object" WHERE ob."Value" LIKE '%)";
constexpr const char *kSearchTextEnd =
    R"(%' AND ob."Name" NOT IN('pic','font_color','background_color') AND ob."Value" != '' AND "Id_connect"=$1 AND ob."Id_objects"="Id_object" AND "Person_Setup"."Type"=1 GROUP BY ob."Id_objects", ob."Value", ob."Description", n.modem_name, ob."Name" ORDER BY ob."Id_objects";)";
constexpr const char *kByCondition = R"(SELECT "Id_objects" FROM "Objects_property" WHERE )";
constexpr const char *kAnyTextProperty = R"(( "Type" = 10 or "Type" = 2 ) and "Value" LIKE '%0')";
constexpr const char *kNamedProperty = R"("Name" = '%1' AND "Value" LIKE '%0')";

QList<qint32> firstColumn(const database::Result &rows)
{
    QList<qint32> numbers;
    const int column = rows.columnCount() > 0 ? 0 : -1;
    for (int row = 0; row < rows.rowCount(); ++row)
        numbers.append(rows.integer(row, column));
    return numbers;
}

} // namespace

void WorkingAdmCommands::AdvancedSearch(int idConnect, database::Connection &db, registry::RequestReader &in,
                                        keystone::ByteWriter &out)
{
    // The text is spliced in as it is: its quotes and wildcards work.
    const auto text = in.read<QString>();
    const QString statement = text.isEmpty() ? QString::fromLatin1(kSearchAll)
                                             : QLatin1String(kSearchTextBegin) + text + QLatin1String(kSearchTextEnd);
    const auto rows = db.queryOnce(statement, {Value::integer(idConnect)});
    const QString reason = db.lastError().text();
    if (text.contains(QLatin1Char('\'')))
        db.resetSession();
    if (!rows.ok()) {
        out << false << reason;
        return;
    }
    out << true << rows.size();
    // The search for all has two columns; the other three are then empty.
    const auto column = [&](int number) { return number < rows.columnCount() ? number : -1; };
    for (int row = 0; row < rows.rowCount(); ++row) {
        out << rows.integer(row, column(0)) << rows.view(row, column(1)) << rows.view(row, column(2))
            << rows.utf8(row, column(3)) << rows.view(row, column(4));
    }
}

namespace operators {

void advancedSearch(CommandCall &call)
{
    WorkingAdmCommands::AdvancedSearch(call.caller(), call.db, call.in, call.out);
}

void getObjsByConditionV2(CommandCall &call)
{
    const auto pattern = call.in.read<QString>();
    const auto name = call.in.read<QString>();
    if (pattern.isEmpty()) {
        call.out << QList<qint32>();
        return;
    }
    const QString condition = name.isEmpty() ? QString::fromLatin1(kAnyTextProperty).arg(pattern)
                                             : QString::fromLatin1(kNamedProperty).arg(pattern, name);
    call.out << firstColumn(registry::runSpliced(call.db, QLatin1String(kByCondition) + condition, pattern + name));
}

void getObjsByQueryV2(CommandCall &call)
{
    call.out << firstColumn(call.db.foreignScript(call.in.read<QString>()));
}

} // namespace operators

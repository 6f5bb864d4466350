#include "templates/template_card.h"

#include "records/record_rows.h"
#include "templates/template_records.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectCard =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='p' AND "Name" NOT IN ('name', 'subdivision', 'modem') ORDER BY "Id" )";
constexpr const char *kDeleteCard = R"(DELETE FROM "%0" WHERE "Owner" = %1 AND "Class"='p')";
constexpr const char *kInsertProperty =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES (?,'p',?,?,?))";

CardsProperty propertyFromRow(const database::Result &rows, int row)
{
    CardsProperty property;
    property.id = rows.integer(row, 3);
    property.name = rows.text(row, 0);
    property.description = rows.text(row, 1);
    records::unpack(rows.view(row, 2), property);
    return property;
}

} // namespace

void readCard(database::Connection &db, qint32 number, const NumberSink &emitNumber,
              const std::function<void(const CardsProperty &)> &emitProperty)
{
    readRecords<CardsProperty>(db, number, kSelectCard, emitNumber, propertyFromRow, emitProperty);
}

void postTemplateProperty(database::Connection &db, qint32 number, const CardsProperty &property)
{
    db.post(kInsertProperty, {Value::integer(number), Value::text(property.name), Value::text(property.description),
                              Value::bytes(records::pack(property))});
}

void getTemplateCardV2(CommandCall &call)
{
    const auto write = [&call](const auto &value) { call.out << value; };
    readCard(call.db, call.in.read<qint32>(), write, write);
}

void saveTemplateCardV2(CommandCall &call)
{
    saveRecords<CardsProperty>(call, kDeleteCard, postTemplateProperty);
}

} // namespace templates

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

/// The columns of kSelectCard.
enum Column { Name, Description, Data, Id };

CardsProperty propertyFromRow(const database::Result &rows, int row)
{
    CardsProperty property;
    property.id = rows.integer(row, Id);
    property.name = rows.text(row, Name);
    property.description = rows.text(row, Description);
    records::unpack(rows.view(row, Data), property);
    return property;
}

void writePropertyOfRow(keystone::ByteWriter &out, const database::Result &rows, int row)
{
    records::writeProperty(out, rows.integer(row, Id), rows.utf8(row, Name), rows.utf8(row, Description),
                           rows.view(row, Data));
}

} // namespace

void readCard(database::Connection &db, qint32 number, const std::function<void(const CardsProperty &)> &emitProperty)
{
    readRecords<CardsProperty>(db, number, kSelectCard, propertyFromRow, emitProperty);
}

void postTemplateProperty(database::Connection &db, qint32 number, const CardsProperty &property)
{
    db.post(kInsertProperty, {Value::integer(number), Value::text(property.name), Value::text(property.description),
                              Value::bytes(records::pack(property))});
}

void getTemplateCardV2(CommandCall &call)
{
    writeRecords(call, kSelectCard, writePropertyOfRow);
}

void saveTemplateCardV2(CommandCall &call)
{
    saveRecords<CardsProperty>(call, kDeleteCard, postTemplateProperty);
}

} // namespace templates

#include "templates/template_card.h"

#include "records/record_rows.h"
#include "registry/command_call.h"
#include "templates/template_table.h"

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectCard =
    R"(SELECT "Name", "Description", "SpecificData", "Id" FROM "%0" WHERE "Owner" = %1 AND "Class"='p' AND "Name" NOT IN ('name', 'subdivision', 'modem') ORDER BY "Id" )";
constexpr const char *kDeleteCard = R"(DELETE FROM "%0" WHERE "Owner" = %1 AND "Class"='p')";
constexpr const char *kInsertProperty =
    R"(INSERT INTO "Templates" ("Owner","Class","Name","Description","SpecificData") VALUES (?,'p',?,?,?))";

} // namespace

void readCard(database::Connection &db, qint32 number, const NumberSink &emitNumber,
              const std::function<void(const CardsProperty &)> &emitProperty)
{
    const auto place = TemplatePlace::of(number);
    const auto rows = place.query(db, kSelectCard);
    if (emitNumber) {
        emitNumber(static_cast<qint32>(place.number));
        emitNumber(rows.size());
    }
    for (int row = 0; row < rows.rowCount(); ++row) {
        CardsProperty property;
        property.id = rows.integer(row, 3);
        property.name = rows.text(row, 0);
        property.description = rows.text(row, 1);
        records::unpack(rows.bytes(row, 2), property);
        emitProperty(property);
    }
}

void postTemplateProperty(database::Connection &db, qint32 number, const CardsProperty &property)
{
    db.post(kInsertProperty, {Value::integer(number), Value::text(property.name), Value::text(property.description),
                              Value::bytes(records::pack(property))});
}

void getTemplateCardV2(CommandCall &call)
{
    readCard(
        call.db, call.in.read<qint32>(), [&](qint32 value) { call.out << value; },
        [&](const CardsProperty &property) { call.out << property; });
}

void saveTemplateCardV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    if (number < 0)
        return;
    const auto count = call.in.recordCount();
    if (!count)
        return;
    TemplatePlace::of(number).post(call.db, kDeleteCard);
    for (qint32 i = 0; i < *count; ++i)
        postTemplateProperty(call.db, number, call.in.read<CardsProperty>());
}

} // namespace templates

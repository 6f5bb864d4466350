#include "registry/object_cards.h"

#include "records/record_rows.h"
#include "registry/card_rows.h"
#include "registry/command_call.h"
#include "registry/number_list.h"
#include "registry/spliced_text.h"

#include <QMap>

#include <algorithm>

namespace registry {

using database::Value;

namespace {

constexpr const char *kSelectCard = R"( SELECT * FROM "Objects_property" where "Id_objects" = %0 order by "Id" )";
constexpr const char *kDeleteCard = R"(DELETE FROM "Objects_property" where "Id_objects" = %0)";
constexpr const char *kDeleteProperty =
    R"(DELETE FROM "Objects_property" WHERE "Id_objects" IN (%1) AND "Name" = '%2')";

/// A key and the shortest property: id, two texts, type, value, visibility.
constexpr int kMinMapEntryBytes = 4 + 4 + 4 + 4 + 4 + 4 + 2;

database::Statement selectCard(qint32 object)
{
    return {kSelectCard, {Value::integer(object)}};
}

/// Replaces the property on each object; an object whose insert fails is announced like the others.
void setOnObjects(CommandCall &call, const QList<qint32> &objects, const CardsProperty &property)
{
    constexpr qsizetype kAtOnce = 50;
    for (qsizetype first = 0; first < objects.size(); first += kAtOnce) {
        const QList<qint32> some = objects.sliced(first, std::min(kAtOnce, objects.size() - first));
        for (const qint32 object : some)
            postProperty(call.db, object, property);
        for (const qint32 object : some)
            call.announceSavedCard(object);
    }
}

} // namespace

QList<database::Statement> cardReads(RequestReader &in, int)
{
    return {selectCard(in.read<qint32>())};
}

void getObjectCardV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto rows = call.db.query(selectCard(object));
    const records::CardRows card(rows);
    call.out << object << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row)
        card.write(call.out, row);
}

void saveObjectCardV2(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto count = call.in.recordCount();
    if (!count)
        return;
    // Nothing stops the save: a failed delete or insert leaves the other rows to be written.
    call.db.post(kDeleteCard, {Value::integer(object)});
    for (qint32 i = 0; i < *count; ++i)
        postProperty(call.db, object, call.in.read<CardsProperty>());
    call.announceSavedCard(object);
    call.logEvent(QStringLiteral("User '%1' save card with id=%2").arg(call.callerName(), QString::number(object)));
}

void updateObjectCardField(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto properties = call.in.readContainer<QMap<int, CardsProperty>>(kMinMapEntryBytes);
    // One field a command: of several the one with the smallest key.
    if (!properties.isEmpty())
        postPropertyValue(call.db, object, properties.first().name, properties.first().value);
    // Asked for here, the name travels with the change.
    const QString caller = call.callerName();
    if (!properties.isEmpty())
        call.announceSavedCard(object);
    call.logEvent(QStringLiteral("User '%1' update card with id=%2").arg(caller, QString::number(object)));
}

void fixPropertyMultiObjsV2(CommandCall &call)
{
    const bool set = call.in.read<bool>();
    const auto objects = call.in.readContainer<QList<qint32>>(sizeof(qint32));
    CardsProperty property;
    if (set)
        property = call.in.read<CardsProperty>();
    else
        property.name = call.in.read<QString>();

    const QString list = numberListText(objects);
    if (!objects.isEmpty()) {
        // The name is pasted as it is: a quote in it breaks the statement, and then nothing is inserted.
        const bool deleted =
            runSpliced(call.db, QString::fromLatin1(kDeleteProperty).arg(list, property.name), property.name).ok();
        if (deleted && set)
            setOnObjects(call, objects, property);
    }
    // Removing is logged but not announced, unlike setting.
    call.logEvent(QStringLiteral("User '%1' save cards with id=%2").arg(call.callerName(), list));
}

} // namespace registry

#include "registry/object_lifecycle.h"

#include "registry/card_rows.h"
#include "registry/command_call.h"
#include "registry/new_object.h"

namespace registry {

namespace {

constexpr const char *kDeleteObject =
    R"(DELETE FROM "Objects" WHERE "Id" = %0 ;DELETE FROM "Objects_property" WHERE "Id_objects" = %0 ;DELETE FROM "Groups_objects" WHERE "Id_object" = %0 ;DELETE FROM "Commands" WHERE "Id_object" = %0 ;DELETE FROM "Sensors" WHERE "Id_objects" = %0 ;DELETE FROM "Objects_permission" WHERE "Id_object" = %0 ;DELETE FROM "Person_Setup" WHERE "Type"=1 AND "Id_object" = %0 ;DELETE FROM archive.lastdata WHERE id_object = %0 ;)";

constexpr qint32 kTextType = 10;

void logDeletion(CommandCall &call, qint64 object)
{
    call.logEvent(QStringLiteral("User '%1' delete card with id=%2").arg(call.callerName(), QString::number(object)));
}

void create(CommandCall &call)
{
    const auto name = call.in.read<QByteArray>();
    const qint32 object = insertObject(call.db).value_or(0);
    if (object != 0)
        postProperty(call.db, object, {-1, QStringLiteral("name"), QStringLiteral("Имя"), kTextType, name, 't'});
    call.logEvent(QStringLiteral("User '%1' create card with id=%2, name=%3")
                      .arg(call.callerName(), QString::number(object), QString::fromUtf8(name)));
    // Readers of the event log know a creation by the deletion of a negative number that follows it.
    logDeletion(call, -qint64(object));
}

void rename(CommandCall &call, qint32 object)
{
    const auto name = call.in.read<QByteArray>();
    postPropertyValue(call.db, object, QStringLiteral("name"), name);
    // Asked for here, the name travels with the change.
    const QString caller = call.callerName();
    call.announceSavedCard(object);
    call.logEvent(QStringLiteral("User '%1' update card with id=%2, name=%3")
                      .arg(caller, QString::number(object), QString::fromUtf8(name)));
}

void remove(CommandCall &call, qint64 object)
{
    (void)call.db.script(QString::fromLatin1(kDeleteObject).arg(object));
    logDeletion(call, object);
}

} // namespace

void fixObjectV2(CommandCall &call)
{
    const auto selector = call.in.read<qint32>();
    if (selector == 0)
        create(call);
    else if (selector > 0)
        rename(call, selector);
    else
        remove(call, -qint64(selector));
}

} // namespace registry

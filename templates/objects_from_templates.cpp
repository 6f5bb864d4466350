#include "templates/objects_from_templates.h"

#include "registry/card_rows.h"
#include "registry/command_call.h"
#include "registry/command_rows.h"
#include "registry/new_object.h"
#include "registry/sensor_rows.h"
#include "templates/template_card.h"
#include "templates/template_controls.h"
#include "templates/template_sensors.h"
#include "templates/template_store.h"

#include <QMap>

namespace templates {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kCountTwins =
    R"(select count(a."Id_objects") from "Objects_property"  a, "Objects_property"  b WHERE (a."Name"='subdivision' AND a."Value"=?) and (b."Name"='modem' AND b."Value"=?) and a."Id_objects" = b."Id_objects" )";

constexpr qint32 kTextType = 10;
constexpr int kMinMapEntryBytes = 2 * sizeof(quint32);

/// The whole reply of both commands.
enum class Outcome : qint32 { Done = 0, IdentityMissing = 1, StatementFailed = 2, TwinExists = 3 };

using Identity = QMap<QString, QString>;

const QString kName = QStringLiteral("name");
const QString kSubdivision = QStringLiteral("subdivision");
const QString kModem = QStringLiteral("modem");

/// An object needs a name and the number of its navigation block, and no other object of its subdivision may have that.
Outcome checkIdentity(database::Connection &db, const Identity &identity)
{
    if (identity.value(kName).isEmpty() || identity.value(kModem).isEmpty())
        return Outcome::IdentityMissing;
    const auto rows = db.query(kCountTwins, {Value::bytes(identity.value(kSubdivision).toUtf8()),
                                             Value::bytes(identity.value(kModem).toUtf8())});
    if (rows.rowCount() == 0)
        return Outcome::StatementFailed;
    return rows.integer(0, 0) > 0 ? Outcome::TwinExists : Outcome::Done;
}

bool insertIdentity(database::Connection &db, qint32 object, const Identity &identity)
{
    const auto insert = [&](const QString &name, const QString &caption) {
        const QString value = identity.value(name);
        return value.isEmpty() ||
               registry::insertProperty(db, object, {-1, name, caption, kTextType, value.toUtf8(), 't'});
    };
    return insert(kName, QStringLiteral("Наименование объекта")) &&
           insert(kSubdivision, QStringLiteral("Подразделение")) &&
           insert(kModem, QStringLiteral("Идентификационный номер навигационного блока"));
}

/// Rows that cannot be written are left out; the others follow. A parameter whose command could not be written goes to
/// the one written last, and nowhere before there is one.
void copyToObject(database::Connection &db, qint32 number, qint32 object)
{
    readCard(db, number, [&](const CardsProperty &property) { registry::postProperty(db, object, property); });
    readSensors(db, number, [&](const SensorInfoX &sensor) { registry::postSensor(db, object, sensor); });
    qint32 key = 0;
    readControls(
        db, number, [&](const CmdDesc &command) { key = registry::insertCommand(db, object, command).value_or(key); },
        [&](const ParamDesc &parameter) {
            if (key != 0)
                registry::postParameter(db, key, parameter);
        });
}

void copyToTemplate(database::Connection &db, qint32 number, qint32 copy)
{
    readCard(db, number, [&](const CardsProperty &property) { postTemplateProperty(db, copy, property); });
    readSensors(db, number, [&](const SensorInfoX &sensor) { postTemplateSensor(db, copy, sensor); });
    qint32 key = 0;
    readControls(
        db, number, [&](const CmdDesc &command) { key = insertTemplateCommand(db, copy, command).value_or(key); },
        [&](const ParamDesc &parameter) {
            if (key != 0)
                postTemplateParameter(db, key, parameter);
        });
}

/// An object that could be written only in part stays, and is not announced.
Outcome createObject(CommandCall &call, qint32 number, const Identity &identity)
{
    const Outcome check = checkIdentity(call.db, identity);
    if (check != Outcome::Done)
        return check;
    const auto object = registry::insertObject(call.db);
    if (!object || !insertIdentity(call.db, *object, identity))
        return Outcome::StatementFailed;
    copyToObject(call.db, number, *object);
    call.announceAfterReply("SavedCard", registry::numberBlock(*object));
    return Outcome::Done;
}

} // namespace

void createObjByTemplateV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    const auto identity = call.in.readContainer<Identity>(kMinMapEntryBytes);
    call.out << static_cast<qint32>(createObject(call, number, identity));
}

void copyTemplateV2(CommandCall &call)
{
    const auto number = call.in.read<qint32>();
    const auto copy = insertTemplate(call.db, call.in.read<QString>());
    if (copy)
        copyToTemplate(call.db, number, *copy);
    call.out << static_cast<qint32>(copy ? Outcome::Done : Outcome::StatementFailed);
}

} // namespace templates

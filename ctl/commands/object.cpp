#include "ctl/arguments.h"
#include "ctl/card_records.h"
#include "ctl/command_records.h"
#include "ctl/commands/commands.h"
#include "ctl/commands/object_from_template.h"
#include "ctl/database_probe.h"
#include "ctl/object_names.h"
#include "ctl/sensor_records.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <QSet>

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

constexpr char kCommand[] = "Fix_object_v2"; ///< its first number: 0 creates, above 0 renames, below 0 deletes

/// The name on the command line; the registry's trees are sorted by names as UTF-8.
Result<QByteArray> readName(const std::string &text)
{
    const QByteArray name = argumentBytes(text);
    if (!name.isEmpty() && !utf8Text(name))
        return Failure{QStringLiteral("the name is not UTF-8 text"), true};
    return name;
}

Outcome createObject(Session &session, const std::string &text)
{
    Result<QByteArray> name = readName(text);
    if (!name)
        return name.failure();
    // Neither an answer nor a notice tells the new number: it is the one that was not there before.
    Result<QList<NamedObject>> before = fetchObjectNames(session);
    if (!before)
        return before.failure();
    QSet<qint32> known;
    for (const NamedObject &object : *before)
        known.insert(object.object);
    QByteArray request;
    keystone::ByteWriter(&request) << qint32(0) << *name;
    if (Outcome failure = session.tell(kCommand, request))
        return failure;
    Result<QList<NamedObject>> after = fetchObjectNames(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    QStringList created;
    for (const NamedObject &object : *after) {
        if (!known.contains(object.object) && object.name == *name)
            created.append(QString::number(object.object));
    }
    if (created.isEmpty())
        return Failure{QStringLiteral("the service did not create the object: its log says why")};
    if (created.size() > 1) {
        return Failure{
            QStringLiteral("the object was created, and others of its name at the same time; one of %1 is it")
                .arg(created.join(QStringLiteral(", ")))};
    }
    session.printLine(session.options().json ? QStringLiteral("{\"object\": %1}").arg(created.first())
                                             : QStringLiteral("object %1 created").arg(created.first()));
    return std::nullopt;
}

Outcome renameObject(Session &session, qint32 object, const std::string &text)
{
    Result<QByteArray> name = readName(text);
    if (!name)
        return name.failure();
    QByteArray request;
    keystone::ByteWriter(&request) << object << *name;
    if (Outcome failure = session.tell(kCommand, request))
        return failure;
    Result<Card> card = fetchCard(session, object);
    if (!card)
        return Session::unconfirmed(card.failure());
    const auto isName = [](const CardsProperty &property) { return property.name == u"name"; };
    if (std::none_of(card->cbegin(), card->cend(), isName)) {
        return Failure{QStringLiteral("there is no object %1, or its card has no property \"name\" (\"card fix set\" "
                                      "adds one)")
                           .arg(object)};
    }
    const auto isOther = [&](const CardsProperty &property) { return isName(property) && property.value != *name; };
    if (std::any_of(card->cbegin(), card->cend(), isOther))
        return Failure{QStringLiteral("the service did not store the name of object %1").arg(object)};
    session.confirm(
        QStringLiteral("object %1 is now called \"%2\"").arg(QString::number(object), bytesForPeople(*name)));
    return std::nullopt;
}

/// What is left of an object, in words; empty when nothing is.
Result<QString> remains(Session &session, qint32 object)
{
    Result<Card> card = fetchCard(session, object);
    if (!card)
        return card.failure();
    if (!card->isEmpty())
        return QStringLiteral("a card");
    Result<Sensors> sensors = fetchSensors(session, object);
    if (!sensors)
        return sensors.failure();
    if (!sensors->isEmpty())
        return QStringLiteral("sensors");
    Result<RemoteCommands> commands = fetchCommands(session, object);
    if (!commands)
        return commands.failure();
    return commands->isEmpty() ? QString() : QStringLiteral("commands");
}

Outcome deleteObject(Session &session, qint32 object)
{
    Result<QString> before = remains(session, object);
    if (!before)
        return before.failure();
    QByteArray request;
    keystone::ByteWriter(&request) << qint32(-object);
    if (Outcome failure = session.tell(kCommand, request))
        return failure;
    Result<QString> after = remains(session, object);
    if (!after)
        return Session::unconfirmed(after.failure());
    if (!after->isEmpty())
        return Failure{QStringLiteral("the service did not delete object %1: it still has %2")
                           .arg(QString::number(object), *after)};
    if (Outcome failure = probeDatabase(session))
        return failure;
    if (before->isEmpty()) {
        return Failure{
            QStringLiteral("there was no object %1: nothing was known of it before its deletion was sent").arg(object)};
    }
    session.confirm(QStringLiteral("object %1 deleted").arg(object));
    return std::nullopt;
}

/// One after the other; ends at the first that cannot be deleted.
Outcome deleteObjects(Session &session, const std::vector<qint32> &objects)
{
    for (auto object = objects.begin(); object != objects.end(); ++object) {
        if (std::find(objects.begin(), object, *object) != object)
            return Failure{QStringLiteral("OBJECT: object %1 is given twice").arg(*object), true};
    }
    for (const qint32 object : objects) {
        if (Outcome failure = deleteObject(session, object))
            return failure;
    }
    return std::nullopt;
}

struct ObjectArguments
{
    qint32 object = 0;
    std::vector<qint32> objects;
    std::string name;
    TemplateChoice choice;
};

/// Not 0, which would mean another command.
CLI::Validator existingObject()
{
    return decimal(1, std::numeric_limits<qint32>::max());
}

} // namespace

void registerObject(CLI::App &app, Job &job)
{
    CLI::App *object = app.add_subcommand("object", "Create, rename and delete objects")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<ObjectArguments>();

    CLI::App *create = object->add_subcommand("create", "Create an object and print its number");
    create->add_option("--name", arguments->name, "Name of the object")->required();
    addTemplateOptions(*create, arguments->choice);
    create->callback([arguments, &job] {
        job = [arguments](Session &session) {
            return arguments->choice.number ? createFromTemplate(session, arguments->name, arguments->choice)
                                            : createObject(session, arguments->name);
        };
    });

    CLI::App *rename = object->add_subcommand("rename", "Change the name of an object");
    rename->add_option("OBJECT", arguments->object, "Number of the object")->required()->check(existingObject());
    rename->add_option("NAME", arguments->name, "New name; put -- before one that begins with -")->required();
    rename->callback([arguments, &job] {
        job = [arguments](Session &session) { return renameObject(session, arguments->object, arguments->name); };
    });

    CLI::App *remove = object->add_subcommand("delete", "Delete objects with all that belongs to them");
    remove->add_option("OBJECT", arguments->objects, "Numbers of the objects")->required()->check(existingObject());
    remove->footer(
        "Nothing is asked. The objects go one after the other; the first that does not go ends the command.");
    remove->callback([arguments, &job] {
        job = [arguments](Session &session) { return deleteObjects(session, arguments->objects); };
    });
}

} // namespace ctl

#include "ctl/arguments.h"
#include "ctl/card_records.h"
#include "ctl/commands/commands.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

struct CardFixArguments
{
    std::string objects;
    std::string name;
    std::string description;
    qint32 type = 10; ///< plain text, as an object's own name has it
    std::string value;
    std::string base64;
    std::string visible = "t";
};

/// Reads the cards of all objects and holds the properties called `name` against what was asked for.
template <typename Check>
Outcome checkObjects(Session &session, const QList<qint32> &objects, const QString &name, Check isRight)
{
    for (const qint32 object : objects) {
        Result<Card> card = fetchCard(session, object);
        if (!card)
            return Session::unconfirmed(card.failure());
        Card named;
        std::copy_if(card->cbegin(), card->cend(), std::back_inserter(named),
                     [&name](const CardsProperty &property) { return property.name == name; });
        if (!isRight(named)) {
            return Failure{QStringLiteral("the service did not store the change of \"%1\" on object %2")
                               .arg(printable(name))
                               .arg(object)};
        }
    }
    return std::nullopt;
}

Result<CardsProperty> readProperty(const CardFixArguments &arguments)
{
    CardsProperty property;
    property.name = QString::fromStdString(arguments.name);
    property.description = QString::fromStdString(arguments.description);
    property.type = arguments.type;
    property.visible = qint16(arguments.visible.front());
    Result<QByteArray> value =
        arguments.base64.empty() ? Result(argumentBytes(arguments.value)) : readBase64(arguments.base64);
    if (!value)
        return value.failure();
    property.value = *value;
    return property;
}

Outcome setProperty(Session &session, const CardFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    Result<CardsProperty> property = readProperty(arguments);
    if (!property)
        return property.failure();
    QByteArray request;
    keystone::ByteWriter(&request) << true << *objects << *property;
    if (Outcome failure = session.tell("Fix_property_multi_objs_v2", request))
        return failure;
    const auto isRight = [&property](const Card &named) { return named.size() == 1 && isStored(*property, named[0]); };
    if (Outcome failure = checkObjects(session, *objects, property->name, isRight))
        return failure;
    session.confirm(QStringLiteral("\"%1\" set on %2")
                        .arg(printable(property->name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

Outcome removeProperty(Session &session, const CardFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    const QString name = QString::fromStdString(arguments.name);
    QByteArray request;
    keystone::ByteWriter(&request) << false << *objects << name;
    if (Outcome failure = session.tell("Fix_property_multi_objs_v2", request))
        return failure;
    if (Outcome failure = checkObjects(session, *objects, name, [](const Card &named) { return named.isEmpty(); }))
        return failure;
    session.confirm(
        QStringLiteral("\"%1\" removed from %2").arg(printable(name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

CLI::App *addVerb(CLI::App &fix, const char *verb, const char *description, CardFixArguments &arguments)
{
    CLI::App *command = fix.add_subcommand(verb, description);
    command->add_option("--objects", arguments.objects, "Numbers of the objects, as 3,7,12")->required();
    command->add_option("--name", arguments.name, "Name of the property")->required();
    return command;
}

} // namespace

void registerCardFix(CLI::App &card, Job &job)
{
    CLI::App *fix =
        card.add_subcommand("fix", "Set or remove one property on the cards of many objects")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<CardFixArguments>();

    CLI::App *set = addVerb(*fix, "set", "Add a property, in place of any of its name", *arguments);
    set->add_option("--description", arguments->description, "Caption; empty if not given");
    set->add_option("--type", arguments->type, "Value type code")
        ->check(decimal(std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::max()))
        ->capture_default_str();
    CLI::Option *value = set->add_option("--value", arguments->value, "Value as text; empty if not given");
    set->add_option("--base64", arguments->base64, "Value in base64")->excludes(value);
    set->add_option("--visible", arguments->visible, "t: shown, f: not")
        ->check(CLI::IsMember({"t", "f"}))
        ->capture_default_str();
    set->callback(
        [arguments, &job] { job = [arguments](Session &session) { return setProperty(session, *arguments); }; });

    CLI::App *remove = addVerb(*fix, "remove", "Remove the property", *arguments);
    remove->callback(
        [arguments, &job] { job = [arguments](Session &session) { return removeProperty(session, *arguments); }; });
}

} // namespace ctl

#include "ctl/arguments.h"
#include "ctl/card_records.h"
#include "ctl/commands/commands.h"
#include "ctl/input_file.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <QMap>

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

constexpr char kSaveCardHelp[] =
    "Reads the JSON that \"card show --json\" prints and makes it the whole card, in its order:\n"
    "  {\"object\": 17, \"card\": [{\"id\": 1, \"name\": \"name\", \"description\": \"...\", \"type\": 10,\n"
    "                            \"value\": \"...\", \"visible\": \"t\"}, ...]}\n"
    "  object       must be the OBJECT of the command line; may be left out\n"
    "  id           may be left out; it is ignored, since saved rows get new ones\n"
    "  name, description   a string or null (they differ from the empty string \"\")\n"
    "  type         an integer from -2147483648 to 2147483647\n"
    "  value        null; a string, whose UTF-8 bytes are the value; or {\"base64\": \"...\"} for other bytes\n"
    "  visible      \"t\" or \"f\". In general one character, or its code as a number, and \"\" for the code 0;\n"
    "               the registry keeps its truth value: t T y Y 1 come back as t, f F n N 0 as f, and\n"
    "               \"\" is kept as no value\n"
    "A wrong field is named by its path, and nothing is sent. Afterwards the card is read back and compared.";

Outcome showCard(Session &session, qint32 object)
{
    Result<Card> card = fetchCard(session, object);
    if (!card)
        return card.failure();
    if (session.options().json) {
        session.printLine(cardJson(object, *card));
    } else if (card->isEmpty()) {
        session.printLine(QStringLiteral("object %1 has no properties").arg(object));
    } else {
        session.printLine(
            QStringLiteral("object %1, %2").arg(object).arg(counted(card->size(), "property", "properties")));
        session.out() << cardTable(*card);
    }
    return std::nullopt;
}

/// Nothing when `stored` is what was sent; else a text that names the first difference.
std::optional<QString> difference(const Card &sent, const Card &stored)
{
    for (qsizetype index = 0; index < std::min(sent.size(), stored.size()); ++index) {
        if (!isStored(sent[index], stored[index]))
            return QStringLiteral("card[%1] (\"%2\") as it was sent").arg(index).arg(printable(sent[index].name));
    }
    if (sent.size() == stored.size())
        return std::nullopt;
    return QStringLiteral("the card as it was sent: it has %1 properties instead of %2")
        .arg(stored.size())
        .arg(sent.size());
}

Outcome saveCard(Session &session, qint32 object, const std::string &file)
{
    Result<QByteArray> text = readInput(file);
    if (!text)
        return text.failure();
    Result<Card> card = readCardJson(*text, object);
    if (!card)
        return card.failure();
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << object << qint32(card->size());
    for (const CardsProperty &property : *card)
        out << property;
    if (Outcome failure = session.tell("Save_object_card_v2", request))
        return failure;
    // The service takes commands in order, so that the card is read after it was saved.
    Result<Card> stored = fetchCard(session, object);
    if (!stored)
        return Session::unconfirmed(stored.failure());
    if (const auto what = difference(*card, *stored))
        return Failure{QStringLiteral("the service did not store %1").arg(*what)};
    session.confirm(
        QStringLiteral("object %1: %2 saved").arg(object).arg(counted(card->size(), "property", "properties")));
    return std::nullopt;
}

Outcome setValue(Session &session, qint32 object, const std::string &name, const QByteArray &value)
{
    CardsProperty property;
    property.name = QString::fromStdString(name);
    property.value = value;
    QByteArray request;
    keystone::ByteWriter(&request) << object << QMap<int, CardsProperty>{{0, property}};
    if (Outcome failure = session.tell("Update_object_card_field", request))
        return failure;
    Result<Card> card = fetchCard(session, object);
    if (!card)
        return Session::unconfirmed(card.failure());
    bool found = false;
    for (const CardsProperty &stored : *card) {
        if (stored.name != property.name)
            continue;
        found = true;
        if (stored.value != value)
            return Failure{
                QStringLiteral("the service did not store the value of \"%1\"").arg(printable(property.name))};
    }
    if (!found) {
        return Failure{QStringLiteral("the service did not store the value: object %1 has no property \"%2\" "
                                      "(\"card fix set\" adds one)")
                           .arg(object)
                           .arg(printable(property.name))};
    }
    session.confirm(QStringLiteral("object %1: \"%2\" set").arg(object).arg(printable(property.name)));
    return std::nullopt;
}

struct CardArguments
{
    qint32 object = 0;
    std::string file = "-";
    std::string name;
    std::string value;
    bool base64 = false;
};

CLI::App *addVerb(CLI::App &card, const char *verb, const char *description, CardArguments &arguments)
{
    CLI::App *command = card.add_subcommand(verb, description);
    command->add_option("OBJECT", arguments.object, "Number of the object")->required()->check(objectNumber());
    return command;
}

Outcome runSet(Session &session, const CardArguments &arguments)
{
    Result<QByteArray> value = arguments.base64 ? readBase64(arguments.value) : Result(argumentBytes(arguments.value));
    if (!value)
        return value.failure();
    return setValue(session, arguments.object, arguments.name, *value);
}

} // namespace

void registerCard(CLI::App &app, Job &job)
{
    CLI::App *card = app.add_subcommand("card", "Read and change the cards of objects")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<CardArguments>();

    CLI::App *show = addVerb(*card, "show", "Show the card of an object", *arguments);
    show->callback(
        [arguments, &job] { job = [arguments](Session &session) { return showCard(session, arguments->object); }; });

    CLI::App *save = addVerb(*card, "save", "Replace the whole card of an object", *arguments);
    save->add_option("--file", arguments->file, "File with the card as JSON; - is the standard input")
        ->capture_default_str();
    save->footer(kSaveCardHelp);
    save->callback([arguments, &job] {
        job = [arguments](Session &session) { return saveCard(session, arguments->object, arguments->file); };
    });

    CLI::App *set = addVerb(*card, "set", "Set the value of one property of a card", *arguments);
    set->add_option("NAME", arguments->name, "Name of the property")->required();
    set->add_option("VALUE", arguments->value, "New value; put -- before one that begins with -")->required();
    set->add_flag("--base64", arguments->base64, "VALUE is written in base64");
    set->callback([arguments, &job] { job = [arguments](Session &session) { return runSet(session, *arguments); }; });

    registerCardFix(*card, job);
}

} // namespace ctl

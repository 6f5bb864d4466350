#include "ctl/commands/object_from_template.h"

#include "ctl/arguments.h"
#include "ctl/card_records.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/template_records.h"
#include "ctl/text.h"

#include <QMap>

#include <algorithm>

namespace ctl {
namespace {

/// Properties by which the service knows objects apart, and their values.
using Identity = QMap<QString, QString>;

const QString kName = QStringLiteral("name");
const QString kModem = QStringLiteral("modem");
const QString kSubdivision = QStringLiteral("subdivision");

/// Nothing for the answer that all was done.
Outcome refusal(qint32 code, const Identity &identity)
{
    switch (code) {
    case 0:
        return std::nullopt;
    case 1:
        return Failure{QStringLiteral("the service misses the name or the number of the navigation block")};
    case 2:
        return Failure{QStringLiteral("the service could not write the object: its log says why. A part of it may be "
                                      "in the registry")};
    case 3:
        return Failure{QStringLiteral("there is an object with the navigation block \"%1\" in the subdivision \"%2\"")
                           .arg(printable(identity.value(kModem)), printable(identity.value(kSubdivision)))};
    default:
        return Failure{QStringLiteral("the service answers with an unknown code: %1").arg(code)};
    }
}

bool hasIdentity(const Card &card, const Identity &identity)
{
    const auto isOnCard = [&card](const QString &name, const QString &value) {
        return std::any_of(card.cbegin(), card.cend(), [&](const CardsProperty &property) {
            return property.name == name && property.value == value.toUtf8();
        });
    };
    return std::all_of(identity.keyValueBegin(), identity.keyValueEnd(),
                       [&](const auto &one) { return one.second.isEmpty() || isOnCard(one.first, one.second); });
}

/// The answer does not tell the number, but all clients are told of the new object right after it. Notices of other
/// operators' changes may come in between.
Result<qint32> findCreated(Session &session, const Identity &identity)
{
    const QDeadlineTimer deadline(session.options().timeout());
    Result<HubClient *> client = session.hub();
    if (!client)
        return client.failure();
    while (true) {
        Result<bus::Action> notice = (*client)->nextNotice(deadline);
        if (!notice)
            return Failure{QStringLiteral("the object is created, but its number was not told: ") +
                           notice.failure().message};
        if (notice->action != "ServerMessage" || notice->message != "SavedCard")
            continue;
        ReplyReader in(notice->data);
        const auto object = in.read<qint32>();
        if (in.end())
            continue;
        Result<Card> card = fetchCard(session, object);
        if (!card)
            return Session::unconfirmed(card.failure());
        if (hasIdentity(*card, identity))
            return object;
    }
}

} // namespace

void addTemplateOptions(CLI::App &create, TemplateChoice &choice)
{
    CLI::Option *number = create.add_option("--template", choice.number,
                                            "Template that it is made from; negative for "
                                            "a supplied one");
    number->check(anyNumber());
    CLI::Option *modem =
        create.add_option("--modem", choice.modem, "Number of its navigation block; only with --template");
    CLI::Option *subdivision =
        create.add_option("--subdivision", choice.subdivision, "Its subdivision; only with --template");
    number->needs(modem);
    modem->needs(number);
    subdivision->needs(number);
}

Outcome createFromTemplate(Session &session, const std::string &name, const TemplateChoice &choice)
{
    const Identity identity = {{kName, QString::fromStdString(name)},
                               {kModem, QString::fromStdString(choice.modem)},
                               {kSubdivision, QString::fromStdString(choice.subdivision)}};
    if (identity.value(kName).isEmpty() || identity.value(kModem).isEmpty())
        return Failure{QStringLiteral("--name and --modem must not be empty for an object from a template"), true};
    const qint32 number = choice.number.value_or(0);
    if (Outcome failure = requireTemplate(session, number))
        return failure;
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << number << identity;
    Result<bus::Action> reply = session.ask("Create_obj_by_template_v2", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    ReplyReader in(reply->data);
    const auto code = in.read<qint32>();
    if (Outcome failure = in.end())
        return failure;
    if (Outcome failure = refusal(code, identity))
        return failure;
    Result<qint32> object = findCreated(session, identity);
    if (!object)
        return object.failure();
    if (session.options().json)
        session.printLine(jsonObject({{QStringLiteral("object"), QString::number(*object)}}));
    session.confirm(QStringLiteral("object %1 created from template %2").arg(*object).arg(number));
    return std::nullopt;
}

} // namespace ctl

#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/database_probe.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/template_records.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <memory>

namespace ctl {
namespace {

struct TemplateArguments
{
    qint32 number = 0;
    std::string title;
};

constexpr qint32 kDone = 0; ///< answer of "Copy_template_v2"

Outcome listTemplates(Session &session)
{
    Result<TemplateHeads> templates = fetchTemplates(session);
    if (!templates)
        return templates.failure();
    if (session.options().json)
        session.printLine(templatesJson(*templates));
    else if (templates->isEmpty())
        session.printLine(QStringLiteral("there are no templates"));
    else
        session.out() << templatesTable(*templates);
    return std::nullopt;
}

/// "Fix_template_desc_v2", whose number says what is to be done; a deletion has no title.
Outcome fixTemplate(Session &session, qint32 number, const QByteArray &title)
{
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << number;
    if (number >= 0)
        out << title;
    Result<bus::Action> reply = session.ask("Fix_template_desc_v2", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    return std::nullopt;
}

/// Finds what a creation or a copy has made and says its number.
Outcome sayNumber(Session &session, const TemplateHeads &before, const QByteArray &title, const char *done)
{
    Result<TemplateHeads> after = fetchTemplates(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    const TemplateHead *made = findNewTemplate(before, *after, title);
    if (made == nullptr)
        return Failure{QStringLiteral("the service did not store the new template")};
    if (session.options().json)
        session.printLine(jsonObject({{QStringLiteral("template"), QString::number(made->number)}}));
    session.confirm(
        QStringLiteral("template %1 (\"%2\") %3").arg(made->number).arg(bytesForPeople(title), QLatin1String(done)));
    return std::nullopt;
}

Outcome createTemplate(Session &session, const TemplateArguments &arguments)
{
    const QByteArray title = argumentBytes(arguments.title);
    Result<TemplateHeads> before = fetchTemplates(session);
    if (!before)
        return before.failure();
    if (Outcome failure = fixTemplate(session, 0, title))
        return failure;
    return sayNumber(session, *before, title, "created");
}

Outcome renameTemplate(Session &session, const TemplateArguments &arguments)
{
    const QByteArray title = argumentBytes(arguments.title);
    if (Outcome failure = requireTemplate(session, arguments.number))
        return failure;
    if (Outcome failure = fixTemplate(session, arguments.number, title))
        return failure;
    Result<TemplateHeads> after = fetchTemplates(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    const TemplateHead *stored = findTemplate(*after, arguments.number);
    if (stored == nullptr || stored->title != title)
        return Failure{QStringLiteral("the service did not store the title of template %1").arg(arguments.number)};
    session.confirm(QStringLiteral("template %1 is now \"%2\"").arg(arguments.number).arg(bytesForPeople(title)));
    return std::nullopt;
}

Outcome deleteTemplate(Session &session, qint32 number)
{
    if (Outcome failure = requireTemplate(session, number))
        return failure;
    if (Outcome failure = fixTemplate(session, -number, QByteArray()))
        return failure;
    Result<TemplateHeads> after = fetchTemplates(session);
    if (!after)
        return Session::unconfirmed(after.failure());
    if (findTemplate(*after, number) != nullptr)
        return Failure{QStringLiteral("the service did not delete template %1").arg(number)};
    if (Outcome failure = probeDatabase(session))
        return failure;
    session.confirm(QStringLiteral("template %1 deleted").arg(number));
    return std::nullopt;
}

Outcome copyTemplate(Session &session, const TemplateArguments &arguments)
{
    Result<TemplateHeads> before = fetchTemplates(session);
    if (!before)
        return before.failure();
    if (findTemplate(*before, arguments.number) == nullptr)
        return noTemplate(arguments.number); // the service would make an empty template
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << arguments.number << QString::fromStdString(arguments.title);
    Result<bus::Action> reply = session.ask("Copy_template_v2", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    ReplyReader in(reply->data);
    const auto code = in.read<qint32>();
    if (Outcome failure = in.end())
        return failure;
    if (code != kDone)
        return Failure{QStringLiteral("the service could not write the copy (code %1): its log says why").arg(code)};
    return sayNumber(session, *before, QString::fromStdString(arguments.title).toUtf8(), "made");
}

CLI::App *addVerb(CLI::App &noun, const char *verb, const char *description, TemplateArguments &arguments)
{
    CLI::App *command = noun.add_subcommand(verb, description);
    command->add_option("TEMPLATE", arguments.number, "Number of an own template")
        ->required()
        ->check(decimal(1, std::numeric_limits<qint32>::max()));
    return command;
}

void addTitle(CLI::App &command, TemplateArguments &arguments)
{
    command.add_option("TITLE", arguments.title, "Title")->required();
}

} // namespace

void registerTemplate(CLI::App &app, Job &job)
{
    CLI::App *noun = app.add_subcommand("template", "Read and change templates of objects")->require_subcommand(0, 1);
    noun->footer("Negative numbers are supplied templates, which can be shown and copied, but not changed.");
    const auto arguments = std::make_shared<TemplateArguments>();

    noun->add_subcommand("list", "List all templates")->callback([&job] { job = listTemplates; });

    CLI::App *create = noun->add_subcommand("create", "Make an empty template");
    addTitle(*create, *arguments);
    create->callback(
        [arguments, &job] { job = [arguments](Session &session) { return createTemplate(session, *arguments); }; });

    CLI::App *rename = addVerb(*noun, "rename", "Give a template another title", *arguments);
    addTitle(*rename, *arguments);
    rename->callback(
        [arguments, &job] { job = [arguments](Session &session) { return renameTemplate(session, *arguments); }; });

    CLI::App *remove = addVerb(*noun, "delete", "Delete a template with all that it holds", *arguments);
    remove->callback([arguments, &job] {
        job = [arguments](Session &session) { return deleteTemplate(session, arguments->number); };
    });

    CLI::App *copy = noun->add_subcommand("copy", "Make a new template from another");
    copy->add_option("TEMPLATE", arguments->number, "Number of the other, own or supplied")
        ->required()
        ->check(anyNumber());
    addTitle(*copy, *arguments);
    copy->callback(
        [arguments, &job] { job = [arguments](Session &session) { return copyTemplate(session, *arguments); }; });

    registerTemplateParts(*noun, job);
}

} // namespace ctl

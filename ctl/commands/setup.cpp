#include "ctl/account_records.h"
#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/setup_records.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

struct SetupArguments
{
    qint32 account = 0;
    qint32 section = 1;
    std::optional<std::string> objects;
    std::optional<std::string> on;
    std::optional<std::string> off;
    std::string targets;
};

struct SetupChange
{
    QList<qint32> objects;
    QList<qint32> off;
    QList<qint32> on;
};

Outcome showSetup(Session &session, qint32 account)
{
    if (Outcome failure = requireAccounts(session, {account}))
        return failure;
    Result<Setup> setup = fetchSetup(session, account);
    if (!setup)
        return setup.failure();
    if (session.options().json)
        session.printLine(setupJson(account, *setup));
    else
        session.out() << setupTables(*setup);
    return std::nullopt;
}

/// The numbers after an option; none where it is not given.
Result<QList<qint32>> readNumbers(const std::optional<std::string> &text, const char *option, const char *thing)
{
    return text ? readNumberList(*text, option, thing) : Result(QList<qint32>());
}

Result<SetupChange> readChange(const SetupArguments &arguments)
{
    Result<QList<qint32>> objects = readNumbers(arguments.objects, "--objects", "object");
    Result<QList<qint32>> on = readNumbers(arguments.on, "--on", "property");
    Result<QList<qint32>> off = readNumbers(arguments.off, "--off", "property");
    for (Result<QList<qint32>> *list : {&objects, &on, &off}) {
        if (!*list)
            return list->failure();
    }
    if (on->isEmpty() && off->isEmpty())
        return Failure{QStringLiteral("nothing to change: --on or --off is missing"), true};
    for (const qint32 property : *on) {
        if (off->contains(property))
            return Failure{QStringLiteral("property %1 is to be switched both on and off").arg(property), true};
    }
    return SetupChange{*objects, *off, *on};
}

/// A number that is no object's would be stored and never be seen again.
Outcome refuseStrangers(const QList<SetupLine> &section, const QList<qint32> &objects)
{
    for (const qint32 object : objects) {
        if (findLine(section, object) == nullptr)
            return Failure{QStringLiteral("there is no object %1 (\"objects\" lists those with a name)").arg(object)};
    }
    return std::nullopt;
}

bool isMade(const SetupLine &line, const SetupChange &change)
{
    const auto has = [&line](qint32 property) { return line.properties.contains(property); };
    return std::all_of(change.on.begin(), change.on.end(), has) &&
           std::none_of(change.off.begin(), change.off.end(), has);
}

Outcome checkChange(Session &session, const SetupArguments &arguments, const SetupChange &change)
{
    Result<Setup> setup = fetchSetup(session, arguments.account);
    if (!setup)
        return Session::unconfirmed(setup.failure());
    const QList<SetupLine> lines = setup->value(arguments.section);
    for (const qint32 object : change.objects) {
        const SetupLine *line = findLine(lines, object);
        if (line == nullptr || !isMade(*line, change))
            return Failure{QStringLiteral("the service did not store the change for object %1").arg(object)};
    }
    return std::nullopt;
}

/// What stands at the end of a confirmation, for the section that cannot be read back.
QString certainty(qint32 section)
{
    return section == kLayerSection ? QStringLiteral("; no command reads layers back, so this is not checked")
                                    : QString();
}

Outcome setSetup(Session &session, const SetupArguments &arguments)
{
    Result<SetupChange> change = readChange(arguments);
    if (!change)
        return change.failure();
    if (Outcome failure = requireAccounts(session, {arguments.account}))
        return failure;
    const bool readable = arguments.section != kLayerSection;
    if (readable) {
        Result<Setup> before = fetchSetup(session, arguments.account);
        if (!before)
            return before.failure();
        if (Outcome failure = refuseStrangers(before->value(arguments.section), change->objects))
            return failure;
    }
    QByteArray request;
    keystone::ByteWriter(&request) << arguments.section << arguments.account << change->objects << change->off
                                   << change->on;
    Result<bus::Action> reply = session.ask("Fix_personal_setup_changes", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    if (readable) {
        if (Outcome failure = checkChange(session, arguments, *change))
            return failure;
    }
    session.confirm(QStringLiteral("%1 of operator %2 changed on %3%4")
                        .arg(sectionName(arguments.section), QString::number(arguments.account),
                             counted(change->objects.size(), "line", "lines"), certainty(arguments.section)));
    return std::nullopt;
}

Outcome checkCopies(Session &session, const SetupArguments &arguments, const QList<qint32> &targets)
{
    Result<Setup> source = fetchSetup(session, arguments.account);
    if (!source)
        return Session::unconfirmed(source.failure());
    const auto expected = switchedOn(source->value(arguments.section));
    for (const qint32 target : targets) {
        Result<Setup> copy = fetchSetup(session, target);
        if (!copy)
            return Session::unconfirmed(copy.failure());
        if (switchedOn(copy->value(arguments.section)) != expected)
            return Failure{QStringLiteral("the service did not store the copy for operator %1").arg(target)};
    }
    return std::nullopt;
}

Outcome copySetup(Session &session, const SetupArguments &arguments)
{
    Result<QList<qint32>> targets = readNumberList(arguments.targets, "--to", "account");
    if (!targets)
        return targets.failure();
    if (targets->contains(arguments.account))
        return Failure{QStringLiteral("--to: account %1 is the source: a copy onto itself would only empty it")
                           .arg(arguments.account),
                       true};
    if (Outcome failure = requireAccounts(session, *targets + QList<qint32>{arguments.account}))
        return failure;
    QByteArray request;
    keystone::ByteWriter(&request) << arguments.section << arguments.account << *targets;
    Result<bus::Action> reply = session.ask("Copy_personal_setup", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    if (arguments.section != kLayerSection) {
        if (Outcome failure = checkCopies(session, arguments, *targets))
            return failure;
    }
    session.confirm(QStringLiteral("%1 of operator %2 copied to %3%4")
                        .arg(sectionName(arguments.section), QString::number(arguments.account),
                             counted(targets->size(), "operator", "operators"), certainty(arguments.section)));
    return std::nullopt;
}

CLI::App *addVerb(CLI::App &setup, const char *verb, const char *description, SetupArguments &arguments)
{
    CLI::App *command = setup.add_subcommand(verb, description);
    command->add_option("OPERATOR", arguments.account, "Number of the account")->required()->check(objectNumber());
    return command;
}

void addSection(CLI::App &command, SetupArguments &arguments)
{
    command.add_option("--section", arguments.section, "1, 3, 4: of objects; 2: of checkpoint layers")
        ->required()
        ->check(decimal(1, kLastSection));
}

} // namespace

void registerSetup(CLI::App &app, Job &job)
{
    CLI::App *setup = app.add_subcommand("setup", "Read and change what operators have switched on for objects")
                          ->require_subcommand(0, 1);
    const auto arguments = std::make_shared<SetupArguments>();

    CLI::App *show = addVerb(*setup, "show", "Show an operator's setup; object 0 is the default", *arguments);
    show->callback(
        [arguments, &job] { job = [arguments](Session &session) { return showSetup(session, arguments->account); }; });

    CLI::App *set = addVerb(*setup, "set", "Switch properties on and off for some objects", *arguments);
    addSection(*set, *arguments);
    set->add_option("--objects", arguments->objects, "Numbers of the objects, as 0,3,7; 0 is the default")->required();
    set->add_option("--on", arguments->on, "Properties to switch on, as 201,202 (\"props\" lists them)");
    set->add_option("--off", arguments->off, "Properties to switch off");
    set->callback([arguments, &job] { job = [arguments](Session &session) { return setSetup(session, *arguments); }; });

    CLI::App *copy = addVerb(*setup, "copy", "Replace a section of other operators by this operator's", *arguments);
    addSection(*copy, *arguments);
    copy->add_option("--to", arguments->targets, "Numbers of the other accounts, as 3,4")->required();
    copy->callback(
        [arguments, &job] { job = [arguments](Session &session) { return copySetup(session, *arguments); }; });
}

} // namespace ctl

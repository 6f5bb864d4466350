#include "ctl/arguments.h"
#include "ctl/command_records.h"
#include "ctl/commands/commands.h"
#include "ctl/compare_lists.h"
#include "ctl/input_file.h"
#include "ctl/same_values.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <memory>

namespace ctl {
namespace {

constexpr char kSetCommandHelp[] =
    "The command is one element of \"commands\" as \"commands show --json\" prints them (see \"commands save "
    "--help\"):\n"
    "  {\"name\": \"arm\", \"description\": \"Arm\", \"operation\": 3, \"exec_by\": \"server\",\n"
    "   \"params\": [{\"name\": \"delay\", \"description\": \"\", \"type\": 1, \"value\": \"45\"}]}\n"
    "It takes the place of every command of its name. Afterwards the commands are read back.";

constexpr char kInstead[] = "\"commands save\" replaces all commands of an object";

struct CommandFixArguments
{
    std::string objects;
    std::string file = "-";
    std::string name;
};

struct CalledSo
{
    QString name;

    bool operator()(const RemoteCommand &stored) const { return sameText(stored.head.name, name); }
};

Outcome setCommand(Session &session, const CommandFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    Result<QByteArray> text = readInput(arguments.file);
    if (!text)
        return text.failure();
    Result<RemoteCommand> command = readCommandJson(*text);
    if (!command)
        return command.failure();
    if (command->head.name.isNull())
        return Failure{QStringLiteral("name: expected a string: the command takes the place of those of its name"),
                       true};
    if (Outcome failure = refuseQuote(command->head.name, "name", kInstead))
        return failure;
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << true << *objects;
    writeCommand(out, *command);
    if (Outcome failure = session.tell("Fix_cmd_desc_multi_objs_v2", request))
        return failure;
    const auto isRight = [&command](const RemoteCommands &called) {
        return called.size() == 1 && isStored(*command, called[0]);
    };
    if (Outcome failure = checkOnObjects(session, *objects, fetchCommands, CalledSo{command->head.name}, isRight))
        return failure;
    session.confirm(QStringLiteral("\"%1\" set on %2")
                        .arg(printable(command->head.name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

Outcome removeCommand(Session &session, const CommandFixArguments &arguments)
{
    Result<QList<qint32>> objects = readObjectList(arguments.objects);
    if (!objects)
        return objects.failure();
    const QString name = QString::fromStdString(arguments.name);
    if (Outcome failure = refuseQuote(name, "--name", kInstead))
        return failure;
    QByteArray request;
    keystone::ByteWriter(&request) << false << *objects << name;
    if (Outcome failure = session.tell("Fix_cmd_desc_multi_objs_v2", request))
        return failure;
    const auto isRight = [](const RemoteCommands &called) { return called.isEmpty(); };
    if (Outcome failure = checkOnObjects(session, *objects, fetchCommands, CalledSo{name}, isRight))
        return failure;
    session.confirm(
        QStringLiteral("\"%1\" removed from %2").arg(printable(name), counted(objects->size(), "object", "objects")));
    return std::nullopt;
}

} // namespace

void registerRemoteCommandsFix(CLI::App &commands, Job &job)
{
    CLI::App *fix =
        commands.add_subcommand("fix", "Set or remove one command on many objects")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<CommandFixArguments>();

    CLI::App *set = fix->add_subcommand("set", "Add a command, in place of any of its name");
    CLI::App *remove = fix->add_subcommand("remove", "Remove the commands of a name");
    for (CLI::App *verb : {set, remove})
        verb->add_option("--objects", arguments->objects, "Numbers of the objects, as 3,7,12")->required();
    set->add_option("--file", arguments->file, "File with the command as JSON; - is the standard input")
        ->capture_default_str();
    set->footer(kSetCommandHelp);
    set->callback(
        [arguments, &job] { job = [arguments](Session &session) { return setCommand(session, *arguments); }; });
    remove->add_option("--name", arguments->name, "Name of the commands")->required();
    remove->callback(
        [arguments, &job] { job = [arguments](Session &session) { return removeCommand(session, *arguments); }; });
}

} // namespace ctl

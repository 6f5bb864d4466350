#include "ctl/arguments.h"
#include "ctl/command_records.h"
#include "ctl/commands/commands.h"
#include "ctl/compare_lists.h"
#include "ctl/input_file.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <algorithm>
#include <memory>

namespace ctl {
namespace {

constexpr ListWords kCommandWords = {"commands", "the commands", "commands"};

constexpr char kSaveCommandsHelp[] =
    "Reads the JSON that \"commands show --json\" prints and makes it all commands:\n"
    "  {\"object\": 17, \"commands\": [{\"name\": \"arm\", \"description\": \"Arm\", \"operation\": 3, \"exec_by\": "
    "\"server\",\n"
    "      \"params\": [{\"id\": 1, \"name\": \"delay\", \"description\": \"\", \"type\": 1, \"value\": \"45\"}, "
    "...]}, ...]}\n"
    "  object       must be the OBJECT of the command line; may be left out\n"
    "  id           may be left out; it is ignored, since saved rows get new ones\n"
    "  name, description   a string or null (they differ from the empty string \"\"); a parameter's name is UTF-8\n"
    "  operation    1 observation, 2 control, 3 mode change, 4 configuration; any integer is taken. Commands are "
    "shown\n"
    "               in the order of their operations\n"
    "  type         an integer from -2147483648 to 2147483647\n"
    "  exec_by, value   null; a string, whose UTF-8 bytes are the value; or {\"base64\": \"...\"} for other bytes\n"
    "A wrong field is named by its path, and nothing is sent. Afterwards the commands are read back and compared.";

Outcome showCommands(Session &session, qint32 object)
{
    Result<RemoteCommands> commands = fetchCommands(session, object);
    if (!commands)
        return commands.failure();
    if (session.options().json) {
        session.printLine(commandsJson(object, *commands));
    } else if (commands->isEmpty()) {
        session.printLine(QStringLiteral("object %1 has no commands").arg(object));
    } else {
        session.printLine(
            QStringLiteral("object %1, %2").arg(object).arg(counted(commands->size(), "command", "commands")));
        session.out() << commandTables(*commands);
    }
    return std::nullopt;
}

Outcome saveCommands(Session &session, qint32 object, const std::string &file)
{
    Result<QByteArray> text = readInput(file);
    if (!text)
        return text.failure();
    Result<RemoteCommands> commands = readCommandsJson(*text, object);
    if (!commands)
        return commands.failure();
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << object << qint32(commands->size());
    for (const RemoteCommand &command : *commands)
        writeCommand(out, command);
    if (Outcome failure = session.tell("Save_command_desc_v2", request))
        return failure;
    // The service takes commands in order, so that the commands are read after they were saved; it gives
    // them in the order of their operations.
    Result<RemoteCommands> stored = fetchCommands(session, object);
    if (!stored)
        return Session::unconfirmed(stored.failure());
    std::stable_sort(commands->begin(), commands->end(), [](const RemoteCommand &one, const RemoteCommand &other) {
        return one.head.operation < other.head.operation;
    });
    const auto nameOf = [](const RemoteCommand &command) { return command.head.name; };
    if (const auto what = firstDifference(*commands, *stored, isStored, kCommandWords, nameOf))
        return Failure{QStringLiteral("the service did not store %1").arg(*what)};
    session.confirm(
        QStringLiteral("object %1: %2 saved").arg(object).arg(counted(commands->size(), "command", "commands")));
    return std::nullopt;
}

struct CommandArguments
{
    qint32 object = 0;
    std::string file = "-";
};

} // namespace

void registerRemoteCommands(CLI::App &app, Job &job)
{
    CLI::App *commands = app.add_subcommand("commands", "Read and change the remote-control commands of objects");
    commands->require_subcommand(0, 1);
    const auto arguments = std::make_shared<CommandArguments>();

    CLI::App *show = commands->add_subcommand("show", "Show the commands of an object");
    CLI::App *save = commands->add_subcommand("save", "Replace all commands of an object");
    for (CLI::App *verb : {show, save})
        verb->add_option("OBJECT", arguments->object, "Number of the object")->required()->check(objectNumber());
    show->callback([arguments, &job] {
        job = [arguments](Session &session) { return showCommands(session, arguments->object); };
    });
    save->add_option("--file", arguments->file, "File with the commands as JSON; - is the standard input")
        ->capture_default_str();
    save->footer(kSaveCommandsHelp);
    save->callback([arguments, &job] {
        job = [arguments](Session &session) { return saveCommands(session, arguments->object, arguments->file); };
    });

    registerRemoteCommandsFix(*commands, job);
}

} // namespace ctl

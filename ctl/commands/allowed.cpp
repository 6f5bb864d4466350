#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <memory>

namespace ctl {
namespace {

constexpr int kSmallestAllowed = 24; ///< bytes of a command whose texts are empty
constexpr qint32 kLastKind = 4;

constexpr char kAllowedHelp[] =
    "KIND: 1 observation, 2 control, 3 mode change, 4 configuration. The operator (--operator) may send them where "
    "his\n"
    "setup holds the property 201, 202, 203 or 204 for the object; a command comes once for each section that does.";

struct AllowedCommand
{
    QByteArray name; ///< UTF-8
    qint32 operation = 0;
    QString description;
    QByteArray execBy;
    qint32 numParams = 0;
    qint32 id = 0;
};

struct AllowedArguments
{
    qint32 object = 0;
    qint32 kind = 0;
};

Result<QList<AllowedCommand>> decodeAllowed(const QByteArray &reply, const AllowedArguments &asked)
{
    ReplyReader in(reply);
    if (const auto object = in.read<qint32>(); !in.failed() && object != asked.object)
        in.refuse(QStringLiteral("it is about object %1, not %2").arg(object).arg(asked.object));
    QList<AllowedCommand> commands;
    const qint32 count = in.count(kSmallestAllowed, "commands");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        AllowedCommand one;
        in.stream() >> one.name >> one.operation >> one.description >> one.execBy >> one.numParams >> one.id;
        commands.append(one);
    }
    if (const auto kind = in.read<qint32>(); !in.failed() && kind != asked.kind)
        in.refuse(QStringLiteral("it is about the kind %1, not %2").arg(kind).arg(asked.kind));
    if (Outcome failure = in.end())
        return *failure;
    return commands;
}

QString allowedJson(const AllowedArguments &asked, const QList<AllowedCommand> &commands)
{
    QStringList lines;
    for (const AllowedCommand &one : commands)
        lines.append(jsonObject({{QStringLiteral("id"), QString::number(one.id)},
                                 {QStringLiteral("name"), jsonBytes(one.name)},
                                 {QStringLiteral("operation"), QString::number(one.operation)},
                                 {QStringLiteral("description"), jsonText(one.description)},
                                 {QStringLiteral("exec_by"), jsonBytes(one.execBy)},
                                 {QStringLiteral("params"), QString::number(one.numParams)}}));
    return jsonObject({{QStringLiteral("object"), QString::number(asked.object)},
                       {QStringLiteral("kind"), QString::number(asked.kind)},
                       {QStringLiteral("commands"), jsonLines(lines)}});
}

QString allowedTable(const QList<AllowedCommand> &commands)
{
    Table table({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("description"),
                 QStringLiteral("executed by"), QStringLiteral("params")});
    for (const AllowedCommand &one : commands)
        table.addRow({QString::number(one.id), bytesForPeople(one.name), textForPeople(one.description),
                      bytesForPeople(one.execBy), QString::number(one.numParams)});
    return table.text();
}

Outcome showAllowed(Session &session, const AllowedArguments &arguments)
{
    QByteArray request;
    keystone::ByteWriter(&request) << arguments.object << arguments.kind;
    Result<bus::Action> reply = session.ask("Get_object_command", request);
    if (!reply)
        return reply.failure();
    Result<QList<AllowedCommand>> commands = decodeAllowed(reply->data, arguments);
    if (!commands)
        return commands.failure();
    if (session.options().json)
        session.printLine(allowedJson(arguments, *commands));
    else if (commands->isEmpty())
        session.printLine(QStringLiteral("operator %1 may send object %2 no command of kind %3")
                              .arg(session.options().operatorNumber)
                              .arg(arguments.object)
                              .arg(arguments.kind));
    else
        session.out() << allowedTable(*commands);
    return std::nullopt;
}

} // namespace

void registerAllowed(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("allowed", "List the commands that the operator may send to an object");
    const auto arguments = std::make_shared<AllowedArguments>();
    command->add_option("OBJECT", arguments->object, "Number of the object")->required()->check(objectNumber());
    command->add_option("KIND", arguments->kind, "Kind of the commands")->required()->check(decimal(1, kLastKind));
    command->footer(kAllowedHelp);
    command->callback(
        [arguments, &job] { job = [arguments](Session &session) { return showAllowed(session, *arguments); }; });
}

} // namespace ctl

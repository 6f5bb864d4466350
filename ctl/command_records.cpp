#include "ctl/command_records.h"

#include "ctl/same_values.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <algorithm>
#include <array>

namespace ctl {
namespace {

constexpr std::array kOperations = {"observation", "control", "mode change", "configuration"}; ///< of the codes 1 to 4

ParamDesc readParam(JsonFields &fields)
{
    ParamDesc param;
    if (const QString id = QStringLiteral("id"); fields.has(id))
        param.id = fields.int32(id);
    param.name = fields.bytes(QStringLiteral("name"));
    param.description = fields.text(QStringLiteral("description"));
    param.type = fields.int32(QStringLiteral("type"));
    param.value = fields.bytes(QStringLiteral("value"));
    fields.refuseOthers();
    return param;
}

QString paramJson(const ParamDesc &param)
{
    QList<JsonMember> members;
    if (param.id != 0)
        members.append({QStringLiteral("id"), QString::number(param.id)});
    members.append({{QStringLiteral("name"), jsonBytes(param.name)},
                    {QStringLiteral("description"), jsonText(param.description)},
                    {QStringLiteral("type"), QString::number(param.type)},
                    {QStringLiteral("value"), jsonBytes(param.value)}});
    return jsonObject(members);
}

bool isSameParam(const ParamDesc &sent, const ParamDesc &stored)
{
    return sameBytes(sent.name, stored.name) && sameText(sent.description, stored.description) &&
           sent.type == stored.type && sameBytes(sent.value, stored.value);
}

QString commandTable(const RemoteCommands &commands)
{
    Table table({QStringLiteral("name"), QStringLiteral("description"), QStringLiteral("operation"),
                 QStringLiteral("executed by"), QStringLiteral("parameters")});
    for (const auto &[head, params] : commands) {
        table.addRow({textForPeople(head.name), textForPeople(head.description), operationForPeople(head.operation),
                      bytesForPeople(head.execBy), QString::number(params.size())});
    }
    return table.text();
}

} // namespace

RemoteCommand readCommand(ReplyReader &in)
{
    RemoteCommand command;
    command.head = in.read<CmdDesc>();
    const qint32 count = command.head.numParams;
    if (!in.failed() && (count < 0 || !keystone::mayHold(in.stream(), quint32(count), kSmallestParam)))
        in.refuse(QStringLiteral("a command promises %1 parameters").arg(count));
    for (qint32 index = 0; index < count && !in.failed(); ++index)
        command.params.append(in.read<ParamDesc>());
    return command;
}

void writeCommand(keystone::ByteWriter &out, const RemoteCommand &command)
{
    CmdDesc head = command.head;
    head.numParams = qint32(command.params.size());
    out << head;
    for (const ParamDesc &param : command.params)
        out << param;
}

Result<RemoteCommands> decodeCommands(const QByteArray &reply, qint32 object)
{
    ReplyReader in(reply);
    if (const auto answered = in.read<qint32>(); !in.failed() && answered != object)
        in.refuse(QStringLiteral("it is about object %1, not %2").arg(answered).arg(object));
    RemoteCommands commands;
    const qint32 count = in.count(kSmallestCommand, "commands");
    for (qint32 index = 0; index < count && !in.failed(); ++index)
        commands.append(readCommand(in));
    if (const Outcome failure = in.end())
        return *failure;
    return commands;
}

Result<RemoteCommands> fetchCommands(Session &session, qint32 object)
{
    QByteArray request;
    keystone::ByteWriter(&request) << object;
    Result<bus::Action> reply = session.ask("Get_command_desc_v2", request);
    if (!reply)
        return reply.failure();
    return decodeCommands(reply->data, object);
}

QString operationForPeople(qint32 operation)
{
    if (operation < 1 || operation > qint32(kOperations.size()))
        return QString::number(operation);
    return QStringLiteral("%1 %2").arg(QString::number(operation), QLatin1String(kOperations[size_t(operation - 1)]));
}

QString commandTables(const RemoteCommands &commands)
{
    Table table({QStringLiteral("parameter of"), QStringLiteral("name"), QStringLiteral("description"),
                 QStringLiteral("type"), QStringLiteral("value")});
    bool anyParams = false;
    for (const auto &[head, params] : commands) {
        anyParams = anyParams || !params.isEmpty();
        for (const ParamDesc &param : params) {
            table.addRow({textForPeople(head.name), bytesForPeople(param.name), textForPeople(param.description),
                          QString::number(param.type), bytesForPeople(param.value)});
        }
    }
    return anyParams ? commandTable(commands) + u'\n' + table.text() : commandTable(commands);
}

QList<JsonMember> commandMembers(const RemoteCommand &command)
{
    QStringList params;
    for (const ParamDesc &param : command.params)
        params.append(paramJson(param));
    QList<JsonMember> members;
    if (command.head.id != 0)
        members.append({QStringLiteral("id"), QString::number(command.head.id)});
    members.append({{QStringLiteral("name"), jsonText(command.head.name)},
                    {QStringLiteral("description"), jsonText(command.head.description)},
                    {QStringLiteral("operation"), QString::number(command.head.operation)},
                    {QStringLiteral("exec_by"), jsonBytes(command.head.execBy)},
                    {QStringLiteral("params"), jsonArray(params)}});
    return members;
}

QString commandsJson(qint32 object, const RemoteCommands &commands)
{
    QStringList lines;
    for (const RemoteCommand &command : commands)
        lines.append(jsonObject(commandMembers(command)));
    return jsonObject(
        {{QStringLiteral("object"), QString::number(object)}, {QStringLiteral("commands"), jsonLines(lines)}});
}

RemoteCommand readCommand(JsonFields &fields, JsonProblem &problem)
{
    RemoteCommand command;
    if (const QString id = QStringLiteral("id"); fields.has(id))
        command.head.id = fields.int32(id);
    command.head.name = fields.text(QStringLiteral("name"));
    command.head.description = fields.text(QStringLiteral("description"));
    command.head.operation = fields.int32(QStringLiteral("operation"));
    command.head.execBy = fields.bytes(QStringLiteral("exec_by"));
    const QString list = QStringLiteral("params");
    const QJsonArray values = fields.array(list);
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(list, index), problem);
        command.params.append(readParam(row));
    }
    return command;
}

void noteUnstorable(const RemoteCommand &command, JsonFields &fields)
{
    fields.refuseNul(QStringLiteral("name"), command.head.name);
    fields.refuseNul(QStringLiteral("description"), command.head.description);
    for (qsizetype index = 0; index < command.params.size(); ++index) {
        const ParamDesc &param = command.params[index];
        const QString path = QStringLiteral("params[%1].").arg(index);
        fields.refuseNul(path + QStringLiteral("description"), param.description);
        if (!param.name.isEmpty() && !utf8Text(param.name)) {
            fields.note(path + QStringLiteral("name"),
                        QStringLiteral("is not UTF-8 text, and the registry keeps the names of parameters as texts"));
        }
    }
}

Result<RemoteCommands> readCommandsJson(const QByteArray &text, qint32 object)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    fields.expectObject(object, "commands");
    const QString list = QStringLiteral("commands");
    const QJsonArray values = fields.array(list);
    RemoteCommands commands;
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(list, index), problem);
        commands.append(readCommand(row, problem));
        row.refuseOthers();
        noteUnstorable(commands.last(), row);
    }
    fields.refuseOthers();
    if (problem.found())
        return *problem.failure();
    return commands;
}

Result<RemoteCommand> readCommandJson(const QByteArray &text)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    RemoteCommand command = readCommand(fields, problem);
    fields.refuseOthers();
    noteUnstorable(command, fields);
    if (problem.found())
        return *problem.failure();
    return command;
}

bool isStored(const RemoteCommand &sent, const RemoteCommand &stored)
{
    return sameText(sent.head.name, stored.head.name) && sameText(sent.head.description, stored.head.description) &&
           sent.head.operation == stored.head.operation && sameBytes(sent.head.execBy, stored.head.execBy) &&
           std::equal(sent.params.begin(), sent.params.end(), stored.params.begin(), stored.params.end(), isSameParam);
}

} // namespace ctl

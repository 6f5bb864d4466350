#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/input_file.h"
#include "ctl/json_fields.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/same_values.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "keystone/records.h"

#include <QMap>

#include <memory>

namespace ctl {
namespace {

constexpr int kSmallestParam = 16; ///< bytes of a parameter whose texts are empty

constexpr char kSaveParamsHelp[] =
    "Reads the JSON that \"params show --json\" prints and stores its values:\n"
    "  {\"command\": 12, \"params\": [{\"name\": \"delay\", \"value\": \"10\"}, ...]}\n"
    "  command      must be the COMMAND of the command line; may be left out\n"
    "  name         a parameter that the command has; those not named keep their values\n"
    "  value        null; a string, whose UTF-8 bytes are the value; or {\"base64\": \"...\"} for other bytes\n"
    "  description, type   may be left out; they are not stored, so they must be as they are\n"
    "A wrong field is named by its path, and nothing is sent. Afterwards the values are read back and compared.";

struct ParamsArguments
{
    qint32 command = 0;
    std::string file = "-";
};

/// One parameter of a document; what is not given is not compared.
struct GivenParam
{
    QByteArray name;
    QByteArray value;
    std::optional<QString> description;
    std::optional<qint32> type;
};

Result<QList<ParamDesc>> fetchParams(Session &session, qint32 command)
{
    QByteArray request;
    keystone::ByteWriter(&request) << command;
    Result<bus::Action> reply = session.ask("Get_command_params", request);
    if (!reply)
        return reply.failure();
    ReplyReader in(reply->data);
    QList<ParamDesc> params;
    const qint32 count = in.count(kSmallestParam, "parameters");
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        ParamDesc param;
        in.stream() >> param.name >> param.description >> param.type >> param.value;
        params.append(param);
    }
    if (Outcome failure = in.end())
        return *failure;
    return params;
}

QString paramsJson(qint32 command, const QList<ParamDesc> &params)
{
    QStringList lines;
    for (const ParamDesc &param : params)
        lines.append(jsonObject({{QStringLiteral("name"), jsonBytes(param.name)},
                                 {QStringLiteral("description"), jsonText(param.description)},
                                 {QStringLiteral("type"), QString::number(param.type)},
                                 {QStringLiteral("value"), jsonBytes(param.value)}}));
    return jsonObject(
        {{QStringLiteral("command"), QString::number(command)}, {QStringLiteral("params"), jsonLines(lines)}});
}

Outcome showParams(Session &session, qint32 command)
{
    Result<QList<ParamDesc>> params = fetchParams(session, command);
    if (!params)
        return params.failure();
    if (session.options().json) {
        session.printLine(paramsJson(command, *params));
        return std::nullopt;
    }
    if (params->isEmpty()) {
        session.printLine(QStringLiteral("command %1 has no parameters").arg(command));
        return std::nullopt;
    }
    Table table(
        {QStringLiteral("name"), QStringLiteral("description"), QStringLiteral("type"), QStringLiteral("value")});
    for (const ParamDesc &param : *params)
        table.addRow({bytesForPeople(param.name), textForPeople(param.description), QString::number(param.type),
                      bytesForPeople(param.value)});
    session.out() << table.text();
    return std::nullopt;
}

GivenParam readGivenParam(JsonFields &fields)
{
    GivenParam param;
    param.name = fields.bytes(QStringLiteral("name"));
    param.value = fields.bytes(QStringLiteral("value"));
    if (const QString description = QStringLiteral("description"); fields.has(description))
        param.description = fields.text(description);
    if (const QString type = QStringLiteral("type"); fields.has(type))
        param.type = fields.int32(type);
    fields.refuseOthers();
    return param;
}

Result<QList<GivenParam>> readParamsJson(const QByteArray &text, qint32 command)
{
    Result<QJsonObject> document = parseJsonObject(text);
    if (!document)
        return document.failure();
    JsonProblem problem;
    JsonFields fields(*document, QString(), problem);
    const QString commandField = QStringLiteral("command");
    if (fields.has(commandField) && fields.int32(commandField) != command)
        fields.note(commandField, QStringLiteral("expected %1, as on the command line").arg(command));
    const QString list = QStringLiteral("params");
    const QJsonArray values = fields.array(list);
    QList<GivenParam> params;
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(list, index), problem);
        params.append(readGivenParam(row));
        const auto sameName = [&params](const GivenParam &one) { return one.name == params.last().name; };
        if (std::any_of(params.cbegin(), std::prev(params.cend()), sameName))
            row.note(QStringLiteral("name"), QStringLiteral("is given twice"));
    }
    fields.refuseOthers();
    if (problem.found())
        return *problem.failure();
    return params;
}

/// Only values are stored: what else a person has changed in the document would be lost silently.
Outcome refuseOtherChanges(const QList<GivenParam> &given, const QList<ParamDesc> &stored)
{
    for (qsizetype index = 0; index < given.size(); ++index) {
        const GivenParam &one = given[index];
        const auto found = std::find_if(stored.cbegin(), stored.cend(),
                                        [&one](const ParamDesc &param) { return param.name == one.name; });
        const QString path = QStringLiteral("params[%1]").arg(index);
        if (found == stored.cend())
            return Failure{
                QStringLiteral("%1.name: the command has no parameter \"%2\"").arg(path, bytesForPeople(one.name))};
        if (one.description && !sameText(*one.description, found->description))
            return Failure{path + QStringLiteral(".description: only values can be saved here")};
        if (one.type && *one.type != found->type)
            return Failure{path + QStringLiteral(".type: only values can be saved here")};
    }
    return std::nullopt;
}

Outcome checkStored(const QList<GivenParam> &given, const QList<ParamDesc> &stored)
{
    QMap<QByteArray, QByteArray> values;
    for (const GivenParam &one : given)
        values.insert(one.name, one.value);
    for (const ParamDesc &param : stored) {
        const auto sent = values.constFind(param.name);
        if (sent != values.constEnd() && !sameBytes(*sent, param.value))
            return Failure{
                QStringLiteral("the service did not store the value of \"%1\"").arg(bytesForPeople(param.name))};
    }
    return std::nullopt;
}

Outcome saveParams(Session &session, const ParamsArguments &arguments)
{
    Result<QByteArray> text = readInput(arguments.file);
    if (!text)
        return text.failure();
    Result<QList<GivenParam>> given = readParamsJson(*text, arguments.command);
    if (!given)
        return given.failure();
    Result<QList<ParamDesc>> before = fetchParams(session, arguments.command);
    if (!before)
        return before.failure();
    if (Outcome failure = refuseOtherChanges(*given, *before))
        return failure;
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << qint32(0) << arguments.command << qint32(given->size()); // the first number means nothing
    for (const GivenParam &one : *given)
        out << one.name << one.value;
    Result<bus::Action> reply = session.ask("Save_params", request);
    if (!reply)
        return Session::unconfirmed(reply.failure());
    Result<QList<ParamDesc>> after = fetchParams(session, arguments.command);
    if (!after)
        return Session::unconfirmed(after.failure());
    if (Outcome failure = checkStored(*given, *after))
        return failure;
    session.confirm(
        QStringLiteral("command %1: %2 saved").arg(arguments.command).arg(counted(given->size(), "value", "values")));
    return std::nullopt;
}

} // namespace

void registerParams(CLI::App &app, Job &job)
{
    CLI::App *params =
        app.add_subcommand("params", "Read and save the values of a command's parameters")->require_subcommand(0, 1);
    const auto arguments = std::make_shared<ParamsArguments>();
    const auto addVerb = [&](const char *verb, const char *description) {
        CLI::App *command = params->add_subcommand(verb, description);
        command->add_option("COMMAND", arguments->command, "Number of the command, as \"commands show\" tells it")
            ->required()
            ->check(objectNumber());
        return command;
    };
    addVerb("show", "Show the parameters of a command")->callback([arguments, &job] {
        job = [arguments](Session &session) { return showParams(session, arguments->command); };
    });
    CLI::App *save = addVerb("save", "Save values of parameters");
    save->add_option("--file", arguments->file, "File with the values as JSON; - is the standard input")
        ->capture_default_str();
    save->footer(kSaveParamsHelp);
    save->callback(
        [arguments, &job] { job = [arguments](Session &session) { return saveParams(session, *arguments); }; });
}

} // namespace ctl

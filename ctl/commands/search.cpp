#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/reply_reader.h"
#include "ctl/table.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace ctl {
namespace {

constexpr int kSmallestHit = 20; ///< bytes of a hit whose texts are empty

constexpr char kSearchHelp[] =
    "Finds the objects of section 1 of the operator's own setup (--operator), once for each property that matches.\n"
    "Pictures and colours are not searched. % stands for any characters, _ for any byte, \\ takes their meaning;\n"
    "an apostrophe in TEXT must be doubled.";
constexpr char kFindHelp[] =
    "PATTERN must match the whole value; % stands for any characters, _ for any byte: %depot% finds what contains\n"
    "depot. Without --property, texts of the types 2 and 10 are searched. An object is listed once for each property\n"
    "that matches. An apostrophe must be doubled. A search that the database refuses finds nothing.";
constexpr char kQueryHelp[] =
    "SQL runs as it stands, with all rights of the service; the first column of its rows is taken as object numbers.\n"
    "A statement that fails gives an empty list: the service's log says why.";

struct Hit
{
    qint32 object = 0;
    QByteArray name;     ///< UTF-8, of the object
    QByteArray value;    ///< that matches
    QString description; ///< of its property
    QByteArray property; ///< UTF-8
};

struct SearchArguments
{
    std::string text;
    std::string property;
};

Result<QList<Hit>> decodeHits(const QByteArray &reply)
{
    ReplyReader in(reply);
    QList<Hit> hits;
    if (in.read<bool>()) {
        const qint32 count = in.count(kSmallestHit, "hits");
        for (qint32 index = 0; index < count && !in.failed(); ++index) {
            Hit hit;
            in.stream() >> hit.object >> hit.name >> hit.value >> hit.description >> hit.property;
            hits.append(hit);
        }
    } else if (const auto error = in.read<QString>(); !in.failed()) {
        return Failure{QStringLiteral("the database refused the search: ") + printable(error.simplified())};
    }
    if (Outcome failure = in.end())
        return *failure;
    return hits;
}

QString hitsJson(const QList<Hit> &hits)
{
    QStringList lines;
    for (const Hit &hit : hits)
        lines.append(jsonObject({{QStringLiteral("object"), QString::number(hit.object)},
                                 {QStringLiteral("name"), jsonBytes(hit.name)},
                                 {QStringLiteral("property"), jsonBytes(hit.property)},
                                 {QStringLiteral("description"), jsonText(hit.description)},
                                 {QStringLiteral("value"), jsonBytes(hit.value)}}));
    return jsonObject({{QStringLiteral("found"), jsonLines(lines)}});
}

/// A search for all objects has no matching property.
QString hitsTable(const QList<Hit> &hits, bool all)
{
    QStringList headers = {QStringLiteral("object"), QStringLiteral("name")};
    if (!all)
        headers += {QStringLiteral("property"), QStringLiteral("description"), QStringLiteral("value")};
    Table table(headers);
    for (const Hit &hit : hits) {
        QStringList cells = {QString::number(hit.object), bytesForPeople(hit.name)};
        if (!all)
            cells += {bytesForPeople(hit.property), textForPeople(hit.description), bytesForPeople(hit.value)};
        table.addRow(cells);
    }
    return table.text();
}

Outcome search(Session &session, const std::string &text)
{
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << QString::fromStdString(text);
    Result<bus::Action> reply = session.ask("Advanced_search", request);
    if (!reply)
        return reply.failure();
    Result<QList<Hit>> hits = decodeHits(reply->data);
    if (!hits)
        return hits.failure();
    if (session.options().json)
        session.printLine(hitsJson(*hits));
    else if (hits->isEmpty())
        session.printLine(QStringLiteral("nothing found"));
    else
        session.out() << hitsTable(*hits, text.empty());
    return std::nullopt;
}

/// Sends a command whose answer is a list of object numbers, and prints them.
Outcome printObjects(Session &session, const QByteArray &command, const QByteArray &request)
{
    Result<bus::Action> reply = session.ask(command, request);
    if (!reply)
        return reply.failure();
    ReplyReader in(reply->data);
    const QList<qint32> objects = in.numbers();
    if (Outcome failure = in.end())
        return failure;
    if (session.options().json) {
        session.printLine(jsonObject({{QStringLiteral("objects"), jsonNumbers(objects)}}));
        return std::nullopt;
    }
    if (objects.isEmpty()) {
        session.printLine(QStringLiteral("nothing found"));
        return std::nullopt;
    }
    Table table({QStringLiteral("object")});
    for (const qint32 object : objects)
        table.addRow({QString::number(object)});
    session.out() << table.text();
    return std::nullopt;
}

Outcome find(Session &session, const SearchArguments &arguments)
{
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << QString::fromStdString(arguments.text) << QString::fromStdString(arguments.property);
    return printObjects(session, "Get_objs_by_condition_v2", request);
}

Outcome query(Session &session, const std::string &statement)
{
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << QString::fromStdString(statement);
    return printObjects(session, "Get_objs_by_query_v2", request);
}

} // namespace

void registerSearch(CLI::App &app, Job &job)
{
    const auto arguments = std::make_shared<SearchArguments>();

    CLI::App *searching = app.add_subcommand("search", "Find the operator's objects by a text on their cards");
    searching->add_option("TEXT", arguments->text, "What a value must contain; all objects if not given");
    searching->footer(kSearchHelp);
    searching->callback(
        [arguments, &job] { job = [arguments](Session &session) { return search(session, arguments->text); }; });

    CLI::App *finding = app.add_subcommand("find", "Find objects by the value of a property");
    finding->add_option("PATTERN", arguments->text, "Pattern of the value")->required();
    finding->add_option("--property", arguments->property, "Name of the property");
    finding->footer(kFindHelp);
    finding->callback([arguments, &job] { job = [arguments](Session &session) { return find(session, *arguments); }; });

    CLI::App *querying = app.add_subcommand("query", "Find objects by a statement of one's own");
    querying->add_option("SQL", arguments->text, "The statement")->required();
    querying->footer(kQueryHelp);
    querying->callback(
        [arguments, &job] { job = [arguments](Session &session) { return query(session, arguments->text); }; });
}

} // namespace ctl

#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/setup_records.h"
#include "ctl/text.h"

#include <CLI/CLI.hpp>

namespace ctl {
namespace {

QString catalogueJson(const QList<PropertyGroup> &groups)
{
    QStringList lines;
    for (const PropertyGroup &group : groups) {
        QStringList properties;
        for (const PersonalProperty &property : group.properties)
            properties.append(jsonObject({{QStringLiteral("id"), QString::number(property.id)},
                                          {QStringLiteral("text"), jsonBytes(property.text)}}));
        lines.append(jsonObject({{QStringLiteral("heading"), jsonBytes(group.heading)},
                                 {QStringLiteral("properties"), jsonLines(properties)}}));
    }
    return jsonObject({{QStringLiteral("groups"), jsonLines(lines)}});
}

/// Not a Table: its longest texts must not be cut.
QString catalogueForPeople(const QList<PropertyGroup> &groups)
{
    QString text;
    for (const PropertyGroup &group : groups) {
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) + bytesForPeople(group.heading) + u'\n';
        for (const PersonalProperty &property : group.properties)
            text += QStringLiteral("%1  %2\n").arg(property.id, 5).arg(bytesForPeople(property.text));
    }
    return text;
}

Outcome showProperties(Session &session)
{
    Result<bus::Action> reply = session.ask("Get_persprop4objects_desc", QByteArray());
    if (!reply)
        return reply.failure();
    Result<QList<PropertyGroup>> groups = decodeCatalogue(reply->data);
    if (!groups)
        return groups.failure();
    if (session.options().json)
        session.printLine(catalogueJson(*groups));
    else
        session.out() << catalogueForPeople(*groups);
    return std::nullopt;
}

} // namespace

void registerProps(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("props", "List the personal properties that \"setup\" switches on and off");
    command->callback([&job] { job = showProperties; });
}

} // namespace ctl

#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/object_names.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <CLI/CLI.hpp>

namespace ctl {
namespace {

Outcome listObjects(Session &session)
{
    Result<QList<NamedObject>> objects = fetchObjectNames(session);
    if (!objects)
        return objects.failure();
    if (session.options().json) {
        QStringList lines;
        for (const NamedObject &one : *objects)
            lines.append(jsonObject({{QStringLiteral("object"), QString::number(one.object)},
                                     {QStringLiteral("name"), jsonBytes(one.name)}}));
        session.printLine(jsonObject({{QStringLiteral("objects"), jsonLines(lines)}}));
        return std::nullopt;
    }
    Table table({QStringLiteral("object"), QStringLiteral("name")});
    for (const NamedObject &one : *objects)
        table.addRow({QString::number(one.object), bytesForPeople(one.name)});
    session.out() << table.text();
    return std::nullopt;
}

} // namespace

void registerObjects(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("objects", "List all objects that have a name, the newest first");
    command->callback([&job] { job = listObjects; });
}

} // namespace ctl

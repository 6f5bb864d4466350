#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/text.h"

#include <CLI/CLI.hpp>

#include <QStringList>

namespace ctl {
namespace {

Outcome about(Session &session)
{
    Result<bus::Action> reply = session.ask("About", QByteArray());
    if (!reply)
        return reply.failure();
    const QString text = QString::fromUtf8(reply->message);
    if (session.options().json) {
        session.printLine(jsonObject({{QStringLiteral("text"), jsonText(text)}}));
        return std::nullopt;
    }
    for (const QString &line : text.trimmed().split(u'\n'))
        session.printLine(printable(line));
    return std::nullopt;
}

} // namespace

void registerAbout(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("about", "Show the version of the service");
    command->callback([&job] { job = about; });
}

} // namespace ctl

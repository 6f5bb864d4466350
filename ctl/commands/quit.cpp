#include "ctl/commands/commands.h"
#include "hub/hub_protocol.h"

#include <CLI/CLI.hpp>

namespace ctl {
namespace {

Outcome quit(Session &session)
{
    if (Outcome failure = session.tell("QuitSignal", QByteArray()))
        return failure;
    Result<HubClient *> client = session.hub();
    if (!client)
        return client.failure();
    // The service says nothing; that it has gone is the answer, and the hub tells it.
    Result<bus::Action> message = (*client)->answer(hub::kHubMessage);
    if (!message)
        return Failure{QStringLiteral("the service has not stopped: ") + message.failure().message};
    if (message->message != hub::kServiceGone)
        return HubClient::hubFailure(message->message);
    session.confirm(QStringLiteral("the service has stopped"));
    return std::nullopt;
}

} // namespace

void registerQuit(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("quit", "Stop the service");
    command->callback([&job] { job = quit; });
}

} // namespace ctl

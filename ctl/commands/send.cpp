#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/json_text.h"
#include "ctl/text.h"

#include <memory>

namespace ctl {
namespace {

struct SendArguments
{
    std::string name;
    std::string hex;
    bool noReply = false;
};

void printAnswer(Session &session, const bus::Action &answer)
{
    const QString data = QString::fromLatin1(answer.data.toHex());
    if (session.options().json) {
        session.printLine(jsonObject({{QStringLiteral("action"), jsonBytes(answer.action)},
                                      {QStringLiteral("message"), jsonBytes(answer.message)},
                                      {QStringLiteral("data"), jsonText(data)}}));
        return;
    }
    session.out() << "action:  " << bytesForPeople(answer.action) << '\n'
                  << "message: " << bytesForPeople(answer.message) << '\n'
                  << "data:    " << data << '\n';
}

Outcome send(Session &session, const SendArguments &arguments)
{
    Result<QByteArray> data = readHex(arguments.hex);
    if (!data)
        return data.failure();
    if (Outcome failure = session.tell(argumentBytes(arguments.name), *data))
        return failure;
    Result<HubClient *> client = session.hub();
    if (!client)
        return client.failure();
    if (arguments.noReply)
        return (*client)->flush();
    Result<bus::Action> answer = (*client)->answer(QByteArray());
    if (!answer) {
        Failure failure = answer.failure();
        if (failure.unanswered)
            failure.message += QStringLiteral(": the service does not know the command, does not answer it "
                                              "(--no-reply does not wait), or is busy");
        return failure;
    }
    printAnswer(session, *answer);
    return std::nullopt;
}

} // namespace

void registerSend(CLI::App &app, Job &job)
{
    CLI::App *command = app.add_subcommand("send", "Send any command and show its answer as it comes");
    const auto arguments = std::make_shared<SendArguments>();
    command->add_option("NAME", arguments->name, "Name of the command, as Get_object_card_v2")->required();
    command->add_option("HEX", arguments->hex, "Its request in hexadecimal, as 00000011; empty if not given");
    command->add_flag("--no-reply", arguments->noReply, "Do not wait for an answer");
    command->callback([arguments, &job] { job = [arguments](Session &session) { return send(session, *arguments); }; });
}

} // namespace ctl

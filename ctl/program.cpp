#include "ctl/program.h"

#include "ctl/arguments.h"
#include "ctl/commands/commands.h"
#include "ctl/text.h"
#include "hub/hub_protocol.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr double kLongestTimeout = 86'400; ///< seconds

/// The nouns, in the order of the help.
constexpr void (*kNouns[])(CLI::App &, Job &) = {
    registerAbout,    registerObject,   registerCard, registerSensors, registerRemoteCommands,
    registerExamples, registerObjects,  registerTree, registerSearch,  registerAllowed,
    registerParams,   registerTemplate, registerUser, registerProps,   registerSetup,
    registerEvents,   registerWatch,    registerSend, registerQuit,
};

CLI::Option *addOptions(CLI::App &app, Options &options)
{
    options.hub = hub::kDefaultClientsName;
    options.server = "objects_server";
    app.add_option("--hub", options.hub, "Socket of the hub for clients")->capture_default_str();
    app.add_option("--server", options.server, "The service's own socket, for events")->capture_default_str();
    app.add_option("--operator", options.operatorNumber, "Account number to act as")
        ->check(objectNumber())
        ->capture_default_str();
    app.add_flag("--json", options.json, "Print JSON for programs instead of tables for people");
    return app.add_option("--timeout", options.timeoutSeconds, "Longest wait for an answer, in seconds")
        ->check(CLI::Range(0.001, kLongestTimeout))
        ->capture_default_str();
}

/// " card fix" when the command line ends there.
std::string chosenNouns(const CLI::App &app)
{
    std::string names;
    for (const CLI::App *noun = &app; !noun->get_subcommands().empty();) {
        noun = noun->get_subcommands().front();
        names += ' ' + noun->get_name();
    }
    return names;
}

int runJob(const Job &job, const Options &options, QTextStream &out, QTextStream &err)
{
    Session session(options, out, err);
    const Outcome failure = job(session);
    out.flush();
    if (!failure)
        return Done;
    session.remark(failure->message);
    return failure->wrongUsage ? WrongUsage : Failed;
}

} // namespace

int runProgram(std::vector<std::string> words, QTextStream &out, QTextStream &err)
{
    CLI::App app("The administrator's client of the object registry.");
    app.name("objectsctl");
    app.fallthrough();            // the options of the program may also stand after the command
    app.require_subcommand(0, 1); // that there is one is checked by the job, after unknown words
    app.footer("Exit codes: 0 done, 1 the request failed or timed out, 2 wrong usage (nothing was sent).");
    Options options;
    const CLI::Option *timeout = addOptions(app, options);
    Job job;
    for (const auto registerNoun : kNouns)
        registerNoun(app, job);
    try {
        std::reverse(words.begin(), words.end()); // the form that parse() takes
        app.parse(words);
        if (!job)
            throw CLI::ValidationError("a command is missing: see objectsctl" + chosenNouns(app) + " --help");
    } catch (const CLI::CallForHelp &) {
        out << QString::fromStdString(app.help());
        out.flush();
        return Done;
    } catch (const CLI::ParseError &error) {
        err << "objectsctl: " << printable(QString::fromUtf8(error.what())) << '\n';
        err.flush();
        return WrongUsage;
    }
    options.timeoutGiven = timeout->count() > 0;
    return runJob(job, options, out, err);
}

} // namespace ctl

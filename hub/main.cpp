#include "bus/socket_file.h"
#include "hub/hub.h"
#include "hub/hub_protocol.h"
#include "hub/log_line.h"
#include "hub/quit_signals.h"
#include "hub/socket_claim.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>

#include <cstdio>

namespace {

enum ExitCode { Done = 0, Failed = 1, WrongUsage = 2 };

struct Names
{
    std::string services = hub::kDefaultServicesName;
    std::string clients = hub::kDefaultClientsName;
    bus::SocketMode mode = bus::SocketMode::User;
};

/// Nothing when the hub shall run; else the exit code of a finished run.
std::optional<int> readCommandLine(int argc, char **argv, Names &names)
{
    std::string mode = "user";
    CLI::App app("A small administration server: passes the commands of clients to services, and their answers back.");
    app.name("admin_hub");
    app.add_option("--services", names.services, "Socket that services connect to")->capture_default_str();
    app.add_option("--clients", names.clients, "Socket that clients connect to")->capture_default_str();
    app.add_option("--socket-mode", mode,
                   "Who may connect to both sockets: user (the hub's own), group (and its group)")
        ->capture_default_str();
    app.footer("A name without a leading / is a socket in the system's temporary folder.\n"
               "SIGINT and SIGTERM end the hub. Exit codes: 0 ended by a signal, 1 cannot listen, 2 wrong usage.");
    try {
        app.parse(argc, argv);
        if (names.services.empty() || names.clients.empty())
            throw CLI::ValidationError("the name of a socket must not be empty");
        const auto known = bus::socketModeNamed(QString::fromStdString(mode));
        if (!known)
            throw CLI::ValidationError("--socket-mode is user or group");
        names.mode = *known;
    } catch (const CLI::Success &help) {
        return app.exit(help);
    } catch (const CLI::ParseError &error) {
        hub::logLine(QString::fromUtf8(error.what()) + QStringLiteral(" (see admin_hub --help)"));
        return WrongUsage;
    }
    return std::nullopt;
}

int run(const QString &servicesPath, const QString &clientsPath, bus::SocketMode mode)
{
    if (servicesPath == clientsPath) {
        hub::logLine(QStringLiteral("services and clients need two different sockets, both are %1").arg(clientsPath));
        return WrongUsage;
    }
    for (const QString &path : {servicesPath, clientsPath}) {
        if (const auto problem = hub::claimSocket(path)) {
            hub::logLine(problem->text);
            return problem->wrongUsage ? WrongUsage : Failed;
        }
    }
    hub::QuitSignals quitSignals;
    QObject::connect(&quitSignals, &hub::QuitSignals::quitRequested, qApp, &QCoreApplication::quit);
    hub::Hub server;
    if (const QString failure = server.listen(servicesPath, clientsPath, mode); !failure.isEmpty()) {
        hub::logLine(failure);
        return Failed;
    }
    std::printf("admin_hub: services on %s, clients on %s\n", qUtf8Printable(servicesPath),
                qUtf8Printable(clientsPath));
    std::fflush(stdout);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char **argv)
{
    Names names;
    if (const auto code = readCommandLine(argc, argv, names))
        return *code;
    const QCoreApplication application(argc, argv);
    return run(bus::socketPath(QString::fromStdString(names.services)),
               bus::socketPath(QString::fromStdString(names.clients)), names.mode);
}

#include "bench/bare_echo.h"
#include "bench/connector_echo.h"
#include "bench/local_echo.h"

#include "keystone/memory.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <map>
#include <string>

namespace {

enum class Kind { Bare, Local, Connector };

struct Options
{
    Kind kind = Kind::Bare;
    std::string socket;
    bench::EchoPace pace = bench::EchoPace::TogetherWhenTogether;
};

void echo(const Options &options, int argc, char *argv[])
{
    if (options.kind == Kind::Bare) {
        bench::echoBare(options.socket, options.pace);
        return;
    }
    if (options.kind == Kind::Connector) {
        // As the service does.
        keystone::keepFreedMemory();
        qputenv("QT_NO_GLIB", "1");
    }
    QCoreApplication application(argc, argv);
    const QString socket = QString::fromStdString(options.socket);
    if (options.kind == Kind::Local) {
        bench::LocalEcho local(socket, options.pace);
        QCoreApplication::exec();
    } else {
        const bench::ConnectorEcho connector(socket);
        QCoreApplication::exec();
    }
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Sends back every frame that arrives on a link, until the other end goes.");
    Options options;
    const std::map<std::string, Kind> kinds{
        {"bare", Kind::Bare}, {"local", Kind::Local}, {"connector", Kind::Connector}};
    program.add_option("socket", options.socket, "where to connect")->required();
    program.add_option("kind", options.kind, "how the link is spoken to")
        ->required()
        ->transform(CLI::CheckedTransformer(kinds));
    program.add_flag_callback(
        "--each", [&] { options.pace = bench::EchoPace::EachAtOnce; }, "each answer leaves at once");
    CLI11_PARSE(program, argc, argv)

    try {
        echo(options, argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bus_echo: %s\n", error.what());
        return 1;
    }
    return 0;
}

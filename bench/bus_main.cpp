#include "bench/attended_service.h"
#include "bench/crowd_figures.h"
#include "bench/echo_figures.h"
#include "bench/held_figure.h"
#include "bench/interleaved.h"
#include "bench/report.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

struct Options
{
    std::string admin;
    std::string database;
    std::string sockets;
    std::string results;
    int objects = 10'000;
    int rounds = 20;
};

void measure(const Options &options)
{
    const auto service = bench::attendService(options.admin);
    bench::CrowdFigures crowd(*service, options.database, options.objects);
    bench::EchoFigures echoes(options.sockets);

    bench::Interleaved measured;
    std::vector<bench::HeldFigure> figures = echoes.addFigures(measured, *service);
    const std::vector<bench::HeldFigure> more = crowd.addFigures(measured);
    figures.insert(figures.end(), more.begin(), more.end());
    measured.measure(options.rounds, [&](int round) {
        crowd.tidy();
        std::fprintf(stderr, "round %d of %d\n", round, options.rounds);
    });

    std::printf("%d rounds, %d objects\n\n", options.rounds, options.objects);
    std::vector<bench::Figure> lines;
    for (const bench::HeldFigure &figure : figures)
        lines.push_back(figure.line);
    bench::printReport(measured, lines);
    bench::printGoals(measured, figures, options.results, options.objects);
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures the service's connector and what many clients get done; bench/bus prepares it all.");
    Options options;
    program.add_option("--admin", options.admin, "path of the administration server's socket")->required();
    program.add_option("--database", options.database, "libpq's description of the registry's database")->required();
    program.add_option("--sockets", options.sockets, "folder for the echoes' sockets")->required();
    program.add_option("--results", options.results, "add each figure to this file, a line of JSON");
    program.add_option("--objects", options.objects, "the registry holds the objects 1 to N of growth.sql")
        ->check(CLI::Range(1000, 1'000'000));
    program.add_option("--rounds", options.rounds, "how often everything is measured")->check(CLI::Range(1, 1'000'000));
    CLI11_PARSE(program, argc, argv)

    try {
        measure(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_bus: %s\n", error.what());
        return 1;
    }
    return 0;
}

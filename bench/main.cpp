#include "bench/attended_service.h"
#include "bench/frame_figures.h"
#include "bench/interleaved.h"
#include "bench/report.h"
#include "bench/round_trip_figures.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

struct Options
{
    std::string admin;
    std::string database;
    int objects = 10'000;
    int rounds = 200;
};

void showProgress(int round, int rounds)
{
    constexpr int kEvery = 20;
    if (round % kEvery == 0 || round == rounds)
        std::fprintf(stderr, "round %d of %d\n", round, rounds);
}

void measure(const Options &options)
{
    bench::RoundTrips roundTrips(bench::attendService(options.admin), options.database, options.objects);

    bench::Interleaved measured;
    std::vector<bench::Figure> figures = bench::addFrameFigures(measured);
    const std::vector<bench::Figure> more = roundTrips.addFigures(measured);
    figures.insert(figures.end(), more.begin(), more.end());
    measured.measure(options.rounds, [&](int round) { showProgress(round, options.rounds); });

    std::printf("%d rounds, %d objects\n%s\n", options.rounds, options.objects, roundTrips.sizesText().c_str());
    bench::printReport(measured, figures);
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures frames in memory and round trips through a running service; bench/run prepares it all.");
    Options options;
    program.add_option("--admin", options.admin, "path of the administration server's socket")->required();
    program.add_option("--database", options.database, "libpq's description of the registry's database")->required();
    program.add_option("--objects", options.objects, "the registry holds the objects 1 to N")
        ->check(CLI::Range(1, 1'000'000));
    program.add_option("--rounds", options.rounds, "how often everything is measured")->check(CLI::Range(1, 1'000'000));
    CLI11_PARSE(program, argc, argv)

    try {
        measure(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}

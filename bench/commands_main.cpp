#include "bench/registry_figures.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

struct Options
{
    std::vector<std::string> registries;
    std::string log;
    std::string results;
    int rounds = 20;
    int durableRounds = 10;
};

using Registries = std::vector<std::unique_ptr<bench::RegistryFigures>>;

bench::RegistryPlace placeOf(const std::string &text)
{
    const auto first = text.find(',');
    const auto second = text.find(',', first + 1);
    if (first == std::string::npos || second == std::string::npos)
        throw std::runtime_error(text + " is no registry");
    return {std::stol(text.substr(0, first)), text.substr(first + 1, second - first - 1), text.substr(second + 1)};
}

/// All of them in the same rounds, which makes them comparable with each other, too.
void measure(std::span<const std::unique_ptr<bench::RegistryFigures>> registries, const Options &options, int rounds,
             bench::Commits commits)
{
    bench::Interleaved measured;
    for (const auto &registry : registries) {
        registry->set("synchronous_commit", commits == bench::Commits::Durable ? "on" : "off");
        registry->addTo(measured, commits);
    }
    measured.measure(rounds, [&](int round) {
        for (const auto &registry : registries)
            registry->tidy();
        std::fprintf(stderr, "round %d of %d\n", round, rounds);
    });
    for (const auto &registry : registries)
        registry->append(options.results, measured, *registries.front());
}

void measure(const Options &options)
{
    Registries registries;
    for (const std::string &text : options.registries) {
        registries.push_back(std::make_unique<bench::RegistryFigures>(placeOf(text), options.log));
        std::fprintf(stderr, "recorded with %ld objects\n", registries.back()->place().objects);
    }
    measure(registries, options, options.rounds, bench::Commits::Asynchronous);
    if (options.durableRounds > 0)
        measure(std::span(registries).last(1), options, options.durableRounds, bench::Commits::Durable);
    for (const auto &registry : registries) {
        bench::Result result;
        result.section = "Without the database";
        result.figure = "QuitSignal, until the link is closed";
        result.unit = "ns";
        const double taken = registry->quit();
        result.subject = {taken, taken, taken};
        result.objects = registry->place().objects;
        bench::appendResult(options.results, result);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures all commands beside their statements alone; bench/run prepares it all.");
    Options options;
    program
        .add_option("--registry", options.registries,
                    "objects, socket of the administration server, database, with "
                    "commas; the smallest first")
        ->required();
    program.add_option("--log", options.log, "the database server's log, in JSON")->required();
    program.add_option("--results", options.results, "file that the figures are added to")->required();
    program.add_option("--rounds", options.rounds, "how often everything is measured")->check(CLI::Range(1, 1'000'000));
    program.add_option("--durable-rounds", options.durableRounds, "how often with commits that wait for the disk")
        ->check(CLI::Range(0, 1'000'000));
    CLI11_PARSE(program, argc, argv)

    try {
        measure(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_commands: %s\n", error.what());
        return 1;
    }
    return 0;
}

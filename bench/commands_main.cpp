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
    std::vector<std::string> others;
    std::string otherName = "the other";
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
    return {
        std::stol(text.substr(0, first)), text.substr(first + 1, second - first - 1), text.substr(second + 1), {}, {}};
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
    if (options.others.empty() && commits == bench::Commits::Asynchronous) {
        registries.back()->appendPgbench(options.results, measured);
        registries.back()->appendProfiles(options.results);
    }
}

void appendQuit(const Options &options, bench::RegistryFigures &registry)
{
    bench::Result result;
    result.section = "Without the database";
    result.figure = "QuitSignal, until the link is closed";
    result.unit = "ns";
    const double taken = registry.quit();
    result.subject = {taken, taken, taken};
    result.objects = registry.place().objects;
    bench::appendResult(options.results, result);
}

void measure(const Options &options)
{
    Registries registries;
    for (std::size_t i = 0; i < options.registries.size(); ++i) {
        bench::RegistryPlace place = placeOf(options.registries[i]);
        if (i < options.others.size())
            place.other = options.others[i];
        place.otherName = options.otherName;
        registries.push_back(std::make_unique<bench::RegistryFigures>(place, options.log));
        std::fprintf(stderr, "recorded with %ld objects\n", registries.back()->place().objects);
    }
    measure(registries, options, options.rounds, bench::Commits::Asynchronous);
    if (options.durableRounds > 0)
        measure(std::span(registries).last(1), options, options.durableRounds, bench::Commits::Durable);
    if (options.others.empty()) {
        for (const auto &registry : registries)
            appendQuit(options, *registry);
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
    program.add_option("--other", options.others,
                       "socket of another service on the registry in the same place, which the commands are held "
                       "against instead");
    program.add_option("--other-name", options.otherName, "what the table calls it");
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

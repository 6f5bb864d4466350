#include "bench/answer_memory.h"
#include "bench/attended_service.h"
#include "bench/crowd_figures.h"
#include "bench/echo_figures.h"
#include "bench/held_figure.h"
#include "bench/interleaved.h"
#include "bench/memory_figures.h"
#include "bench/report.h"
#include "bench/start_figures.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

struct Options
{
    std::string admin;
    std::string database;
    std::string sockets;
    std::string settings;
    std::string log;
    std::string results;
    int objects = 10'000;
    int rounds = 20;
};

template <typename Tidy>
void measureAndPrint(const Options &options, bench::Interleaved &measured,
                     const std::vector<bench::HeldFigure> &figures, Tidy betweenRounds)
{
    measured.measure(options.rounds, [&](int round) {
        betweenRounds();
        std::fprintf(stderr, "round %d of %d\n", round, options.rounds);
    });
    std::printf("%d rounds, %d objects\n\n", options.rounds, options.objects);
    std::vector<bench::Figure> lines;
    for (const bench::HeldFigure &figure : figures)
        lines.push_back(figure.line);
    bench::printReport(measured, lines);
}

void measureFrames(const Options &options)
{
    const auto service = bench::attendService(options.admin);
    bench::CrowdFigures crowd(*service, options.database, options.objects);
    bench::EchoFigures echoes(options.sockets);

    bench::Interleaved measured;
    std::vector<bench::HeldFigure> figures = echoes.addFigures(measured, *service);
    const std::vector<bench::HeldFigure> more = crowd.addFigures(measured);
    figures.insert(figures.end(), more.begin(), more.end());
    measureAndPrint(options, measured, figures, [&] { crowd.tidy(); });
    bench::tellResults(bench::resultsOf(measured, figures, options.objects), options.results);
}

/// The first answer of this service is the one whose memory is measured.
bench::AnswerMemory measureTree(bench::Link &service)
{
    constexpr int kCaller = 1;
    constexpr qint64 kLeastBytes = 40'000'000;
    const bench::AnswerMemory memory = bench::measureTreeMemory(service, kCaller);
    if (memory.answer < kLeastBytes)
        throw std::runtime_error("the full tree is less than 40 MB");
    return memory;
}

void measureService(const Options &options)
{
    const auto service = bench::attendService(options.admin);
    bench::StartFigures starts(options.settings, options.log, options.database);
    bench::Interleaved measured;
    const std::vector<bench::HeldFigure> figures = starts.addFigures(measured);
    // Before the tree, since a process that holds much takes longer to start another.
    measureAndPrint(options, measured, figures, [] {});
    const bench::AnswerMemory memory = measureTree(*service);
    std::printf("\n%s", bench::memoryText(memory).c_str());

    std::vector<bench::Result> results = bench::resultsOf(measured, figures, options.objects);
    results.push_back(starts.ownTime(measured, options.objects));
    const std::vector<bench::Result> more = bench::memoryResults(memory, options.objects);
    results.insert(results.end(), more.begin(), more.end());
    bench::tellResults(results, options.results);
}

CLI::App *addPart(CLI::App &program, Options &options, const char *name, const char *description,
                  void (*run)(const Options &))
{
    auto *part = program.add_subcommand(name, description);
    part->add_option("--admin", options.admin, "path of the administration server's socket")->required();
    part->add_option("--database", options.database, "libpq's description of the registry's database")->required();
    part->add_option("--results", options.results, "add each figure to this file, a line of JSON");
    part->add_option("--objects", options.objects, "the registry holds the objects 1 to N")
        ->check(CLI::Range(1000, 1'000'000));
    part->add_option("--rounds", options.rounds, "how often everything is measured")->check(CLI::Range(1, 1'000'000));
    part->final_callback([&options, run] { run(options); });
    return part;
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures the service's connector, what many clients get done, its start and its memory; "
                     "bench/bus prepares it all.");
    program.require_subcommand(1);
    Options options;
    addPart(program, options, "frames", "connector and clients", measureFrames)
        ->add_option("--sockets", options.sockets, "folder for the echoes' sockets")
        ->required();
    auto *service = addPart(program, options, "service", "start and memory", measureService);
    service->add_option("--settings", options.settings, "settings of the services that are started")->required();
    service->add_option("--log", options.log, "the log that these settings name")->required();

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return program.exit(error);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_bus: %s\n", error.what());
        return 1;
    }
    return 0;
}

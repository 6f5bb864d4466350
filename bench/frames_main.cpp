#include "bench/frame_figures.h"
#include "bench/interleaved.h"
#include "bench/results.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

void measure(int rounds, const std::string &path)
{
    bench::Interleaved measured;
    const std::vector<bench::Figure> figures = bench::addFrameFigures(measured);
    measured.measure(rounds, [](int) {});
    for (const bench::Figure &figure : figures) {
        bench::Result result;
        result.section = "Frames in memory";
        result.figure = measured.name(figure.subject);
        result.limit = measured.name(figure.references.front());
        result.unit = "ns";
        result.subject = measured.nanoseconds(figure.subject);
        result.limitMedian = measured.nanoseconds(figure.references).median;
        result.ratio = measured.ratio(figure.subject, figure.references);
        bench::appendResult(path, result);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures cutting and building of frames in memory, beside copying them.");
    std::string results;
    int rounds = 20;
    program.add_option("--results", results, "file that the figures are added to")->required();
    program.add_option("--rounds", rounds, "how often everything is measured")->check(CLI::Range(1, 1'000'000));
    CLI11_PARSE(program, argc, argv)

    try {
        measure(rounds, results);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_frames: %s\n", error.what());
        return 1;
    }
    return 0;
}

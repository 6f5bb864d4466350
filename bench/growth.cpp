#include "bench/attended_service.h"
#include "bench/command_figures.h"
#include "bench/interleaved.h"
#include "bench/report.h"
#include "bench/svg_plot.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Options
{
    std::string admin;
    std::string database;
    std::string results;
    std::string picture;
    int objects = 1000;
    int rounds = 20;
};

/// What one command took in one registry: a line of the results, whose fields a tab parts.
struct Outcome
{
    std::string command;
    double objects = 0;
    double nanoseconds = 0;
    double ratio = 0; ///< to its statements alone
};

void append(const Options &options, const bench::Interleaved &measured, const std::vector<bench::Figure> &figures)
{
    std::ofstream out(options.results, std::ios::app);
    for (const bench::Figure &figure : figures) {
        out << measured.name(figure.subject) << '\t' << options.objects << '\t'
            << measured.nanoseconds(figure.subject).median << '\t'
            << measured.ratio(figure.subject, figure.references).median << '\n';
    }
    if (!out.flush())
        throw std::runtime_error("cannot write " + options.results);
}

void measure(const Options &options)
{
    bench::CommandFigures commands(bench::attendService(options.admin), options.database, options.objects);
    bench::Interleaved measured;
    const std::vector<bench::Figure> figures = commands.addFigures(measured);
    measured.measure(options.rounds, [&](int round) {
        commands.tidy();
        std::fprintf(stderr, "round %d of %d\n", round, options.rounds);
    });
    std::printf("%d rounds, %d objects\n\n", options.rounds, options.objects);
    bench::printReport(measured, figures);
    std::printf("\n");
    append(options, measured, figures);
}

std::vector<Outcome> outcomesIn(const std::string &path)
{
    std::ifstream in(path);
    std::vector<Outcome> outcomes;
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        Outcome outcome;
        if (!std::getline(fields, outcome.command, '\t') ||
            !(fields >> outcome.objects >> outcome.nanoseconds >> outcome.ratio))
            throw std::runtime_error(path + " is no file of results");
        outcomes.push_back(outcome);
    }
    if (outcomes.empty())
        throw std::runtime_error(path + " holds no results");
    return outcomes;
}

/// By command, in the order in which they were measured.
std::vector<bench::PlotLine> linesOf(const std::vector<Outcome> &outcomes)
{
    std::vector<bench::PlotLine> lines;
    for (const Outcome &outcome : outcomes) {
        auto line =
            std::find_if(lines.begin(), lines.end(), [&](const auto &one) { return one.name == outcome.command; });
        if (line == lines.end())
            line = lines.insert(lines.end(), {outcome.command, {}});
        line->points.push_back({outcome.objects, outcome.nanoseconds});
    }
    return lines;
}

std::string countText(double count)
{
    std::string text = std::to_string(static_cast<long long>(count));
    for (auto at = static_cast<int>(text.size()) - 3; at > 0; at -= 3)
        text.insert(static_cast<std::size_t>(at), 1, ',');
    return text;
}

/// A column for each size: the time, and how many times as long as the statements alone; then the growth from the first
/// size to the last.
void printGrowth(const std::vector<Outcome> &outcomes, const std::vector<bench::PlotLine> &lines)
{
    std::printf("%-40s", "median, ratio to its statements alone");
    for (const auto &point : lines.front().points)
        std::printf(" %18s", countText(point.x).c_str());
    std::printf(" %8s\n", "growth");
    for (const auto &line : lines) {
        std::printf("%-40s", line.name.c_str());
        for (const Outcome &outcome : outcomes) {
            if (outcome.command == line.name)
                std::printf(" %10s, %6.2f", bench::timeText(outcome.nanoseconds).c_str(), outcome.ratio);
        }
        std::printf(" %8.2f\n", line.points.back().y / line.points.front().y);
    }
}

void draw(const Options &options)
{
    const std::vector<Outcome> outcomes = outcomesIn(options.results);
    const std::vector<bench::PlotLine> lines = linesOf(outcomes);
    printGrowth(outcomes, lines);
    std::ofstream out(options.picture);
    out << bench::svgOf({"Time of a command through the service, by the size of the registry (medians)",
                         "objects in the registry", countText, bench::timeText, lines});
    if (!out.flush())
        throw std::runtime_error("cannot write " + options.picture);
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures commands in registries of growing size; bench/growth prepares it all.");
    program.require_subcommand(1);
    Options options;
    auto *measuring = program.add_subcommand("measure", "measures one registry and appends to the results");
    measuring->add_option("--admin", options.admin, "path of the administration server's socket")->required();
    measuring->add_option("--database", options.database, "libpq's description of the database")->required();
    measuring->add_option("--objects", options.objects, "the registry holds the objects 1 to N")
        ->check(CLI::Range(1000, 9'999'999));
    measuring->add_option("--rounds", options.rounds, "how often everything is measured")
        ->check(CLI::Range(1, 1'000'000));
    measuring->add_option("--results", options.results, "file of results")->required();
    auto *drawing = program.add_subcommand("draw", "prints the table of growth and draws it");
    drawing->add_option("--results", options.results, "file of results")->required();
    drawing->add_option("--picture", options.picture, "the SVG file to write")->required();
    CLI11_PARSE(program, argc, argv)

    try {
        if (measuring->parsed())
            measure(options);
        else
            draw(options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_growth: %s\n", error.what());
        return 1;
    }
    return 0;
}

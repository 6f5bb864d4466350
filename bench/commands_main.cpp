#include "bench/attended_service.h"
#include "bench/interleaved.h"
#include "bench/operator_figures.h"
#include "bench/report.h"
#include "bench/template_figures.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

namespace {

struct Options
{
    std::string admin;
    std::string database;
    int rounds = 10;
};

/// `figures` has run everything once; `betweenRounds` is not measured.
template <typename Figures, typename Tidy>
void measure(const Options &options, Figures &figures, Tidy betweenRounds)
{
    bench::Interleaved measured;
    const std::vector<bench::Figure> lines = figures.addFigures(measured);
    measured.measure(options.rounds, [&](int round) {
        betweenRounds();
        std::fprintf(stderr, "round %d of %d\n", round, options.rounds);
    });
    std::printf("%d rounds\n\n%s\n", options.rounds, figures.sizesText().c_str());
    bench::printReport(measured, lines);
}

void measureOperators(const Options &options)
{
    bench::OperatorFigures figures(bench::attendService(options.admin), options.database);
    measure(options, figures, [] {});
}

void measureTemplates(const Options &options)
{
    bench::TemplateFigures figures(bench::attendService(options.admin), options.database);
    measure(options, figures, [&] { figures.tidy(); });
}

} // namespace

int main(int argc, char *argv[])
{
    CLI::App program("Measures the operators' and the templates' commands; bench/operators and bench/templates prepare "
                     "it all.");
    program.require_subcommand(1);
    Options options;
    const auto add = [&](const char *name, const char *description, void (*run)(const Options &)) {
        auto *measuring = program.add_subcommand(name, description);
        measuring->add_option("--admin", options.admin, "path of the administration server's socket")->required();
        measuring->add_option("--database", options.database, "libpq's description of the database")->required();
        measuring->add_option("--rounds", options.rounds, "how often everything is measured")
            ->check(CLI::Range(1, 1'000'000));
        measuring->final_callback([&options, run] { run(options); });
    };
    add("operators", "reads a registry of operators.sql as operators do", measureOperators);
    add("templates", "makes objects from a template in a registry of growth.sql", measureTemplates);

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return program.exit(error);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_commands: %s\n", error.what());
        return 1;
    }
    return 0;
}

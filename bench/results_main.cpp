#include "bench/results_table.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

int main(int argc, char *argv[])
{
    CLI::App program("Prints the table of a file of results, which the other programs have written.");
    std::string results;
    program.add_option("results", results, "file of results")->required();
    CLI11_PARSE(program, argc, argv)

    try {
        bench::printTable(bench::readResults(results));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_results: %s\n", error.what());
        return 1;
    }
    return 0;
}

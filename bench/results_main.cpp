#include "bench/results_table.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>
#include <utility>

int main(int argc, char *argv[])
{
    CLI::App program(
        "Prints the table of a file of results, which the other programs have written, or adds a note to it.");
    std::string results;
    program.add_option("results", results, "file of results")->required();
    std::pair<std::string, std::string> note;
    program.add_option("--note", note, "add this instead: a name and a text");
    CLI11_PARSE(program, argc, argv)

    try {
        if (note.first.empty())
            bench::printTable(bench::readResults(results));
        else
            bench::appendNote(results, {note.first, note.second});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "registry_results: %s\n", error.what());
        return 1;
    }
    return 0;
}

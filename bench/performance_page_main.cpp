#include "bench/performance_page.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <string>

int main(int argc, char *argv[])
{
    CLI::App program("Writes the page of a file of results, with plots in a folder beside it.");
    std::string results;
    std::string page;
    program.add_option("results", results, "file of results")->required();
    program.add_option("page", page, "file of the page")->required();
    CLI11_PARSE(program, argc, argv)

    try {
        bench::writePage(results, page);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "performance_page: %s\n", error.what());
        return 1;
    }
    return 0;
}

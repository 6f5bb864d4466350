#include "bench/performance_page.h"

#include "bench/performance_page_plots.h"
#include "bench/performance_page_tables.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bench {

namespace {

constexpr const char *kHow = R"(## How it was measured

Everything runs on one machine: a private PostgreSQL with registries that were made for this, the services on them, and a program that
plays the administration server, one request at a time (many clients and streams of frames where a line says so). Nothing is
measured across runs: a command and what stands beside it take turns, run by run, in every round.

- **time**: median of all runs, until the command's last frame has arrived.
- **ratio**: of the command's median in a round to that of what stands beside it; median over the rounds, [p10, p90]. For
  "at least" goals it is the ratio of the rates.
- **reached**: whether the median ratio is within the goal. Lines without a goal are there to be read beside others.
- **PQexecPrepared, libpq's pipeline, COPY**: the statements that the service runs for the command, recorded from the server's
  log and sent by a program that does nothing else. Ratios below 1 are possible: the service may overlap what that program does
  one by one.
- **echo**: a process that answers with the same frames and does nothing else.
- **pgbench**: `pgbench -n -M prepared -c 1` with the same statement, measured after the commands, not in turns with them; the spread of
  its ratios is the command's own.

`bench/README.md` says more.
)";

std::string noteOf(const std::vector<Note> &notes, const std::string &name)
{
    const auto found = std::ranges::find(notes, name, &Note::name);
    return found == notes.end() ? "" : found->text;
}

std::string introduction(const std::vector<Note> &notes)
{
    std::string text = "# Performance\n\nWritten by `" + noteOf(notes, "command") +
                       "`, which measures everything anew and writes this page. Each command stands beside what the "
                       "database takes for the same statements without the service.\n\n";
    for (const Note &note : notes) {
        if (note.name != "command")
            text += "- " + note.name + ": " + note.text + "\n";
    }
    return text + "\n";
}

void write(const std::filesystem::path &path, const std::string &text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

/// Returns what stands in the page for them.
std::string writePlots(const std::vector<PagePlot> &plots, const std::filesystem::path &folder)
{
    std::string links;
    std::filesystem::create_directories(folder);
    for (const PagePlot &plot : plots) {
        write(folder / plot.file, plot.svg);
        links += "![" + plot.title + "](" + folder.filename().string() + "/" + plot.file + ")\n\n";
    }
    return links;
}

/// Those that an earlier page had, and this one may not have.
void removeOldPlots(const std::filesystem::path &folder)
{
    if (!std::filesystem::exists(folder))
        return;
    for (const auto &file : std::filesystem::directory_iterator(folder)) {
        if (isPlotFile(file.path().filename().string()))
            std::filesystem::remove(file.path());
    }
}

} // namespace

void writePage(const std::string &resultsPath, const std::string &pagePath)
{
    const std::vector<Result> results = readResults(resultsPath);
    const std::filesystem::path page(pagePath);
    const std::filesystem::path folder = page.parent_path() / page.stem();
    removeOldPlots(folder);
    std::string text = introduction(readNotes(resultsPath)) + goalsText(results);
    text += "## Time by the size of the registry\n\n";
    const std::string sizes = writePlots(sizePlots(results), folder);
    text += sizes.empty() ? "Measured in one registry only.\n\n" : sizes;
    text += "## Where the service's time goes\n\n";
    const std::string times = writePlots(timePlots(results), folder);
    text += times.empty()
                ? "Not measured: `perf` was not there.\n\n"
                : "Samples of the processor time that the service's process takes (`perf`), while it is asked "
                  "for each command for the same time; waiting is no part of it.\n\n" +
                      times;
    write(page, text + "## All figures\n\n" + tablesText(results) + kHow);
}

} // namespace bench

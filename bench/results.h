#pragma once

#include "bench/interleaved.h"

#include <optional>
#include <string>
#include <vector>

namespace bench {

/// What begins the heading of shares of the service's time; what it did meanwhile stands behind.
inline constexpr const char *kTimeSection = "Where the service's time goes: ";

/// One measured figure beside the limit that it is held against.
struct Result
{
    std::string section; ///< heading under which it is shown
    std::string figure;
    std::string limit; ///< name of what it stands beside
    std::optional<double> goal;
    std::string unit; ///< of subject and limit: "ns", "bytes", "1/s"
    Summary subject;
    double limitMedian = 0;
    Summary ratio; ///< subject to limit
    long objects = 0;
    bool atLeast = false; ///< the goal is a lower bound of the ratio, not an upper one
};

/// Adds a line of JSON to the file, which several programs may add to one after the other. Throws std::runtime_error
/// where it cannot be written.
void appendResult(const std::string &path, const Result &result);

/// What is to be known about the run besides its figures.
struct Note
{
    std::string name;
    std::string text;
};

/// Adds a line for it to the same file.
void appendNote(const std::string &path, const Note &note);

/// All figures in their order; throws where the file cannot be read or a line is none of ours.
[[nodiscard]] std::vector<Result> readResults(const std::string &path);

[[nodiscard]] std::vector<Note> readNotes(const std::string &path);

/// Their headings, in the order in which they first stand.
[[nodiscard]] std::vector<std::string> sectionsOf(const std::vector<Result> &results);

/// Nothing where the figure has no goal. What counts is the median of the ratios.
[[nodiscard]] std::optional<bool> reachesGoal(const Result &result);

} // namespace bench

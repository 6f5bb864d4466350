#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// Takes the time of one run, which may stop it while it makes ready for its next step.
class Stopwatch
{
public:
    Stopwatch() { resume(); }
    void pause() { m_taken += Clock::now() - m_since; }
    void resume() { m_since = Clock::now(); }

    /// Of what has run until the last pause.
    [[nodiscard]] double nanoseconds() const { return std::chrono::duration<double, std::nano>(m_taken).count(); }

private:
    using Clock = std::chrono::steady_clock;

    Clock::duration m_taken{};
    Clock::time_point m_since;
};

/// One way of doing something, whose time is taken.
struct Variant
{
    std::string name;
    int runs = 1;                         ///< timed one by one in every round
    int operations = 1;                   ///< what one run does; its time is divided by it
    std::function<void(Stopwatch &)> run; ///< throws where what it did came out wrong
};

struct Summary
{
    double median = 0;
    double p10 = 0;
    double p90 = 0;
};

[[nodiscard]] Summary summaryOf(std::vector<double> values);

/// Measures variants against each other on a machine that is never quite quiet: every round runs each of them, in an
/// order drawn anew, so that whatever slows the machine for a while slows all; ratios are taken within a round.
class Interleaved
{
public:
    using Id = std::size_t;

    /// Variants of one name do the same in different places: in every round they follow each other closely, since the
    /// machine may change within one.
    Id add(Variant variant);

    /// Adds one whose runs take turns with those of `other`, run by run: the two then meet the same machine even where
    /// it changes within a round.
    Id addBeside(Id other, Variant variant);

    /// A few rounds that do not count come first. `progress` hears of every round that did.
    void measure(int rounds, const std::function<void(int)> &progress);

    [[nodiscard]] const std::string &name(Id variant) const { return m_entries[variant].variant.name; }

    /// Of one operation, over the runs of all rounds.
    [[nodiscard]] Summary nanoseconds(Id variant) const;

    /// The same for variants done one after the other: the sum of their medians in each round.
    [[nodiscard]] Summary nanoseconds(const std::vector<Id> &variants) const;

    /// How many times as long as all `references` together the subject took, over the rounds' medians.
    [[nodiscard]] Summary ratio(Id subject, const std::vector<Id> &references) const;

    /// How many nanoseconds longer, likewise.
    [[nodiscard]] Summary difference(Id subject, const std::vector<Id> &references) const;

private:
    struct Entry
    {
        Variant variant;
        std::vector<double> current; ///< samples of the round that is on
        std::vector<double> samples; ///< nanoseconds of an operation, by run
        std::vector<double> rounds;  ///< the median of each round's samples
    };

    using Group = std::vector<Id>; ///< that take turns

    [[nodiscard]] std::vector<Group> &groupsOf(const std::string &name);
    void runRound(const Group &group, bool counted);
    static void runOnce(Entry &entry);
    [[nodiscard]] std::vector<double> roundSums(const std::vector<Id> &variants) const;

    std::vector<Entry> m_entries;
    std::vector<std::vector<Group>> m_neighbours; ///< groups that follow each other
};

/// Makes the compiler believe that the bytes at `data` are read and written.
inline void keep(const void *data)
{
    asm volatile("" : : "r"(data) : "memory");
}

} // namespace bench

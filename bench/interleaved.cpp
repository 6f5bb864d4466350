#include "bench/interleaved.h"

#include <algorithm>
#include <numeric>
#include <random>
#include <utility>

namespace bench {

namespace {

constexpr int kWarmUpRounds = 3;

double quantile(const std::vector<double> &sorted, double part)
{
    const double place = part * static_cast<double>(sorted.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, sorted.size() - 1);
    return sorted[below] + (sorted[above] - sorted[below]) * (place - static_cast<double>(below));
}

} // namespace

Summary summaryOf(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    return {quantile(values, 0.5), quantile(values, 0.1), quantile(values, 0.9)};
}

Interleaved::Id Interleaved::add(Variant variant)
{
    const Id added = m_entries.size();
    groupsOf(variant.name).push_back({added});
    m_entries.push_back({std::move(variant), {}, {}, {}});
    return added;
}

/// Of the first variants in them.
std::vector<Interleaved::Group> &Interleaved::groupsOf(const std::string &name)
{
    for (std::vector<Group> &groups : m_neighbours) {
        if (this->name(groups.front().front()) == name)
            return groups;
    }
    return m_neighbours.emplace_back();
}

Interleaved::Id Interleaved::addBeside(Id other, Variant variant)
{
    m_entries.push_back({std::move(variant), {}, {}, {}});
    const Id added = m_entries.size() - 1;
    for (std::vector<Group> &groups : m_neighbours) {
        for (Group &group : groups) {
            if (std::ranges::find(group, other) != group.end())
                group.push_back(added);
        }
    }
    return added;
}

void Interleaved::measure(int rounds, const std::function<void(int)> &progress)
{
    std::mt19937 random; // the same orders in every measurement
    for (int round = -kWarmUpRounds; round < rounds; ++round) {
        std::ranges::shuffle(m_neighbours, random);
        for (std::vector<Group> &groups : m_neighbours) {
            std::ranges::shuffle(groups, random);
            for (Group &group : groups) {
                std::ranges::shuffle(group, random);
                runRound(group, round >= 0);
            }
        }
        if (round >= 0)
            progress(round + 1);
    }
}

void Interleaved::runRound(const Group &group, bool counted)
{
    int most = 0;
    for (const Id id : group)
        most = std::max(most, m_entries[id].variant.runs);
    for (int run = 0; run < most; ++run) {
        for (const Id id : group) {
            if (run < m_entries[id].variant.runs)
                runOnce(m_entries[id]);
        }
    }
    for (const Id id : group) {
        Entry &entry = m_entries[id];
        const std::vector<double> samples = std::exchange(entry.current, {});
        if (!counted)
            continue;
        entry.samples.insert(entry.samples.end(), samples.begin(), samples.end());
        entry.rounds.push_back(summaryOf(samples).median);
    }
}

void Interleaved::runOnce(Entry &entry)
{
    Stopwatch watch;
    entry.variant.run(watch);
    watch.pause();
    entry.current.push_back(watch.nanoseconds() / entry.variant.operations);
}

Summary Interleaved::nanoseconds(Id variant) const
{
    return summaryOf(m_entries[variant].samples);
}

Summary Interleaved::nanoseconds(const std::vector<Id> &variants) const
{
    return variants.size() == 1 ? nanoseconds(variants.front()) : summaryOf(roundSums(variants));
}

Summary Interleaved::ratio(Id subject, const std::vector<Id> &references) const
{
    std::vector<double> ratios = m_entries[subject].rounds;
    const std::vector<double> sums = roundSums(references);
    for (std::size_t round = 0; round < ratios.size(); ++round)
        ratios[round] /= sums[round];
    return summaryOf(std::move(ratios));
}

Summary Interleaved::difference(Id subject, const std::vector<Id> &references) const
{
    std::vector<double> differences = m_entries[subject].rounds;
    const std::vector<double> sums = roundSums(references);
    std::transform(differences.begin(), differences.end(), sums.begin(), differences.begin(), std::minus<>());
    return summaryOf(std::move(differences));
}

std::vector<double> Interleaved::roundSums(const std::vector<Id> &variants) const
{
    std::vector<double> sums(m_entries[variants.front()].rounds.size());
    for (const Id id : variants)
        std::transform(sums.begin(), sums.end(), m_entries[id].rounds.begin(), sums.begin(), std::plus<>());
    return sums;
}

} // namespace bench

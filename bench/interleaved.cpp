#include "bench/interleaved.h"

#include <algorithm>
#include <numeric>
#include <random>

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

Summary summarise(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    return {quantile(values, 0.5), quantile(values, 0.1), quantile(values, 0.9)};
}

} // namespace

Interleaved::Id Interleaved::add(Variant variant)
{
    m_entries.push_back({std::move(variant), {}, {}});
    return m_entries.size() - 1;
}

void Interleaved::measure(int rounds, const std::function<void(int)> &progress)
{
    std::vector<Id> order(m_entries.size());
    std::iota(order.begin(), order.end(), Id(0));
    std::mt19937 random; // the same orders in every measurement
    for (int round = -kWarmUpRounds; round < rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const Id id : order)
            runRound(m_entries[id], round >= 0);
        if (round >= 0)
            progress(round + 1);
    }
}

void Interleaved::runRound(Entry &entry, bool counted)
{
    std::vector<double> samples;
    for (int i = 0; i < entry.variant.runs; ++i) {
        Stopwatch watch;
        entry.variant.run(watch);
        watch.pause();
        samples.push_back(watch.nanoseconds() / entry.variant.operations);
    }
    if (!counted)
        return;
    entry.samples.insert(entry.samples.end(), samples.begin(), samples.end());
    entry.rounds.push_back(summarise(std::move(samples)).median);
}

Summary Interleaved::nanoseconds(Id variant) const
{
    return summarise(m_entries[variant].samples);
}

Summary Interleaved::nanoseconds(const std::vector<Id> &variants) const
{
    return variants.size() == 1 ? nanoseconds(variants.front()) : summarise(roundSums(variants));
}

Summary Interleaved::ratio(Id subject, const std::vector<Id> &references) const
{
    std::vector<double> ratios = m_entries[subject].rounds;
    const std::vector<double> sums = roundSums(references);
    for (std::size_t round = 0; round < ratios.size(); ++round)
        ratios[round] /= sums[round];
    return summarise(std::move(ratios));
}

Summary Interleaved::difference(Id subject, const std::vector<Id> &references) const
{
    std::vector<double> differences = m_entries[subject].rounds;
    const std::vector<double> sums = roundSums(references);
    std::transform(differences.begin(), differences.end(), sums.begin(), differences.begin(), std::minus<>());
    return summarise(std::move(differences));
}

std::vector<double> Interleaved::roundSums(const std::vector<Id> &variants) const
{
    std::vector<double> sums(m_entries[variants.front()].rounds.size());
    for (const Id id : variants)
        std::transform(sums.begin(), sums.end(), m_entries[id].rounds.begin(), sums.begin(), std::plus<>());
    return sums;
}

} // namespace bench

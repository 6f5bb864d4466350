#include "bench/memory_figures.h"

namespace bench {

namespace {

constexpr double kMostIdle = 40e6;
constexpr double kMostTimesAnswer = 2.2;

/// One reading, which has no spread.
Summary once(double value)
{
    return {value, value, value};
}

Result resultOf(std::string figure, qint64 bytes, std::string limit, double limitBytes, double goal)
{
    Result result;
    result.section = "Memory";
    result.figure = std::move(figure);
    result.limit = std::move(limit);
    result.goal = goal;
    result.unit = "bytes";
    result.subject = once(static_cast<double>(bytes));
    result.limitMedian = limitBytes;
    result.ratio = once(static_cast<double>(bytes) / limitBytes);
    return result;
}

} // namespace

std::vector<Result> memoryResults(const AnswerMemory &memory, long objects)
{
    std::vector<Result> results{resultOf("idle", memory.idle, "40 MB", kMostIdle, 1.0),
                                resultOf("peak beyond idle, full tree of 40 MB", memory.beyondIdle(), "the answer",
                                         static_cast<double>(memory.answer), kMostTimesAnswer)};
    for (Result &result : results)
        result.objects = objects;
    return results;
}

} // namespace bench

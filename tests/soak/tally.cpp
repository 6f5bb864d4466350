#include "tally.h"

#include <cstdio>

namespace soak {

void Tally::noteAbout(qint64 ms, const QString &at)
{
    ++abouts;
    if (ms <= longestAboutMs)
        return;
    longestAboutMs = ms;
    longestAboutAt = at;
}

void Tally::print() const
{
    std::printf("%-30s %9s %9s %10s %9s\n", "command", "sent", "answered", "unanswered", "announced");
    for (auto command = commands.cbegin(); command != commands.cend(); ++command)
        std::printf("%-30s %9d %9d %10d %9d\n", command.key().constData(), command->sent, command->answered,
                    command->unanswered, command->announced);
    std::printf("\n%-30s %9s\n", "fault", "times");
    for (auto fault = faults.cbegin(); fault != faults.cend(); ++fault)
        std::printf("%-30s %9d\n", fault.key().constData(), *fault);
    std::printf("\n%-30s %9s\n", "lines of the logs", "");
    for (auto line = lines.cbegin(); line != lines.cend(); ++line)
        std::printf("%-30s %9d\n", line.key().constData(), *line);
    std::printf("\n%d commands were on their way while something was done to the database; behind %d faults not the "
                "first command worked\n",
                unsure, late);
    std::printf("\"About\" asked %d times beside those commands, longest wait %lld ms (%s)\n", abouts, longestAboutMs,
                qPrintable(longestAboutAt));
    std::printf("%lld rows compared in %d comparisons, %lld differences and other problems\n", compared, comparisons,
                qint64(problems.size()));
}

void Tally::printProblems() const
{
    for (const QString &problem : problems)
        std::printf("  %s\n", qPrintable(problem));
}

} // namespace soak

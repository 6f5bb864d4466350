#pragma once

#include "campaign.h"

#include <QElapsedTimer>

namespace soak {

/// The whole run: every kind of fault once, then at random until the time is over; what the processes hold is taken
/// before the first, after the first minute, at quarters of the rest and at the end.
class Endurance
{
public:
    Endurance(quint32 seed, int seconds)
        : m_generator(seed)
        , m_seconds(seconds)
    {}
    /// Everything held.
    [[nodiscard]] bool run();

private:
    struct Figures
    {
        qint64 second = 0;
        ProcessFigures service;
        ProcessFigures hub;
    };
    void warmUp(Campaign &campaign);
    void goOn(Campaign &campaign);
    [[nodiscard]] Figures takeFigures();
    void compareMemory();
    void checkCommands();
    void printFigures() const;

    std::mt19937 m_generator;
    int m_seconds;
    QElapsedTimer m_clock;
    Tally m_tally;
    Site m_site{m_tally};
    QList<Fault> m_faults = databaseFaults() + busFaults();
    Figures m_start;
    QList<Figures> m_figures; ///< from the first minute on
};

} // namespace soak

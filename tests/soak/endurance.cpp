#include "endurance.h"

#include <QElapsedTimer>

#include <cstdio>

namespace soak {

namespace {

constexpr int kWarmUpSeconds = 60;
constexpr int kStretches = 4;
constexpr int kLastSteps = 500;

/// The commands that there are, but for "About" and "QuitSignal".
constexpr int kCommands = 41;

/// What a process may have gained since the first minute. With large blocks given back at once (see Site) the service
/// was seen to gain 200 KiB and the hub 150 in four minutes, places of the heap that were not used before, and nothing
/// in the quarter of an hour behind those. Fifty bytes lost with each command of five minutes would be more than this.
constexpr qint64 kGrowthKib = 1024;

constexpr qint64 kGivenBackMs = 12000;

} // namespace

bool Endurance::run()
{
    const QString failure = m_site.begin(Campaign::kClients);
    if (!failure.isEmpty()) {
        std::printf("the installation does not start: %s\n", qPrintable(failure));
        return false;
    }
    m_clock.start();
    Campaign campaign(m_site, m_generator, m_tally);
    campaign.begin();
    campaign.settle();
    m_start = {0, m_site.serviceFigures(), m_site.hubFigures()};
    warmUp(campaign);
    goOn(campaign);
    if (m_tally.problems.isEmpty()) {
        campaign.run(kLastSteps);
        campaign.settle();
    }
    m_figures += takeFigures();
    checkCommands();
    compareMemory();
    m_tally.print();
    printFigures();
    if (!m_tally.problems.isEmpty())
        std::printf("the service's last words: %s\n", qPrintable(m_site.service().story().right(4000)));
    // Last, where whoever sees only the end of the output sees them.
    m_tally.printProblems();
    return m_tally.problems.isEmpty();
}

/// Every fault once, in an order of the generator's; then any until the first minute is over.
void Endurance::warmUp(Campaign &campaign)
{
    QList<Fault> faults = m_faults;
    while (!faults.isEmpty() && m_tally.problems.isEmpty())
        campaign.round(faults.takeAt(campaign.random(int(faults.size()))));
    while (m_clock.elapsed() < kWarmUpSeconds * 1000 && m_tally.problems.isEmpty())
        campaign.round(m_faults[campaign.random(int(m_faults.size()))]);
    m_figures += takeFigures();
}

void Endurance::goOn(Campaign &campaign)
{
    const qint64 begin = m_clock.elapsed();
    const qint64 stretch = (m_seconds * 1000LL - begin) / kStretches;
    for (int i = 1; i <= kStretches; ++i) {
        while (m_clock.elapsed() < begin + i * stretch && m_tally.problems.isEmpty())
            campaign.round(m_faults[campaign.random(int(m_faults.size()))]);
        if (i < kStretches)
            m_figures += takeFigures();
    }
}

/// Once the service and the hub have let go of all whom the faults have brought, as they must. A session with the
/// database keeps room for the largest statement and answer that it has had, so a new one is begun first, as the
/// service does behind a text that leaves a transaction open.
Endurance::Figures Endurance::takeFigures()
{
    Figures figures;
    if (m_site.reads("BEGIN") || !m_site.works())
        m_tally.problems += "the service does not begin a new session";
    // The service gives back every five seconds what it has freed; what it does not give back is what is looked for.
    QElapsedTimer waiting;
    waiting.start();
    const bool haveLetGo = support::ServiceProcess::waitUntil([&] {
        figures = {m_clock.elapsed() / 1000, m_site.serviceFigures(), m_site.hubFigures()};
        if (figures.service.residentKib > m_start.service.residentKib + kGrowthKib && waiting.elapsed() < kGivenBackMs)
            return false;
        return figures.service.descriptors == m_start.service.descriptors &&
               figures.hub.descriptors == m_start.hub.descriptors;
    });
    if (!haveLetGo)
        m_tally.problems += QStringLiteral("the service holds %1 descriptors, at first %2, the hub %3, at first %4")
                                .arg(figures.service.descriptors)
                                .arg(m_start.service.descriptors)
                                .arg(figures.hub.descriptors)
                                .arg(m_start.hub.descriptors);
    return figures;
}

void Endurance::compareMemory()
{
    const auto check = [this](const char *who, const ProcessFigures &first, const ProcessFigures &last) {
        const qint64 growth = last.residentKib - first.residentKib;
        if (growth > kGrowthKib)
            m_tally.problems += QStringLiteral("%1 has grown by %2 KiB since the first minute, more than %3")
                                    .arg(who)
                                    .arg(growth)
                                    .arg(kGrowthKib);
    };
    check("the service", m_figures.first().service, m_figures.last().service);
    check("the hub", m_figures.first().hub, m_figures.last().hub);
}

void Endurance::checkCommands()
{
    const bool wentThrough = m_tally.problems.isEmpty();
    if (wentThrough && m_tally.commands.size() != kCommands)
        m_tally.problems += QStringLiteral("%1 commands were sent, not %2").arg(m_tally.commands.size()).arg(kCommands);
}

void Endurance::printFigures() const
{
    std::printf("\n%8s %20s %20s %14s %14s\n", "second", "service, descriptors", "resident KiB", "hub", "resident KiB");
    for (const Figures &figures : QList<Figures>{m_start} + m_figures)
        std::printf("%8lld %20d %20lld %14d %14lld\n", figures.second, figures.service.descriptors,
                    figures.service.residentKib, figures.hub.descriptors, figures.hub.residentKib);
}

} // namespace soak

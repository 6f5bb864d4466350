#include "campaign.h"

#include "registry_reader.h"

#include <QRegularExpression>

namespace soak {

using support::ServiceProcess;

namespace {

constexpr int kFewestSteps = 50;
constexpr int kMoreSteps = 800;
constexpr int kStepsPerDrain = 50;

/// What of standard error is the service's own: warnings of Qt, sanitizers and the language's runtime. Until the
/// service has the connection, QtSql and libpq print there what they think of a server that goes meanwhile.
QString ownWords(const QByteArray &standardError)
{
    static const QRegularExpression word("runtime error|Sanitizer|ASSERT|terminate called|^Q[A-Z][A-Za-z]+(::|: )");
    return QString::fromUtf8(standardError).split(u'\n', Qt::SkipEmptyParts).filter(word).join(u'\n');
}

} // namespace

Campaign::Campaign(Site &site, std::mt19937 &generator, Tally &tally)
    : Scene(site, generator, tally)
{
    for (int i = 0; i < kClients; ++i)
        m_clients.push_back(std::make_unique<Client>(site.hubPath(), i, tally));
    for (const auto &kinds :
         {objectKinds(), recordKinds(), commandKinds(), operatorKinds(), templateKinds(), searchKinds()}) {
        for (const Kind &kind : kinds)
            m_kinds.insert(m_kinds.end(), size_t(kind.weight), kind);
    }
}

void Campaign::begin()
{
    takeOver();
    (void)site().newServiceLines();
    (void)site().newHubLines();
}

void Campaign::step(bool mayWait)
{
    const Draw draw = nextDraw();
    ++m_steps;
    Client &client = *m_clients[size_t(draw.pick(0, kClients))];
    if (client.isBusy() && !mayWait)
        return;
    client.conclude();
    const Kind &kind = m_kinds[size_t(draw.pick(1, int(m_kinds.size())))];
    client.send(kind.make({client.area(), m_model, draw, m_steps}), m_isSure);
    if (m_steps % kStepsPerDrain == 0)
        site().drain();
}

void Campaign::run(int steps)
{
    for (int i = 0; i < steps && tally().problems.isEmpty(); ++i)
        step(true);
}

void Campaign::runUnanswered(int steps)
{
    for (int i = 0; i < steps; ++i)
        step(false);
}

void Campaign::concludeAll()
{
    for (const auto &client : m_clients)
        client->conclude();
}

void Campaign::doubt()
{
    m_isSure = false;
    for (const auto &client : m_clients)
        client->doubt();
}

void Campaign::round(const Fault &fault)
{
    ++tally().faults[fault.name];
    run(kFewestSteps + random(kMoreSteps));
    fault.strike(*this);
    run(random(kFewestSteps));
    if (fault.isOnDatabase)
        recover();
    settle();
    countLines(fault.name, fault.lines);
}

/// The database is there again, so the next command works; a server that took longer than a second to refuse an attempt
/// may be left alone for some more.
void Campaign::recover()
{
    int tries = 0;
    const bool works = ServiceProcess::waitUntil([&] {
        ++tries;
        return site().works();
    });
    expect(works, "the service does not find the database again");
    tally().late += tries > 1 ? 1 : 0;
}

void Campaign::settle()
{
    concludeAll();
    site().about("after a fault");
    const QString owed = site().owed();
    expect(owed.isEmpty(), owed);
    expect(site().service().isRunning(), "the service has ended");
    const QString said = ownWords(site().service().standardError());
    expect(said.isEmpty(), "the service says: " + said);
    compare();
    m_isSure = true;
}

void Campaign::compare()
{
    const Places found = readRegistry(site().database());
    tally().compared += rowCount(found);
    ++tally().comparisons;
    tally().problems += m_model.differences(found);
    takeOver();
}

void Campaign::takeOver()
{
    tendRegistry(site().database());
    const Places found = readRegistry(site().database());
    m_model.adopt(found);
    for (const auto &client : m_clients)
        client->area().takeOver(found);
}

void Campaign::countLines(const QString &name, const Lines &expected)
{
    const QStringList service = site().newServiceLines();
    const auto count = [](const QStringList &lines, const char *text) {
        return int(lines.filter(QLatin1String(text)).size());
    };
    const auto check = [&](const char *what, int found, int fewest, int most) {
        tally().lines[what] += found;
        expect(found >= fewest && found <= most, QStringLiteral("%1: \"%2\" stands %3 times in the log, not %4 to %5")
                                                     .arg(name, QLatin1String(what))
                                                     .arg(found)
                                                     .arg(fewest)
                                                     .arg(most));
    };
    check("Database connection lost", count(service, "Database connection lost"), expected.lost,
          expected.lost + expected.maybeLost);
    check("Cannot open database", count(service, "Cannot open database"), expected.unavailable, expected.unavailable);
    check("cut off", count(service, "Connection cut off: ") + count(site().newHubLines(), "bytes wait for it"),
          expected.cutOff, expected.cutOff);
}

} // namespace soak

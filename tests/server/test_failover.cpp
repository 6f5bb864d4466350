// The primary of a pair of database servers goes at a random moment of a stream of changes and its standby is promoted;
// the service is given both from the start. What a client sees of it is measured. How many rounds each way says the
// environment variable FAILOVER_ROUNDS, with which seed FAILOVER_SEED.

#include "change_stream.h"
#include "conversation.h"
#include "service_process.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

using support::ChangeStream;
using support::PgServer;
using support::ServiceProcess;

namespace {

constexpr int kUsualRounds = 2;
constexpr quint32 kLongestDelayUs = 300000;
constexpr int kShownPlaces = 5;
constexpr int kStatementLimitMs = 500;
constexpr std::chrono::milliseconds kLag(200);

int rounds()
{
    const int wanted = qEnvironmentVariableIntValue("FAILOVER_ROUNDS");
    return wanted > 0 ? wanted : kUsualRounds;
}

quint32 seed()
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("FAILOVER_SEED", &isGiven);
    return isGiven ? quint32(given) : QRandomGenerator::global()->generate() & 0x7FFFFFFF;
}

/// "median (p10 to p90)" of what was measured.
QString spread(std::vector<qint64> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](double share) { return values[std::size_t(share * double(values.size() - 1) + 0.5)]; };
    return values.empty() ? QStringLiteral("none")
                          : QStringLiteral("%1 (%2 to %3)").arg(at(0.5)).arg(at(0.1)).arg(at(0.9));
}

/// What the rounds of one way came to, times in milliseconds.
struct Measured
{
    std::vector<qint64> sinceFault;     ///< until the first change worked again
    std::vector<qint64> sincePromotion; ///< the same, from when the promotion was asked for
    std::vector<qint64> promotion;      ///< until the standby said that it is promoted
    std::vector<qint64> refused;        ///< changes that were not announced, or not for all their objects
    std::vector<qint64> missing;        ///< places that do not hold what was announced after success
    QStringList lost;                   ///< those places

    void tell(const char *way) const
    {
        qInfo("%s, %zu rounds, median (p10 to p90):", way, sinceFault.size());
        qInfo("  from the fault until a change works    %s ms", qPrintable(spread(sinceFault)));
        qInfo("  from the promotion until a change works %s ms", qPrintable(spread(sincePromotion)));
        qInfo("  the promotion itself                   %s ms", qPrintable(spread(promotion)));
        qInfo("  changes refused meanwhile              %s", qPrintable(spread(refused)));
        qInfo("  places that lost what was announced    %s, in all %lld", qPrintable(spread(missing)),
              qint64(lost.size()));
        for (const QString &place : lost.mid(0, kShownPlaces))
            qInfo("    %s", qPrintable(place));
    }
};

} // namespace

class TestFailover : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void announcedChangesOutliveAKilledPrimary();
    void announcedChangesOutliveASilentPrimary();
    void changesWaitForAMissingSynchronousStandby();
    void withoutSynchronyTheLastChangesMayGo();
    void whatALateStandbyHasNotGotIsLost();

private:
    enum class Fault { Killed, Silent };
    enum class Standby { Synchronous, Asynchronous, Late }; ///< late: asynchronous and behind by kLag

    PgServer &primary() { return *m_servers[m_primary]; }
    PgServer &standby() { return *m_servers[1 - m_primary]; }
    /// The server that has gone comes back as the standby of the one that has taken over.
    void completeThePair();
    void follow(Standby way);
    void configure(PgServer &server, const QString &names);
    /// One round: fault, promotion, a change that works.
    void strike(Fault fault, Standby way, Measured &measured);

    std::array<std::unique_ptr<PgServer>, 2> m_servers;
    std::size_t m_primary = 0;
    bool m_isPair = true;
    std::unique_ptr<support::TestDatabase> m_database;
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    std::unique_ptr<ChangeStream> m_stream;
};

void TestFailover::initTestCase()
{
    m_servers[0] = PgServer::own();
    m_database = primary().cloneDatabase();
    ChangeStream::prepare(*m_database);
    m_servers[1] = PgServer::standbyOf(primary());
    const auto both = [this](auto &&of) { return of(*m_servers[0]) + ',' + of(*m_servers[1]) + '\n'; };
    m_service.start("DbHost=" + both([](PgServer &server) { return server.socketFolder().toUtf8(); }) +
                    "DbPort=" + both([](PgServer &server) { return QByteArray::number(server.port()); }) +
                    "DbName=" + m_database->name().toUtf8() + "\nDbUser=objects_service\n" +
                    "DbOptions=target_session_attrs=read-write\n" +
                    "DbStatementTimeout=" + QByteArray::number(kStatementLimitMs) + '\n');
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    const quint32 chosen = seed();
    qInfo("seed %u", chosen);
    m_stream = std::make_unique<ChangeStream>(m_admin, chosen);
}

void TestFailover::cleanupTestCase()
{
    // For the end of the database, should a test have failed: its last change must not wait for anybody.
    if (!m_database)
        return;
    m_database->moveTo(primary());
    configure(primary(), "");
}

void TestFailover::configure(PgServer &server, const QString &names)
{
    server.administer(QStringLiteral("ALTER SYSTEM SET synchronous_standby_names = '%1'").arg(names));
    server.administer("SELECT pg_reload_conf()");
}

void TestFailover::completeThePair()
{
    // A standby takes over this setting with the rest, and would wait for another one when it is promoted.
    configure(primary(), "");
    if (!m_isPair)
        standby().becomeStandbyOf(primary());
    m_isPair = true;
}

void TestFailover::follow(Standby way)
{
    completeThePair();
    configure(primary(), way == Standby::Synchronous ? "*" : "");
    const QString state = way == Standby::Synchronous ? "sync" : "async";
    QVERIFY(ServiceProcess::waitUntil([&] {
        return m_database->value("SELECT sync_state FROM pg_stat_replication WHERE state = 'streaming'") == state;
    }));
}

void TestFailover::strike(Fault fault, Standby way, Measured &measured)
{
    follow(way);
    const int sender = way == Standby::Late ? m_database->value("SELECT pid FROM pg_stat_replication").toInt() : 0;
    m_database->disconnect();
    const int refusedBefore = m_stream->unannounced();
    const std::chrono::microseconds delay(m_stream->random(kLongestDelayUs));
    QElapsedTimer clock;
    clock.start();
    std::atomic<qint64> faultAt = 0;
    std::atomic<qint64> askedAt = 0; // the server has gone by then: what works behind this works on the other one
    std::atomic<qint64> promotedAt = 0;
    std::thread other([&] {
        std::this_thread::sleep_for(delay); // the random moment
        if (sender > 0 && ::kill(sender, SIGSTOP) == 0)
            std::this_thread::sleep_for(kLag);
        faultAt = clock.elapsed();
        fault == Fault::Killed ? primary().kill() : primary().freeze();
        askedAt = clock.elapsed();
        standby().administer("SELECT pg_promote()");
        promotedAt = clock.elapsed();
    });
    QString wrong;
    bool works = false;
    while (!works && wrong.isEmpty() && clock.elapsed() < support::kPatienceMs) {
        const bool isBehind = askedAt > 0;
        wrong = m_stream->next(isBehind ? std::optional(ChangeStream::Kind::Sensor) : std::nullopt);
        works = isBehind && m_stream->lastWasAnnounced();
    }
    const qint64 worksAt = clock.elapsed();
    other.join();
    primary().kill(); // where it was only halted
    m_isPair = false;
    m_primary = 1 - m_primary;
    m_database->moveTo(primary());
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    QVERIFY2(works, qPrintable(m_service.story().right(2000)));
    const QStringList differences = m_stream->differences(*m_database);
    measured.sinceFault.push_back(worksAt - faultAt);
    measured.sincePromotion.push_back(worksAt - askedAt);
    measured.promotion.push_back(promotedAt - askedAt);
    measured.refused.push_back(m_stream->unannounced() - refusedBefore);
    measured.missing.push_back(differences.size());
    measured.lost += differences;
    QVERIFY(m_service.isRunning());
}

void TestFailover::announcedChangesOutliveAKilledPrimary()
{
    Measured measured;
    const int before = m_stream->announced();
    for (int i = 0; i < rounds(); ++i) {
        strike(Fault::Killed, Standby::Synchronous, measured);
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(measured.lost.isEmpty(), qPrintable(measured.lost.join('\n')));
        QCOMPARE(m_service.logTexts().filter("Database connection lost").size(), i + 1);
    }
    measured.tell("primary killed, synchronous standby promoted");
    qInfo("  announcements after success            %d, all in the database; longest answer %lld ms",
          m_stream->announced() - before, m_stream->longestMs());
}

void TestFailover::announcedChangesOutliveASilentPrimary()
{
    Measured first; // of the two that the setting names
    Measured second;
    for (int i = 0; i < rounds(); ++i) {
        Measured &measured = m_primary == 0 ? first : second;
        strike(Fault::Silent, Standby::Synchronous, measured);
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(measured.lost.isEmpty(), qPrintable(measured.lost.join('\n')));
    }
    // The session that was given up is ended where it was, and its number means nothing to another server.
    for (const auto &server : m_servers)
        QVERIFY2(!server->said().contains("is not a PostgreSQL backend process"), "a number of the other server");
    first.tell("primary named first gone silent, synchronous standby promoted");
    second.tell("primary named second gone silent, synchronous standby promoted");
    qInfo("  longest answer %lld ms, with a statement limit of %d ms", m_stream->longestMs(), kStatementLimitMs);
}

void TestFailover::changesWaitForAMissingSynchronousStandby()
{
    constexpr int kChanges = 3;
    follow(Standby::Synchronous);
    if (QTest::currentTestFailed())
        return;
    standby().kill();
    m_isPair = false;
    std::vector<qint64> taken;
    for (int i = 0; i < kChanges; ++i) {
        QElapsedTimer clock;
        clock.start();
        const QString wrong = m_stream->next(ChangeStream::Kind::Sensor);
        const qint64 ms = clock.elapsed();
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
        QVERIFY(!m_stream->lastWasAnnounced());
        QVERIFY2(ms > kStatementLimitMs, qPrintable(QString::number(ms)));
        taken.push_back(ms);
    }
    qInfo("without its synchronous standby a change is given up after %s ms, and everything behind it waits as long",
          qPrintable(spread(taken)));
    configure(primary(), "");
    QString wrong;
    const bool works = ServiceProcess::waitUntil([&] {
        wrong = m_stream->next(ChangeStream::Kind::Sensor);
        return m_stream->lastWasAnnounced() || !wrong.isEmpty();
    });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    QVERIFY(works);
    QCOMPARE(m_stream->differences(*m_database), QStringList());
}

void TestFailover::withoutSynchronyTheLastChangesMayGo()
{
    Measured measured;
    const int before = m_stream->announced();
    for (int i = 0; i < rounds(); ++i) {
        strike(Fault::Killed, Standby::Asynchronous, measured);
        if (QTest::currentTestFailed())
            return;
    }
    measured.tell("primary killed, asynchronous standby promoted");
    qInfo("  announcements after success            %d", m_stream->announced() - before);
}

void TestFailover::whatALateStandbyHasNotGotIsLost()
{
    Measured measured;
    for (int i = 0; i < rounds(); ++i) {
        strike(Fault::Killed, Standby::Late, measured);
        if (QTest::currentTestFailed())
            return;
    }
    measured.tell("primary killed, asynchronous standby 200 ms behind promoted");
    // So the comparison sees what is lost.
    QVERIFY(!measured.lost.isEmpty());
}

QTEST_GUILESS_MAIN(TestFailover)
#include "test_failover.moc"

// The database server is killed, or all its connections are ended, at random moments under a stream of changes. How
// often says the environment variable DATABASE_KILLS, with which seed DATABASE_KILLS_SEED.

#include "change_stream.h"
#include "conversation.h"
#include "service_process.h"

#include <QRandomGenerator>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

using support::ChangeStream;
using support::PgServer;
using support::ServiceProcess;

namespace {

constexpr int kUsualKills = 10;
constexpr quint32 kLongestDelayUs = 100000; // some dozen changes; each is followed by others until the database is back

int kills()
{
    const int wanted = qEnvironmentVariableIntValue("DATABASE_KILLS");
    return wanted > 0 ? wanted : kUsualKills;
}

quint32 seed()
{
    bool isGiven = false;
    const int given = qEnvironmentVariableIntValue("DATABASE_KILLS_SEED", &isGiven);
    return isGiven ? quint32(given) : QRandomGenerator::global()->generate() & 0x7FFFFFFF;
}

} // namespace

class TestDatabaseKills : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_server->start(); } // for the end of the database, should a test have failed
    void announcedChangesOutliveAKilledServer();
    void announcedChangesOutliveEndedConnections();

private:
    /// Lets `fault` happen at a random moment of the stream, which goes on until it is over. The next change then
    /// works; a database that took longer than a second to refuse an attempt may be left alone for some more.
    void strike(const std::function<void()> &fault);
    void tell(const char *what, int times) const;

    std::unique_ptr<PgServer> m_server;
    std::unique_ptr<support::TestDatabase> m_database;
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    std::unique_ptr<ChangeStream> m_stream;
    int m_late = 0; ///< times that not the next change worked, but a later one
};

void TestDatabaseKills::initTestCase()
{
    m_server = PgServer::own();
    m_database = m_server->cloneDatabase();
    ChangeStream::prepare(*m_database);
    m_service.start(m_database->settings());
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    // The last line of its log that has nothing to do with the database.
    QVERIFY2(m_service.waitForLog("Start server"), qPrintable(m_service.story()));
    const quint32 chosen = seed();
    qInfo("seed %u", chosen);
    m_stream = std::make_unique<ChangeStream>(m_admin, chosen);
}

void TestDatabaseKills::strike(const std::function<void()> &fault)
{
    const std::chrono::microseconds delay(m_stream->random(kLongestDelayUs));
    std::atomic<bool> isOver = false;
    std::thread other([&] {
        std::this_thread::sleep_for(delay); // the random moment
        fault();
        isOver = true;
    });
    QString wrong;
    while (!isOver && wrong.isEmpty())
        wrong = m_stream->next();
    other.join();
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    int tries = 0;
    const bool works = ServiceProcess::waitUntil([&] {
        wrong = m_stream->next(ChangeStream::Kind::Sensor);
        ++tries;
        return m_stream->lastWasAnnounced() || !wrong.isEmpty();
    });
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
    QVERIFY2(works, qPrintable(m_service.story().right(2000)));
    m_late += tries > 1 ? 1 : 0;
    QCOMPARE(m_stream->differences(*m_database), QStringList());
    QVERIFY(m_service.isRunning());
}

void TestDatabaseKills::tell(const char *what, int times) const
{
    qInfo(
        "%s %d times: so far %d changes; %d announcements after success, all in the database; %d changes failed, %d of "
        "them in the middle; longest answer %lld ms; %d times not the next change worked but a later one",
        what, times, m_stream->changes(), m_stream->announced(), m_stream->unannounced(), m_stream->cut(),
        m_stream->longestMs(), m_late);
    const QStringList lost = m_stream->lostFields();
    qInfo("fields announced without success that the database has not got: %lld", qint64(lost.size()));
    // A campaign names them all.
    for (const QString &field : lost.mid(0, kills() == kUsualKills ? 3 : -1))
        qInfo("  %s", qPrintable(field));
}

void TestDatabaseKills::announcedChangesOutliveAKilledServer()
{
    const int times = kills();
    for (int i = 0; i < times; ++i) {
        m_database->disconnect();
        strike([this] {
            m_server->kill();
            m_server->start();
        });
        if (QTest::currentTestFailed())
            return;
        // However many commands came while it was away.
        QCOMPARE(m_service.logTexts().filter("Database connection lost").size(), i + 1);
        QCOMPARE(m_service.logTexts().filter("Cannot open database : ").size(), i + 1);
    }
    tell("server killed", times);
    // An attempt to connect that takes a second, as on a machine that stands still, costs the commands behind it a
    // pause.
    QVERIFY2(m_late <= std::max(kUsualKills / 3, times / 10), qPrintable(QString::number(m_late)));
}

void TestDatabaseKills::announcedChangesOutliveEndedConnections()
{
    const int times = kills();
    const qsizetype lines = m_service.log().size();
    const int late = m_late;
    for (int i = 0; i < times; ++i) {
        m_database->disconnect();
        strike([this] {
            m_server->administer("SELECT pg_terminate_backend(pid, 30000) FROM pg_stat_activity WHERE backend_type = "
                                 "'client backend' AND pid <> pg_backend_pid()");
        });
        if (QTest::currentTestFailed())
            return;
    }
    QStringList told = m_service.logTexts().mid(lines);
    told.removeIf([](const QString &text) { return text.startsWith("Start server: "); });
    QVERIFY2(told == QStringList(times, "Database connection lost"), qPrintable(told.join('\n')));
    tell("connections ended", times);
    QCOMPARE(m_late, late);
}

QTEST_GUILESS_MAIN(TestDatabaseKills)
#include "test_database_kills.moc"

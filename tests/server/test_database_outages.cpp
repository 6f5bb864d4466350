// A database server that takes connections and never answers, one that stops answering within a session, and a schema
// that lacks a table.

#include "conversation.h"
#include "pg_server.h"
#include "registry_bytes.h"
#include "service_process.h"

#include <QDir>
#include <QElapsedTimer>

#include <csignal>

using support::i32;
using support::i8;
using support::PgServer;
using support::ServiceProcess;

namespace {

constexpr int kOperator = 4;
const QString kLost = QStringLiteral("Database connection lost");
const QString kCannotOpen = QStringLiteral("Cannot open database : ");

QByteArray get()
{
    return support::command("Get_object_card_v2", i32(17), kOperator);
}

QByteArray emptyCard()
{
    return support::answer("Get_object_card_v2", i32(17) + i32(0), kOperator);
}

QByteArray fullCard()
{
    return support::answer("Get_object_card_v2", i32(17) + i32(1) + support::cardRecord({5, "p", "d", 1, "v", 't'}),
                           kOperator);
}

QByteArray setSensor()
{
    return support::command("Fix_sensor_multi_objs_v2",
                            i8(1) + support::numbers({17}) + support::sensorRecord({.name = "s", .type = 1}),
                            kOperator);
}

QByteArray getSensors()
{
    return support::command("Get_sensors_v2", i32(17), kOperator);
}

} // namespace

class TestDatabaseOutages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void silentServerIsToldOnceAndLeftAlone();
    void sessionThatStopsAnsweringIsGivenUp();
    void missingTableFailsItsOwnCommandsOnly();
    void startsWithoutTheAccounts();

private:
    void letConnect() { QVERIFY(QFile::link(m_socket, m_place)); }
    int serviceProcess() { return m_database->value(kServiceProcess).toInt(); }
    QStringList newLogLines() const { return m_service.logTexts().mid(m_logLines); }

    const QString kServiceProcess = "SELECT pid FROM pg_stat_activity WHERE usename = 'objects_service' AND datname = "
                                    "current_database() ORDER BY backend_start DESC";
    std::unique_ptr<support::TestDatabase> m_database = PgServer::shared().cloneDatabase();
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    QString m_name = QStringLiteral(".s.PGSQL.%1").arg(PgServer::shared().port());
    QString m_socket = PgServer::shared().socketFolder() + '/' + m_name;
    QString m_place = m_service.path(m_name); ///< where the service looks for the server
    qsizetype m_logLines = 0;
};

void TestDatabaseOutages::initTestCase()
{
    m_database->run("INSERT INTO \"Objects_property\" VALUES (5, 17, 'p', 'd', 1, 'v', true)");
    letConnect();
    // Of two values of a key the last one counts.
    m_service.start(m_database->settings() + "DbHost=" + m_service.path("").toUtf8() +
                    "\nLog=2\nDbStatementTimeout=2000\n");
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    // The last line of its log that has nothing to do with the database.
    QVERIFY2(m_service.waitForLog("Start server"), qPrintable(m_service.story()));
}

void TestDatabaseOutages::init()
{
    QFile::remove(m_place);
    letConnect();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
    m_logLines = m_service.log().size();
}

void TestDatabaseOutages::silentServerIsToldOnceAndLeftAlone()
{
    constexpr int kCommands = 6;
    constexpr int kTogetherMs = 6500; // one attempt of 3 s and no second one
    QVERIFY(QFile::remove(m_place));
    support::Listener silent(m_place);
    m_database->run(QStringLiteral("SELECT pg_terminate_backend(%1, 30000)").arg(serviceProcess()));
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < kCommands; ++i) {
        m_admin.send(support::commandWithNoData("About", kOperator) + get());
        const QByteArray about = m_admin.nextFrame();
        QVERIFY2(support::isAbout(about, kOperator), qPrintable(support::describe(about)));
        // It does not wait for the attempt.
        if (i == 0)
            QCOMPARE(newLogLines().filter(kCannotOpen).size(), 0);
        SAYS(m_admin, emptyCard());
        SAYS_NOTHING_MORE(m_admin);
    }
    QVERIFY2(clock.elapsed() < kTogetherMs, qPrintable(QString::number(clock.elapsed())));
    QVERIFY(silent.hasCaller());
    QCOMPARE(newLogLines().filter(kLost).size(), 1);
    QCOMPARE(newLogLines().filter(kCannotOpen).size(), 1);
    QVERIFY2(newLogLines().filter(kCannotOpen)[0].contains("timeout expired"), qPrintable(m_service.story()));
    // At this level of the log each failed statement has a line besides.
    QCOMPARE(newLogLines().size(), 2 + kCommands);

    silent.close();
    letConnect();
    // It is left alone for five seconds at the most.
    QVERIFY(ServiceProcess::waitUntil([this] {
        m_admin.send(get());
        return m_admin.nextFrame() == fullCard();
    }));
    QCOMPARE(newLogLines().filter(kCannotOpen).size(), 1);
}

void TestDatabaseOutages::sessionThatStopsAnsweringIsGivenUp()
{
    constexpr int kSoonMs = 15000; // far above the limit of 2 s and the second after it
    const int frozen = serviceProcess();
    QCOMPARE(::kill(frozen, SIGSTOP), 0);
    QElapsedTimer clock;
    clock.start();
    m_admin.send(get());
    const QByteArray said = m_admin.nextFrame();
    const qint64 taken = clock.elapsed();
    m_admin.send(get());
    const QByteArray saidNext = m_admin.nextFrame();
    QCOMPARE(::kill(frozen, SIGCONT), 0);
    QCOMPARE(said, emptyCard());
    QVERIFY2(taken < kSoonMs, qPrintable(QString::number(taken)));
    QCOMPARE(saidNext, fullCard());
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(newLogLines().size(), 2);
    QVERIFY2(newLogLines()[0].startsWith("Get_object_card_v2: "), qPrintable(newLogLines()[0]));
    QCOMPARE(newLogLines()[1], kLost);
    // The session that was given up is ended.
    QVERIFY(ServiceProcess::waitUntil([&] {
        m_database->run("SELECT pg_stat_clear_snapshot()");
        return m_database->rows(kServiceProcess).size() == 1 && serviceProcess() != frozen;
    }));
}

void TestDatabaseOutages::missingTableFailsItsOwnCommandsOnly()
{
    m_admin.send(setSensor());
    SAYS(m_admin, support::savedCard(17));
    m_database->run("ALTER TABLE \"Sensors\" RENAME TO \"Away\"");
    for (int i = 0; i < 3; ++i) {
        m_admin.send(getSensors() + setSensor() + get());
        SAYS(m_admin, support::answer("Get_sensors_v2", i32(17) + i32(0), kOperator));
        SAYS(m_admin, fullCard());
        SAYS_NOTHING_MORE(m_admin);
    }
    m_database->run("ALTER TABLE \"Away\" RENAME TO \"Sensors\"");
    QCOMPARE(newLogLines().size(), 6);
    for (const QString &line : newLogLines())
        QVERIFY2(line.contains("_v2: ERROR:  relation \"Sensors\" does not exist"), qPrintable(line));
    m_admin.send(setSensor() + getSensors());
    SAYS(m_admin, support::savedCard(17));
    SAYS(m_admin, support::answer("Get_sensors_v2", i32(17) + i32(1) + support::sensorRecord({.name = "s", .type = 1}),
                                  kOperator));
}

void TestDatabaseOutages::startsWithoutTheAccounts()
{
    m_database->run("ALTER TABLE \"Connections\" RENAME TO \"Away\"");
    ServiceProcess second;
    second.start(m_database->settings());
    const bool isUp = second.waitForLog("Start Ok!");
    m_database->run("ALTER TABLE \"Away\" RENAME TO \"Connections\"");
    QVERIFY2(isUp, qPrintable(second.story()));
    // One line a column that could not be added.
    QCOMPARE(second.logTexts().filter("relation \"Connections\" does not exist").size(), 2);
    QVERIFY(second.isRunning());
}

QTEST_GUILESS_MAIN(TestDatabaseOutages)
#include "test_database_outages.moc"

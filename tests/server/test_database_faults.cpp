// The database is not there yet, goes, or is killed in the middle of a command.

#include "conversation.h"
#include "installation.h"

#include <QFile>

using support::i32;
using support::i8;
using support::PgServer;
using support::ServiceProcess;

namespace {

constexpr int kOperator = 4;

QByteArray get()
{
    return support::command("Get_object_card_v2", i32(17), kOperator);
}

QByteArray save()
{
    return support::command("Save_object_card_v2", i32(17) + i32(1) + support::cardRecord({-1, "new", "", 0, "", 't'}),
                            kOperator);
}

QByteArray update()
{
    return support::command("Update_object_card_field",
                            i32(17) + i32(1) + i32(1) + support::cardRecord({-1, "p", "", 0, "new", 't'}), kOperator);
}

QByteArray setOnMany()
{
    return support::command("Fix_property_multi_objs_v2",
                            i8(1) + i32(1) + i32(17) + support::cardRecord({-1, "p", "", 0, "", 't'}), kOperator);
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

} // namespace

class TestDatabaseFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_server->start(); } // for the end of the database, should a test have failed
    void servesTheBusWithoutDatabase();
    void commandsFailInTheirOwnWayWithoutDatabase();
    void nextCommandWorksWhenTheDatabaseAppears();
    void nextCommandWorksAfterTheDatabaseWentAndCame_data();
    void nextCommandWorksAfterTheDatabaseWentAndCame();
    void commandInFlightFailsAndTheNextWorks_data();
    void commandInFlightFailsAndTheNextWorks();
    void commandWhileTheDatabaseIsAwayDoesNotSpoilTheNext();
    void nextCommandWorksAfterTheTableChanged();
    void burstOfCommandsOutlivesLostConnections();
    void lostConnectionsLeaveNothingBehind();

private:
    void fillCard();
    void endServicesConnection();

    std::unique_ptr<PgServer> m_server;
    std::unique_ptr<support::TestDatabase> m_database;
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    support::ClientPeer m_client;
};

void TestDatabaseFaults::initTestCase()
{
    m_server = PgServer::own();
    m_database = m_server->cloneDatabase();
    m_database->run("INSERT INTO \"Connections\" (\"Id\", \"Login\") VALUES (4, 'ivanov')");
    m_database->run(
        "ALTER TABLE \"Connections\" DROP COLUMN \"Email\", DROP COLUMN \"Phone\", OWNER TO objects_service");
    fillCard();
    m_database->disconnect();
    m_server->stop();
    m_service.start(m_database->settings() + "Log=2\n");
}

void TestDatabaseFaults::fillCard()
{
    m_database->run("TRUNCATE \"Objects_property\"");
    m_database->run("INSERT INTO \"Objects_property\" VALUES (5, 17, 'p', 'd', 1, 'v', true)");
}

void TestDatabaseFaults::endServicesConnection()
{
    const QString process =
        m_database->value("SELECT pid FROM pg_stat_activity WHERE usename = 'objects_service'").toString();
    QVERIFY(!process.isEmpty());
    m_database->run(QStringLiteral("SELECT pg_terminate_backend(%1)").arg(process));
    // Its row goes a moment before its socket.
    QVERIFY(ServiceProcess::waitUntil([&] { return !QFile::exists("/proc/" + process); }));
}

void TestDatabaseFaults::servesTheBusWithoutDatabase()
{
    QVERIFY2(m_service.waitForLog("Start Ok!"), qPrintable(m_service.story()));
    QCOMPARE(m_service.logTexts().filter("Cannot open database : ").size(), 1);
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    QVERIFY2(m_client.attach(m_service.serverPath(), m_admin), qPrintable(m_service.story()));
    SAYS_NOTHING_MORE(m_admin);
}

void TestDatabaseFaults::commandsFailInTheirOwnWayWithoutDatabase()
{
    m_admin.send(get());
    SAYS(m_admin, emptyCard());
    m_admin.send(save());
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User '' save card with id=17");
    m_admin.send(update());
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User '' update card with id=17");
    m_admin.send(setOnMany());
    RECORDS(m_client, "User '' save cards with id=17");
    SAYS_NOTHING_MORE(m_admin);
    // A statement that could not run at all has failed too.
    for (const char *name :
         {"Get_object_card_v2", "Save_object_card_v2", "Update_object_card_field", "Fix_property_multi_objs_v2"}) {
        const QStringList lines = m_service.logTexts().filter(name);
        QVERIFY2(!lines.isEmpty() && lines.first().size() > qsizetype(qstrlen(name)) + 10,
                 qPrintable(m_service.story()));
    }
}

void TestDatabaseFaults::nextCommandWorksWhenTheDatabaseAppears()
{
    m_server->start();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
    QCOMPARE(m_database->rows("SELECT column_name, data_type, character_maximum_length FROM information_schema.columns "
                              "WHERE table_name = 'Connections' "
                              "AND column_name IN ('Email', 'Phone') ORDER BY 1"),
             QStringList({"Email|character varying|150", "Phone|character varying|10"}));
    m_admin.send(update());
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User 'ivanov' update card with id=17");
}

void TestDatabaseFaults::nextCommandWorksAfterTheDatabaseWentAndCame_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("connection ended") << "terminate";
    QTest::newRow("server restarted") << "fast";
    QTest::newRow("server killed and started") << "immediate";
}

void TestDatabaseFaults::nextCommandWorksAfterTheDatabaseWentAndCame()
{
    QFETCH(QString, way);
    fillCard();
    for (int round = 0; round < 2; ++round) {
        m_admin.send(get());
        SAYS(m_admin, fullCard());
        if (way == "terminate") {
            endServicesConnection();
        } else {
            m_database->disconnect();
            m_server->stop(way);
            m_server->start();
        }
        m_admin.send(round == 0 ? get() : save());
        if (round == 0) {
            SAYS(m_admin, fullCard());
        } else {
            SAYS(m_admin, support::savedCard(17));
            RECORDS(m_client, "User 'ivanov' save card with id=17");
            QCOMPARE(m_database->rows("SELECT \"Name\" FROM \"Objects_property\""), QStringList{"new"});
        }
    }
}

void TestDatabaseFaults::commandInFlightFailsAndTheNextWorks_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<bool>("isKilled");
    QTest::addColumn<QByteArray>("said"); // empty: nothing
    QTest::addColumn<QByteArray>("recorded");
    const auto rows = [](const char *way, bool isKilled) {
        const auto name = [&](const char *command) { return QByteArray(command) + ", " + way; };
        QTest::newRow(name("get").constData()) << get() << isKilled << emptyCard() << QByteArray();
        QTest::newRow(name("save").constData())
            << save() << isKilled << support::savedCard(17) << QByteArray("save card with id=17");
        QTest::newRow(name("update").constData())
            << update() << isKilled << support::savedCard(17) << QByteArray("update card with id=17");
        QTest::newRow(name("set on many").constData())
            << setOnMany() << isKilled << QByteArray() << QByteArray("save cards with id=17");
    };
    rows("connection ended", false);
    rows("server killed", true);
}

void TestDatabaseFaults::commandInFlightFailsAndTheNextWorks()
{
    QFETCH(QByteArray, command);
    QFETCH(bool, isKilled);
    QFETCH(QByteArray, said);
    QFETCH(QByteArray, recorded);
    fillCard();
    m_database->run("BEGIN");
    m_database->run("LOCK TABLE \"Objects_property\" IN ACCESS EXCLUSIVE MODE");
    m_admin.send(command);
    QVERIFY(ServiceProcess::waitUntil([&] {
        m_database->run("SELECT pg_stat_clear_snapshot()");
        return m_database
                   ->value("SELECT count(*) FROM pg_stat_activity WHERE usename = 'objects_service' AND "
                           "wait_event_type = 'Lock'")
                   .toInt() == 1;
    }));
    if (isKilled) {
        m_server->stop("immediate");
        m_database->disconnect();
    } else {
        endServicesConnection();
        m_database->run("ROLLBACK");
    }
    if (!said.isEmpty())
        SAYS(m_admin, said);
    SAYS_NOTHING_MORE(m_admin);
    if (!recorded.isEmpty()) {
        // The name could be asked for on a new connection or not at all.
        const QByteArray frame = m_client.nextFrame();
        const quint32 time = support::recordTime(frame);
        QVERIFY2(frame == support::record(time, "User '' " + recorded) ||
                     (!isKilled && frame == support::record(time, "User 'ivanov' " + recorded)),
                 qPrintable(support::describe(frame)));
    }
    QVERIFY(m_client.isSilent());
    if (isKilled)
        m_server->start();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
}

void TestDatabaseFaults::commandWhileTheDatabaseIsAwayDoesNotSpoilTheNext()
{
    fillCard();
    m_database->disconnect();
    m_server->stop("fast");
    for (int i = 0; i < 5; ++i) {
        m_admin.send(get());
        SAYS(m_admin, emptyCard());
    }
    m_server->start();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
}

void TestDatabaseFaults::nextCommandWorksAfterTheTableChanged()
{
    fillCard();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
    m_database->run("ALTER TABLE \"Objects_property\" ADD COLUMN \"Added\" integer");
    m_admin.send(get());
    SAYS(m_admin, fullCard());
    m_database->run("ALTER TABLE \"Objects_property\" DROP COLUMN \"Added\"");
    m_admin.send(get() + save());
    SAYS(m_admin, fullCard());
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User 'ivanov' save card with id=17");
    QCOMPARE(m_database->rows("SELECT \"Name\" FROM \"Objects_property\""), QStringList{"new"});
}

void TestDatabaseFaults::burstOfCommandsOutlivesLostConnections()
{
    QByteArray burst;
    for (int i = 0; i < 300; ++i)
        burst += save();
    m_admin.send(burst);
    QStringList ended;
    for (int i = 0; i < 300; ++i) {
        SAYS(m_admin, support::savedCard(17));
        const QByteArray frame = m_client.nextFrame();
        const quint32 time = support::recordTime(frame);
        QVERIFY2(frame == support::record(time, "User 'ivanov' save card with id=17") ||
                     frame == support::record(time, "User '' save card with id=17"),
                 qPrintable(support::describe(frame)));
        if (i % 60 == 30)
            ended += m_database->rows("WITH found AS MATERIALIZED (SELECT pid FROM pg_stat_activity WHERE usename = "
                                      "'objects_service') SELECT pid FROM found WHERE pg_terminate_backend(pid)");
    }
    QVERIFY(!ended.isEmpty());
    // The last of them may still be about to go, and take a command with it.
    QVERIFY(ServiceProcess::waitUntil([&] {
        return std::none_of(ended.begin(), ended.end(),
                            [](const QString &process) { return QFile::exists("/proc/" + process); });
    }));
    SAYS_NOTHING_MORE(m_admin);
    m_admin.send(save());
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User 'ivanov' save card with id=17");
    QVERIFY(m_database->rows("SELECT \"Name\" FROM \"Objects_property\"").contains("new"));
}

void TestDatabaseFaults::lostConnectionsLeaveNothingBehind()
{
    fillCard();
    m_admin.send(get());
    SAYS(m_admin, fullCard());
    const int before = m_service.openDescriptors();
    for (int i = 0; i < 20; ++i) {
        endServicesConnection();
        m_admin.send(get());
        SAYS(m_admin, fullCard());
    }
    QCOMPARE(m_service.openDescriptors(), before);
    QCOMPARE(m_database->value("SELECT count(*) FROM pg_stat_activity WHERE usename = 'objects_service'").toInt(), 1);
}

QTEST_GUILESS_MAIN(TestDatabaseFaults)
#include "test_database_faults.moc"

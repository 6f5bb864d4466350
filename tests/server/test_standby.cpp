// A pair of database servers: the standby takes reads and no changes, and where both are named the service goes to the
// one that takes changes.

#include "conversation.h"
#include "pg_server.h"
#include "registry_bytes.h"
#include "service_process.h"

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

QByteArray card(const QByteArray &value)
{
    return support::answer("Get_object_card_v2", i32(17) + i32(1) + support::cardRecord({5, "p", "d", 1, value, 't'}),
                           kOperator);
}

QByteArray update(const QByteArray &value)
{
    return support::command("Update_object_card_field",
                            i32(17) + i32(1) + i32(1) + support::cardRecord({-1, "p", "", 1, value, 't'}), kOperator);
}

QByteArray setSensor()
{
    return support::command("Fix_sensor_multi_objs_v2",
                            i8(1) + support::numbers({17}) + support::sensorRecord({.name = "s", .type = 1}),
                            kOperator);
}

/// A service with its administration server.
struct Attended
{
    ServiceProcess service;
    support::AdminPeer admin{service.adminPath()};
};

} // namespace

class TestStandby : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_primary->start(); } // for the end of the database

    void standbyReadsAndTellsEachFailedChange();
    void bothNamedMeansTheOneThatTakesChanges();
    void promotedStandbyTakesOver();

private:
    QByteArray settings(const QByteArray &hosts, const QByteArray &ports) const;
    /// The service's card of object 17 comes to hold `value`: what the primary has written reaches a standby later.
    static bool comesToRead(Attended &attended, const QByteArray &value);

    std::unique_ptr<PgServer> m_primary = PgServer::own();
    std::unique_ptr<support::TestDatabase> m_database = m_primary->cloneDatabase();
    std::unique_ptr<PgServer> m_standby;
    Attended m_reader; ///< on the standby alone
    Attended m_writer; ///< on whichever takes changes
};

QByteArray TestStandby::settings(const QByteArray &hosts, const QByteArray &ports) const
{
    return "DbHost=" + hosts + "\nDbPort=" + ports + "\nDbName=" + m_database->name().toUtf8() +
           "\nDbUser=objects_service\nLog=2\n";
}

bool TestStandby::comesToRead(Attended &attended, const QByteArray &value)
{
    return ServiceProcess::waitUntil([&] {
        attended.admin.send(get());
        return attended.admin.nextFrame() == card(value);
    });
}

void TestStandby::initTestCase()
{
    m_database->run("INSERT INTO \"Objects_property\" VALUES (5, 17, 'p', 'd', 1, 'v', true)");
    m_standby = PgServer::standbyOf(*m_primary);
    const QByteArray primary = m_primary->socketFolder().toUtf8();
    const QByteArray standby = m_standby->socketFolder().toUtf8();
    const QByteArray primaryPort = QByteArray::number(m_primary->port());
    const QByteArray standbyPort = QByteArray::number(m_standby->port());
    m_reader.service.start(settings(standby, standbyPort));
    m_writer.service.start(settings(standby + ',' + primary, standbyPort + ',' + primaryPort) +
                           "DbOptions=target_session_attrs=read-write\n");
    for (Attended *attended : {&m_reader, &m_writer}) {
        QVERIFY2(attended->admin.attend(), qPrintable(attended->service.story()));
        SAYS(attended->admin, support::greeting(attended->service.serverPath().toUtf8()));
        QVERIFY2(comesToRead(*attended, "v"), qPrintable(attended->service.story()));
    }
}

void TestStandby::standbyReadsAndTellsEachFailedChange()
{
    const qsizetype before = m_reader.service.log().size();
    for (int i = 0; i < 3; ++i) {
        m_reader.admin.send(setSensor() + update("lost"));
        // A field is announced whatever became of it; a sensor only after success.
        SAYS(m_reader.admin, support::savedCard(17));
        m_reader.admin.send(get());
        SAYS(m_reader.admin, card("v"));
        SAYS_NOTHING_MORE(m_reader.admin);
    }
    const QStringList told = m_reader.service.logTexts().mid(before);
    QCOMPARE(told.size(), 6);
    for (const QString &line : told)
        QVERIFY2(line.contains("in a read-only transaction"), qPrintable(line));
    QVERIFY(m_reader.service.isRunning());
}

void TestStandby::bothNamedMeansTheOneThatTakesChanges()
{
    m_writer.admin.send(setSensor() + update("written") + get());
    SAYS(m_writer.admin, support::savedCard(17));
    SAYS(m_writer.admin, support::savedCard(17));
    SAYS(m_writer.admin, card("written"));
    QCOMPARE(m_database->value("SELECT count(*) FROM \"Sensors\"").toInt(), 1);
    QVERIFY(comesToRead(m_reader, "written"));
    QCOMPARE(m_writer.service.logTexts().filter("read-only"), QStringList());
}

void TestStandby::promotedStandbyTakesOver()
{
    const qsizetype before = m_writer.service.log().size();
    m_database->disconnect();
    m_primary->kill();
    for (int i = 0; i < 3; ++i) {
        m_writer.admin.send(setSensor());
        SAYS_NOTHING_MORE(m_writer.admin);
    }
    m_standby->administer("SELECT pg_promote()");
    m_writer.admin.send(update("taken over") + setSensor() + get());
    SAYS(m_writer.admin, support::savedCard(17));
    SAYS(m_writer.admin, support::savedCard(17));
    SAYS(m_writer.admin, card("taken over"));
    QCOMPARE(m_writer.service.logTexts().mid(before).filter("Database connection lost").size(), 1);
    QCOMPARE(m_writer.service.logTexts().mid(before).filter("Cannot open database : ").size(), 1);
    // Who was on the standby all the time need not even connect anew.
    m_reader.admin.send(setSensor() + get());
    SAYS(m_reader.admin, support::savedCard(17));
    SAYS(m_reader.admin, card("taken over"));
    QCOMPARE(m_reader.service.logTexts().filter("Database connection lost"), QStringList());
}

QTEST_GUILESS_MAIN(TestStandby)
#include "test_standby.moc"

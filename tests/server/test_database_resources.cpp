// The database server runs out of connections or of disk space: what could not be done was not announced, and the next
// command works once there is room again.

#include "conversation.h"
#include "pg_server.h"
#include "registry_bytes.h"
#include "service_process.h"
#include "small_disk.h"

#include <QRandomGenerator>
#include <QSqlDatabase>
#include <QSqlError>

#include <unistd.h>

using support::i32;
using support::i8;
using support::numbers;
using support::PgServer;
using support::ServiceProcess;
using support::SmallDisk;

namespace {

constexpr int kOperator = 4;
constexpr int kObjects = 60;
constexpr int kNameBytes = 100000;
constexpr qsizetype kMiB = 1 << 20;
const QByteArray kSet = "Fix_sensor_multi_objs_v2";

QByteArray get()
{
    return support::command("Get_object_card_v2", i32(17), kOperator);
}

QByteArray card(bool isThere)
{
    const QByteArray record = support::cardRecord({5, "p", "d", 1, "v", 't'});
    return support::answer("Get_object_card_v2", i32(17) + i32(isThere ? 1 : 0) + (isThere ? record : QByteArray()),
                           kOperator);
}

/// Letters that no compression makes much shorter.
QString longName()
{
    QByteArray bytes(kNameBytes, 0);
    for (char &byte : bytes)
        byte = char('!' + QRandomGenerator::global()->bounded('~' - '!'));
    return QString::fromLatin1(bytes);
}

QList<int> objects()
{
    QList<int> result;
    for (int i = 1; i <= kObjects; ++i)
        result.append(i);
    return result;
}

/// Gives every object a sensor of this type, six megabytes in all.
QByteArray setLongSensors(int type)
{
    return support::command(
        kSet, i8(1) + numbers(objects()) + support::sensorRecord({.name = longName(), .type = type}), kOperator);
}

} // namespace

class TestDatabaseResources : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanupTestCase() { m_server->start(); } // for the end of the database, should a test have failed

    void noConnectionIsLeft();
    void tablespaceIsFull();
    void fileMayNotGrow();
    void writeAheadLogIsFull();

private:
    /// Sends a change that is too large: objects are announced until one fails. The number of those.
    int announcedOf(const QByteArray &change);
    /// Sends such changes, each to a type of its own, until one fails, and checks what the log says then.
    void changeUntilOneFails(const QString &reason);
    /// What was announced of them is in the table, and nothing else.
    void announcedIsThere();
    /// Bounds the files that the service's process of the server may write; empty: no bound. The server takes a file at
    /// its bound for a full disk.
    void boundFiles(const QByteArray &bytes);
    int serviceProcess() { return m_database->value(kServiceProcess).toInt(); }
    QStringList failures() const { return m_service.logTexts().mid(m_logLines).filter(kSet); }

    const QString kServiceProcess = "SELECT pid FROM pg_stat_activity WHERE usename = 'objects_service'";
    std::unique_ptr<PgServer> m_server;
    std::unique_ptr<support::TestDatabase> m_database;
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    qsizetype m_logLines = 0;
    QList<int> m_announced; ///< by each change of changeUntilOneFails()
};

void TestDatabaseResources::initTestCase()
{
    m_server = PgServer::own({"max_connections=10"});
    m_database = m_server->cloneDatabase();
    m_database->run("INSERT INTO \"Objects_property\" VALUES (5, 17, 'p', 'd', 1, 'v', true)");
    m_service.start(m_database->settings() + "Log=2\n");
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    // The last line of its log that has nothing to do with the database.
    QVERIFY2(m_service.waitForLog("Start server"), qPrintable(m_service.story()));
}

void TestDatabaseResources::init()
{
    m_database->run("TRUNCATE \"Sensors\"");
    m_admin.send(get());
    SAYS(m_admin, card(true));
    m_logLines = m_service.log().size();
}

void TestDatabaseResources::noConnectionIsLeft()
{
    constexpr int kMost = 10;
    QStringList taken;
    const auto takeOne = [&] {
        taken.append(QStringLiteral("taken %1").arg(taken.size()));
        return m_server->addConnection(taken.last(), m_database->name()).open();
    };
    const auto release = qScopeGuard([&] {
        for (const QString &connection : taken)
            QSqlDatabase::removeDatabase(connection);
        taken.clear();
    });
    while (takeOne())
        QVERIFY(taken.size() < kMost);
    m_database->run(QStringLiteral("SELECT pg_terminate_backend(%1, 30000)").arg(serviceProcess()));
    QVERIFY(takeOne());
    for (int i = 0; i < 5; ++i) {
        m_admin.send(get());
        SAYS(m_admin, card(false));
        SAYS_NOTHING_MORE(m_admin);
    }
    const QStringList told = m_service.logTexts().mid(m_logLines).filter("Cannot open database : ");
    QCOMPARE(told.size(), 1);
    QVERIFY2(told[0].contains("connection slots are reserved"), qPrintable(told[0]));
    for (const QString &connection : taken)
        QSqlDatabase::removeDatabase(connection);
    // A connection's place is free when its process has gone, a moment later.
    QVERIFY(ServiceProcess::waitUntil([this] {
        m_database->run("SELECT pg_stat_clear_snapshot()");
        return m_database->value("SELECT count(*) FROM pg_stat_activity WHERE usename = 'objects'").toInt() == 0;
    }));
    m_admin.send(get());
    SAYS(m_admin, card(true));
}

int TestDatabaseResources::announcedOf(const QByteArray &change)
{
    m_admin.send(change);
    QByteArray frame = m_admin.frameAfterAbout();
    int announced = 0;
    while (frame == support::savedCard(announced + 1)) {
        ++announced;
        frame = m_admin.nextFrame();
    }
    return support::isAbout(frame, m_admin.lastCaller()) ? announced : -1;
}

void TestDatabaseResources::changeUntilOneFails(const QString &reason)
{
    constexpr int kMostChanges = 10;
    m_announced.clear();
    do {
        m_announced.append(announcedOf(setLongSensors(int(m_announced.size()))));
        QVERIFY2(m_announced.last() >= 0, "\"About\" is not answered");
    } while (m_announced.last() == kObjects && m_announced.size() < kMostChanges);
    QVERIFY(m_announced.last() < kObjects);
    QVERIFY(m_service.isRunning());
    QCOMPARE(failures().size(), 1);
    QVERIFY2(failures().value(0).contains(reason), qPrintable(failures().value(0)));
}

void TestDatabaseResources::announcedIsThere()
{
    for (int type = 0; type < m_announced.size(); ++type)
        QCOMPARE(
            m_database->value("SELECT count(*) FROM \"Sensors\" WHERE \"Type\" = " + QString::number(type)).toInt(),
            m_announced[type]);
}

void TestDatabaseResources::boundFiles(const QByteArray &bytes)
{
    QStringList command = {"prlimit", "--pid", QString::number(serviceProcess()),
                           "--fsize=" + QString::fromLatin1(bytes.isEmpty() ? "unlimited" : bytes) + ':'};
    if (::geteuid() == 0) // which the server never runs as
        command = QStringList{"setpriv", "--reuid", "postgres", "--regid", "postgres", "--init-groups"} + command;
    QCOMPARE(QProcess::execute(command.takeFirst(), command), 0);
}

void TestDatabaseResources::tablespaceIsFull()
{
    const SmallDisk disk("16m", m_server->dataFolder());
    if (!disk.isMounted()) {
        qWarning("no disk can be mounted here: of full disks only the file that may not grow was tried");
        return;
    }
    disk.take(8 * kMiB);
    m_database->run("CREATE TABLESPACE small LOCATION '" + disk.path() + "'");
    m_database->run("ALTER TABLE \"Sensors\" SET TABLESPACE small");
    changeUntilOneFails("No space left on device");
    announcedIsThere();
    if (QTest::currentTestFailed())
        return;
    // What needs no space works on.
    m_admin.send(get());
    SAYS(m_admin, card(true));
    disk.free();
    QCOMPARE(announcedOf(setLongSensors(1)), kObjects);
    m_database->run("TRUNCATE \"Sensors\"");
    m_database->run("ALTER TABLE \"Sensors\" SET TABLESPACE pg_default");
    m_database->run("DROP TABLESPACE small");
}

void TestDatabaseResources::fileMayNotGrow()
{
    boundFiles("16777216"); // files of the server's own log are as large and must find their place
    changeUntilOneFails("File too large");
    announcedIsThere();
    if (QTest::currentTestFailed())
        return;
    m_admin.send(get());
    SAYS(m_admin, card(true));
    boundFiles({});
    QCOMPARE(announcedOf(setLongSensors(1)), kObjects);
}

void TestDatabaseResources::writeAheadLogIsFull()
{
    const SmallDisk disk("160m", m_server->dataFolder());
    if (!disk.isMounted()) {
        qWarning("no disk can be mounted here: a full disk under the server's own log was not tried");
        return;
    }
    const QString log = m_server->dataFolder() + "/pg_wal";
    const QString moved = QString::fromLocal8Bit(disk.path()) + "/log";
    m_database->disconnect();
    m_server->stop();
    QCOMPARE(QProcess::execute("mv", {log, moved}), 0);
    QVERIFY(QFile::link(moved, log));
    m_server->start();
    m_admin.send(get());
    SAYS(m_admin, card(true));
    disk.take(160 * kMiB);
    m_logLines = m_service.log().size();
    // The server itself goes over this, and may or may not come back and go again as long as there is no space.
    changeUntilOneFails("No space left on device");
    m_server->kill();
    disk.free();
    m_server->start();
    m_admin.send(get());
    SAYS(m_admin, card(true));
    QCOMPARE(announcedOf(setLongSensors(int(m_announced.size()))), kObjects);
    m_announced.append(kObjects);
    announcedIsThere();
    m_database->disconnect();
    m_server->stop();
    QVERIFY(QFile::remove(log));
    QCOMPARE(QProcess::execute("mv", {moved, log}), 0);
    m_server->start();
}

QTEST_GUILESS_MAIN(TestDatabaseResources)
#include "test_database_resources.moc"

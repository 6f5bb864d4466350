// Frames that one arrival brings about go out together, but none of them waits for the database: what is ready reaches
// its reader while a later command of the same arrival is kept waiting.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

using support::answer;
using support::command;
using support::i32;
using support::i8;
using support::numbers;

namespace {

constexpr int kOperator = 4;

QByteArray askCard(int object)
{
    return command("Get_object_card_v2", i32(object), kOperator);
}

QByteArray emptyCard(int object)
{
    return answer("Get_object_card_v2", i32(object) + i32(0), kOperator);
}

QByteArray askSensors(int object)
{
    return command("Get_sensors_v2", i32(object), kOperator);
}

QByteArray noSensors(int object)
{
    return answer("Get_sensors_v2", i32(object) + i32(0), kOperator);
}

} // namespace

class TestGatheredFrames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void nothingWaitsForTheDatabase_data();
    void nothingWaitsForTheDatabase();
    void noticesDoNotWaitForTheRowsBehindThem();
    void largeAnswersKeepTheirPlace();
    void linksAreServedInTheOrderOfTheFrames();

private:
    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
};

void TestGatheredFrames::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestGatheredFrames::init()
{
    m_site.beginFunction();
}

void TestGatheredFrames::cleanup()
{
    QCOMPARE(m_site.leftover(0), QString());
}

void TestGatheredFrames::nothingWaitsForTheDatabase_data()
{
    QTest::addColumn<QByteArray>("waiting");
    QTest::addColumn<QByteArray>("answered");
    QTest::newRow("a statement that is kept") << askCard(17) << emptyCard(17);
    QTest::newRow("rows one by one") << command("Get_objects", QByteArray(), kOperator)
                                     << answer("Get_objects", i32(0), kOperator);
    QTest::newRow("a statement put together")
        << command("Get_objs_by_condition_v2", support::text("x") + support::text("name"), kOperator)
        << answer("Get_objs_by_condition_v2", numbers({}), kOperator);
    QTest::newRow("a client's own") << command("Get_objs_by_query_v2",
                                               support::text("SELECT \"Id\" FROM \"Objects_property\""), kOperator)
                                    << answer("Get_objs_by_query_v2", numbers({}), kOperator);
    QTest::newRow("rows that nobody looks at")
        << command("Update_object_card_field",
                   i32(17) + i32(1) + i32(0) + support::cardRecord({-1, "p", "d", 10, "v", 't'}), kOperator)
        << support::savedCard(17);
}

void TestGatheredFrames::nothingWaitsForTheDatabase()
{
    QFETCH(QByteArray, waiting);
    QFETCH(QByteArray, answered);
    support::TableLock lock(*m_site.database, "\"Objects_property\"", "ACCESS EXCLUSIVE");
    m_admin.send(askSensors(1) + askSensors(2) + waiting + askSensors(3));
    SAYS(m_admin, noSensors(1));
    SAYS(m_admin, noSensors(2));
    QVERIFY(lock.isWaitedFor());
    QVERIFY(m_admin.isSilent());
    lock.release();
    SAYS(m_admin, answered);
    SAYS(m_admin, noSensors(3));
    (void)m_site.recordedLines();
}

void TestGatheredFrames::noticesDoNotWaitForTheRowsBehindThem()
{
    // The second object's row is kept waiting by the one of the same key that is not committed yet.
    m_site.database->run("CREATE UNIQUE INDEX one_each ON \"Sensors\"(\"Id_objects\")");
    m_site.database->run("BEGIN");
    m_site.database->run("INSERT INTO \"Sensors\"(\"Id_objects\", \"Name\") VALUES (18, 'n')");
    m_admin.send(command("Fix_sensor_multi_objs_v2",
                         i8(1) + numbers({17, 18}) + support::sensorRecord({.name = "s", .type = 1}), kOperator));
    SAYS(m_admin, support::savedCard(17));
    QVERIFY(m_admin.isSilent());
    m_site.database->run("ROLLBACK");
    SAYS(m_admin, support::savedCard(18));
    m_site.database->run("DROP INDEX one_each");
}

void TestGatheredFrames::largeAnswersKeepTheirPlace()
{
    // Answers of 100 bytes, of some thousand, and of more than are kept back.
    m_site.database->run("INSERT INTO \"Objects_property\"(\"Id\", \"Id_objects\", \"Name\", \"Description\", "
                         "\"Type\", \"Value\", \"Visible\") VALUES (1, 1, 'p', 'd', 1, 'v', true), (2, 2, 'p', 'd', 1, "
                         "convert_to(repeat('x', 5000), 'UTF8'), true), (3, 3, 'p', 'd', 1, "
                         "convert_to(repeat('y', 300000), 'UTF8'), true)");
    const QList<QByteArray> values{"v", QByteArray(5000, 'x'), QByteArray(300000, 'y')};
    const auto card = [&](int object) {
        return answer("Get_object_card_v2",
                      i32(object) + i32(1) + support::cardRecord({object, "p", "d", 1, values[object - 1], 't'}),
                      kOperator);
    };
    QList<int> objects;
    for (int i = 0; i < 60; ++i)
        objects << (i * i) % 3 + 1 << 2 << (i % 20 == 7 ? 3 : 1);
    QByteArray all;
    for (const int object : std::as_const(objects))
        all += askCard(object);
    m_admin.send(all);
    for (const int object : std::as_const(objects))
        SAYS(m_admin, card(object));
}

void TestGatheredFrames::linksAreServedInTheOrderOfTheFrames()
{
    // A notice, the record of the same change, the next notice: once the client has a record the notice before it is
    // there.
    QByteArray all;
    for (int object = 1; object <= 50; ++object)
        all += command("Fix_object_v2", i32(object) + support::bytes("n"), kOperator);
    m_admin.send(all);
    for (int object = 1; object <= 50; ++object) {
        RECORDS(m_site.client, QStringLiteral("User 'ivanov' update card with id=%1, name=n").arg(object).toUtf8());
        QVERIFY(!m_admin.isSilent());
        SAYS(m_admin, support::savedCard(object));
    }
}

QTEST_GUILESS_MAIN(TestGatheredFrames)
#include "test_gathered_frames.moc"

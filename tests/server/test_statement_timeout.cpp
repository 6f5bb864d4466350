// The setting that bounds each statement in time: the statement fails, the service lives on.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

#include <QElapsedTimer>

using support::i32;
using support::numbers;
using support::text;

namespace {

constexpr int kOperator = 4;
// Long enough for the statements that must not meet it, also on a machine that stands still for a moment.
constexpr int kLimitMs = 2000;
constexpr int kSoonMs = 15000; // far above the limit and far below the statements' own 20 s
const QByteArray kByQuery = "Get_objs_by_query_v2";

QByteArray byQuery(const QString &statement)
{
    return support::command(kByQuery, text(statement), kOperator);
}

QByteArray queried(const QList<int> &objects)
{
    return support::answer(kByQuery, numbers(objects), kOperator);
}

} // namespace

class TestStatementTimeout : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void everySessionHasTheLimit();
    void shortStatementsAreNotTouched();
    void longStatementAnswersNothingSoon_data();
    void longStatementAnswersNothingSoon();
    void clientCannotLiftTheLimit_data();
    void clientCannotLiftTheLimit();
    void readThatWaitsForALockFails();
    void changeThatWaitsForALockFailsSilently();
    void deletionThatWaitsForALockDeletesNothing();
    void searchThatWaitsForALockAnswersTheError();

private:
    /// The next commands work.
    void livesOn();

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    QElapsedTimer m_clock;
};

void TestStatementTimeout::initTestCase()
{
    m_site.begin("Log=2\nDbStatementTimeout=" + QByteArray::number(kLimitMs) + '\n');
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestStatementTimeout::init()
{
    m_site.beginFunction();
    m_site.database->run(support::givingProperty(17, "name", "A"));
    m_clock.start();
}

void TestStatementTimeout::cleanup()
{
    livesOn();
    const QString leftover = m_site.leftover(int(m_site.newLogLines().size()));
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestStatementTimeout::livesOn()
{
    m_admin.send(byQuery("SELECT setting FROM pg_settings WHERE name = 'statement_timeout'") +
                 support::command("Get_objects", "", kOperator));
    SAYS(m_admin, queried({kLimitMs}));
    SAYS(m_admin, support::answer("Get_objects", i32(1) + i32(17) + support::bytes("A"), kOperator));
}

void TestStatementTimeout::everySessionHasTheLimit()
{
    const QByteArray limit = byQuery("SELECT setting FROM pg_settings WHERE name = 'statement_timeout'");
    m_admin.send(limit + byQuery("SELECT pg_terminate_backend(pg_backend_pid())") + limit);
    SAYS(m_admin, queried({kLimitMs}));
    SAYS(m_admin, queried({}));
    SAYS(m_admin, queried({kLimitMs}));
}

void TestStatementTimeout::shortStatementsAreNotTouched()
{
    for (int i = 0; i < 30; ++i) {
        m_admin.send(byQuery("SELECT 17 FROM pg_sleep(0.1)"));
        SAYS(m_admin, queried({17}));
    }
    QVERIFY(m_site.newLogLines().isEmpty());
}

void TestStatementTimeout::longStatementAnswersNothingSoon_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("sleeps") << "SELECT 17 FROM pg_sleep(60)";
    QTest::newRow("computes") << "SELECT count(*) FROM generate_series(1, 1000000000)";
    QTest::newRow("second of two") << "SELECT 17; SELECT pg_sleep(20)";
    QTest::newRow("in a transaction") << "BEGIN; SELECT pg_sleep(20)";
    QTest::newRow("in a block that catches errors")
        << "DO $$ BEGIN PERFORM pg_sleep(20); EXCEPTION WHEN OTHERS THEN NULL; END $$";
    QTest::newRow("in a block that catches the cancellation")
        << "DO $$ BEGIN FOR i IN 1..3 LOOP BEGIN PERFORM pg_sleep(7); EXCEPTION WHEN query_canceled THEN NULL; END; "
           "END "
           "LOOP; END $$";
    QTest::newRow("copy") << "COPY (SELECT pg_sleep(20)) TO STDOUT";
    QTest::newRow("waits for a lock twice") << "SELECT pg_advisory_lock(1), pg_sleep(20)";
}

void TestStatementTimeout::longStatementAnswersNothingSoon()
{
    QFETCH(QString, statement);
    m_admin.send(byQuery(statement));
    SAYS(m_admin, queried({}));
    QVERIFY2(m_clock.elapsed() < kSoonMs, qPrintable(QString::number(m_clock.elapsed())));
    if (statement.contains("pg_sleep(60)")) {
        QVERIFY2(m_clock.elapsed() >= kLimitMs - 50, qPrintable(QString::number(m_clock.elapsed())));
        QCOMPARE(m_site.newLogLines().size(), 1);
        QVERIFY2(m_site.newLogLines().value(0).contains(kByQuery), qPrintable(m_site.newLogLines().value(0)));
    }
}

void TestStatementTimeout::clientCannotLiftTheLimit_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("SET") << "SET statement_timeout = 0; SELECT pg_sleep(20)";
    QTest::newRow("RESET ALL") << "RESET ALL; SELECT pg_sleep(20)";
    QTest::newRow("DISCARD ALL") << "DISCARD ALL";
    QTest::newRow("SET LOCAL") << "BEGIN; SET LOCAL statement_timeout = 0; SELECT pg_sleep(20)";
    QTest::newRow("a function") << "SELECT set_config('statement_timeout', '0', false); SELECT pg_sleep(20)";
    QTest::newRow("in a block") << "DO $$ BEGIN PERFORM set_config('statement_timeout', '0', false); PERFORM "
                                   "pg_sleep(20); END $$";
}

void TestStatementTimeout::clientCannotLiftTheLimit()
{
    QFETCH(QString, statement);
    m_admin.send(byQuery(statement));
    SAYS(m_admin, queried({}));
    QVERIFY2(m_clock.elapsed() < kSoonMs, qPrintable(QString::number(m_clock.elapsed())));
    // Nor for the next statement.
    m_clock.restart();
    m_admin.send(byQuery("SET statement_timeout = 0") + byQuery("SELECT pg_sleep(20)"));
    SAYS(m_admin, queried({}));
    SAYS(m_admin, queried({}));
    QVERIFY2(m_clock.elapsed() < kSoonMs, qPrintable(QString::number(m_clock.elapsed())));
}

void TestStatementTimeout::readThatWaitsForALockFails()
{
    support::TableLock lock(*m_site.database, "\"Objects_property\"", "ACCESS EXCLUSIVE");
    m_admin.send(support::command("Get_objects", "", kOperator) +
                 support::command("Get_personalsetup4objects_X", i32(7), kOperator) +
                 support::command("Get_full_objects_tree", "", kOperator));
    SAYS(m_admin, support::answer("Get_objects", i32(0), kOperator));
    SAYS(m_admin, support::answer("Get_personalsetup4objects_X", (i32(1) + i32(0) + i32(0)).repeated(3), kOperator));
    SAYS(m_admin, support::answer("Get_full_objects_tree", i32(-1) + i32(0) + i32(0) + i32(-1), kOperator));
    QCOMPARE(m_site.newLogLines().size(), 3);
    QVERIFY2(m_clock.elapsed() < kSoonMs, qPrintable(QString::number(m_clock.elapsed())));
}

void TestStatementTimeout::changeThatWaitsForALockFailsSilently()
{
    support::TableLock lock(*m_site.database, "\"Person_Setup\"");
    m_admin.send(support::command("Fix_personal_setup_changes", support::setupChange(1, 7, {17}, {}, {1}), kOperator));
    RECORDS(m_site.client, "User 'ivanov' update personal configuration");
    SAYS(m_admin, support::emptyAnswer("Fix_personal_setup_changes", kOperator));
    SAYS(m_admin, support::savedPersonConfig());
    lock.release();
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\"").toInt(), 0);
    QCOMPARE(m_site.newLogLines().size(), 2);
}

void TestStatementTimeout::deletionThatWaitsForALockDeletesNothing()
{
    m_site.database->run("INSERT INTO \"Objects_permission\" VALUES (17,4)");
    support::TableLock lock(*m_site.database, "\"Person_Setup\"");
    m_admin.send(support::command("Fix_user", i32(-4), kOperator));
    SAYS(m_admin, support::savedUser(4));
    RECORDS(m_site.client, "User 'ivanov' delete user 'ivanov'");
    SAYS(m_admin, support::emptyAnswer("Fix_user", kOperator));
    lock.release();
    QCOMPARE(m_site.database->rows("SELECT (SELECT count(*) FROM \"Connections\") AS c, (SELECT count(*) FROM "
                                   "\"Objects_permission\") AS p"),
             QStringList("1|1"));
}

void TestStatementTimeout::searchThatWaitsForALockAnswersTheError()
{
    support::TableLock lock(*m_site.database, "\"Person_Setup\"", "ACCESS EXCLUSIVE");
    const QByteArrayList said = m_site.replies("Advanced_search", text("A"));
    QCOMPARE(said.size(), 1);
    // "Failed", and a text behind it.
    const qsizetype head = 4 + 1 + 2 * (4 + 15) + 4;
    QCOMPARE(said[0].mid(head, 1), support::i8(0));
    QVERIFY(said[0].size() > head + 1 + 4 + 15);
}

QTEST_GUILESS_MAIN(TestStatementTimeout)
#include "test_statement_timeout.moc"

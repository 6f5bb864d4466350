// Statements that the session keeps prepared, and those that nobody waits for.

#include "database/connection.h"
#include "pg_server.h"

#include <QTest>

using database::Connection;
using database::CopiedRow;
using database::Result;
using database::StatementQueue;
using database::Value;
using namespace support;

namespace {

const QByteArray kInsertGroup = R"(insert into "Groups" ("Id", "Name") values (?, ?))";
const QString kGroups = R"(select "Id" from "Groups" order by ctid)";

/// As many rows as two runs of the queue and a rest hold.
constexpr int kMany = 2 * int(StatementQueue::kMost) + 7;

} // namespace

class TestPostedStatements : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    Connection m_connection;
    QStringList m_failures;

    int backend() { return m_connection.query("select pg_backend_pid()").integer(0, 0); }
    void post(int id, const QString &name = QStringLiteral("x"))
    {
        m_connection.post(kInsertGroup, {Value::integer(id), Value::text(name)});
    }
    int kept() { return m_connection.queryOnce("select count(*) from pg_prepared_statements").integer(0, 0); }

private slots:
    void init()
    {
        m_database = PgServer::shared().cloneDatabase();
        PgServer::shared().addConnection("tested", m_database->name());
        m_connection = Connection();
        m_connection.setName("tested");
        m_connection.onFailure([this](const QSqlError &error) { m_failures.append(error.databaseText()); });
        m_connection.beginCommand();
        m_failures.clear();
    }

    void cleanup()
    {
        m_connection = Connection();
        QSqlDatabase::removeDatabase("tested");
        m_database.reset();
    }

    void runsPostedStatementsInOrder()
    {
        QStringList expected;
        for (int id = kMany; id > 0; --id) {
            post(id);
            expected.append(QString::number(id));
        }
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), expected);
        QCOMPARE(m_failures, QStringList());
    }

    void eachPostedStatementHasItsOwnSuccess()
    {
        for (const int id : {1, 2, 2, 3, 3, 4})
            post(id);
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "2", "3", "4"}));
        QCOMPARE(m_failures.size(), 2);
        QVERIFY2(m_failures[0].contains("duplicate key"), qPrintable(m_failures[0]));
    }

    void aFailureIsToldWithinItsCommand()
    {
        post(1);
        post(1);
        m_connection.beginCommand();
        QCOMPARE(m_failures.size(), 1);
    }

    void whatRunsNextFindsPostedStatementsDone_data()
    {
        QTest::addColumn<int>("way");
        int way = 0;
        for (const char *name : {"query", "queryOnce", "script", "foreignScript", "forEachRow"})
            QTest::newRow(name) << way++;
    }

    void whatRunsNextFindsPostedStatementsDone()
    {
        QFETCH(int, way);
        const char *count = R"(select count(*) from "Groups")";
        int seen = -1;
        post(0);
        post(1);
        switch (way) {
        case 0:
            seen = m_connection.query(count).integer(0, 0);
            break;
        case 1:
            seen = m_connection.queryOnce(count).integer(0, 0);
            break;
        case 2:
            seen = m_connection.script(count).integer(0, 0);
            break;
        case 3:
            seen = m_connection.foreignScript(count).integer(0, 0);
            break;
        default:
            QVERIFY(m_connection.forEachRow(count, [&](const CopiedRow &row) { seen = row.integer(0); }));
        }
        QCOMPARE(seen, 2);
    }

    void keepsEachTextPreparedOnce()
    {
        for (int id = 0; id < 20; ++id)
            post(id);
        for (int i = 0; i < 5; ++i)
            QCOMPARE(m_connection.query("select 5 + ?", {Value::integer(i)}).integer(0, 0), 5 + i);
        QCOMPARE(kept(), 2);
        (void)m_connection.queryOnce("select 7");
        QCOMPARE(kept(), 2);
    }

    void numbersStandForValues()
    {
        const auto rows = m_connection.query("select %1 - %0, %0", {Value::integer(10), Value::bigInteger(1LL << 40)});
        QCOMPARE(rows.text(0, 0).size(), 8); // a bigint in binary form
        QCOMPARE(rows.integer(0, 1), 10);
        QVERIFY(m_connection.query("select ?::int = -1", {Value::integer(-1)}).integer(0, 0) == 1);
    }

    void aNumberBeyondTheColumnIsInNoRow()
    {
        const auto rows =
            m_connection.query(R"(select * from "Groups" where "Id" = ?)", {Value::bigInteger(1LL << 31)});
        QVERIFY(rows.ok());
        QCOMPARE(rows.rowCount(), 0);
    }

    void sendsListsAsArrays()
    {
        const QList<qint32> numbers{3, -1, 0, 2147483647, 3};
        const auto rows =
            m_connection.queryOnce("select $1, cardinality($2)", {Value::integers(numbers), Value::integers({})});
        QCOMPARE(database::integersOf(rows.view(0, 0)), numbers);
        QCOMPARE(rows.integer(0, 1), 0);
    }

    void preparesAgainWhatTheSessionHasLost_data()
    {
        QTest::addColumn<QString>("loss");
        QTest::newRow("deallocated") << "deallocate all";
        QTest::newRow("result changed") << R"(alter table "Groups" add column "More" integer)";
    }

    void preparesAgainWhatTheSessionHasLost()
    {
        QFETCH(QString, loss);
        const char *select = R"(select * from "Groups")";
        post(1);
        QCOMPARE(m_connection.query(select).rowCount(), 1);
        QVERIFY(m_connection.queryOnce(loss).ok());
        QCOMPARE(m_connection.query(select).rowCount(), 1);
        QCOMPARE(m_failures, QStringList());
    }

    void aTextThatCannotBePreparedFailsEachTimeForItsOwnReason()
    {
        for (int i = 0; i < 3; ++i) {
            post(i);
            m_connection.post("insert into nowhere values (?)", {Value::integer(i)});
        }
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"0", "1", "2"}));
        QCOMPARE(m_failures.size(), 3);
        for (const QString &failure : std::as_const(m_failures))
            QVERIFY2(failure.contains("\"nowhere\" does not exist"), qPrintable(failure));
    }

    void aValueThatNoTextHoldsFailsAlone()
    {
        post(1);
        post(2, QStringLiteral("a") + QChar(0));
        post(3);
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "3"}));
        QCOMPARE(m_failures.size(), 1);
    }

    void aSessionLostOnTheWayFailsWhatIsLeft()
    {
        const QByteArray end = "select pg_terminate_backend(?)";
        const int lost = backend();
        m_connection.post(end, {Value::integer(0)}); // a text's first use is waited for
        post(1);
        m_connection.settle();
        m_failures.clear();
        post(2);
        m_connection.post(end, {Value::integer(lost)});
        // Once the session has ended: what follows is refused by the socket, not by the server.
        QTRY_COMPARE(m_database->rows(QStringLiteral("select pid from pg_stat_activity where pid = %1").arg(lost)),
                     QStringList());
        int opened = 0;
        m_connection.onOpened([&] { ++opened; });
        for (int id = 3; id < kMany; ++id)
            post(id);
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "2"}));
        QCOMPARE(m_failures.size(), 1 + kMany - 3);
        QCOMPARE(opened, 0);
        m_connection.beginCommand();
        post(3);
        QVERIFY(backend() != lost);
        QCOMPARE(opened, 1);
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "2", "3"}));
        m_connection.onOpened({});
    }

    void aStatementThatTakesTooLongFailsAlone()
    {
        const QByteArray sleep = "select pg_sleep(?)";
        m_connection.setStatementTimeout(std::chrono::milliseconds(2000));
        m_connection.beginCommand();
        m_connection.post(sleep, {Value::integer(0)});
        post(1);
        m_connection.post(sleep, {Value::integer(600)});
        post(2);
        post(3);
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "2", "3"}));
        QCOMPARE(m_failures.size(), 1);
    }

    void aPostedTextThatTheSessionHasLostIsPreparedAgain()
    {
        post(1);
        QVERIFY(m_connection.queryOnce("deallocate all").ok());
        post(2); // nobody waits for it, so it is not repeated
        m_connection.settle();
        QCOMPARE(m_failures.size(), 1);
        post(3);
        m_connection.settle();
        QCOMPARE(m_database->rows(kGroups), QStringList({"1", "3"}));
    }
};

QTEST_GUILESS_MAIN(TestPostedStatements)
#include "test_posted_statements.moc"

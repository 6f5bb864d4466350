// Large results, which are taken row by row as the server copies them out.

#include "bytes.h"
#include "database/connection.h"
#include "pg_server.h"

#include <QTest>

#include <csignal>

using database::Connection;
using database::CopiedRow;
using namespace support;

namespace {

/// Ten times as many bytes as the server sends before it waits for a reader.
const QByteArray kManyRows = "select n, repeat('x', 1000) from generate_series(1, 20000) n";

const QByteArray kHead = QByteArray("PGCOPY\n\377\r\n\0", 11) + i32(0) + i32(0);
const QByteArray kEnd = hex("ffff");

} // namespace

class TestCopiedRows : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    Connection m_connection;
    QStringList m_failures;

    int backend() { return m_connection.query("select pg_backend_pid()").integer(0, 0); }

    void worksAgain()
    {
        m_connection.beginCommand();
        QCOMPARE(m_connection.query("select 7").integer(0, 0), 7);
    }

private slots:
    void initTestCase() { m_database = PgServer::shared().cloneDatabase(); }

    void init()
    {
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
    }

    void takesALargeResultRowByRow()
    {
        qint64 sum = 0;
        int rows = 0;
        QVERIFY(m_connection.forEachRow(kManyRows, [&](const CopiedRow &row) {
            QCOMPARE(row.view(1).size(), 1000);
            sum += row.integer(0);
            ++rows;
        }));
        QCOMPARE(rows, 20000);
        QCOMPARE(sum, 20000LL * 20001 / 2);
        QCOMPARE(m_failures, QStringList());
        worksAgain();
    }

    void takesNothingFromNoRows()
    {
        QVERIFY(m_connection.forEachRow("select 1 where false", [](const CopiedRow &) { QFAIL("a row"); }));
        worksAgain();
    }

    void tellsValuesFromNull()
    {
        const QByteArray query = "select 1::smallint, -2, 3::bigint, true, null::int, ''::bytea, null::bytea, "
                                 "array[1, null, -3], null::int[], '{}'::int[]";
        int rows = 0;
        QVERIFY(m_connection.forEachRow(query, [&](const CopiedRow &row) {
            ++rows;
            for (const auto &[column, number] : {std::pair{0, 1}, {1, -2}, {2, 3}, {3, 1}, {4, 0}})
                QCOMPARE(row.integer(column), number);
            QVERIFY(row.isNull(4) && row.view(4).isNull());
            QVERIFY(!row.isNull(5) && row.view(5).isEmpty());
            QVERIFY(row.isNull(6));
            QCOMPARE(row.integers(7), QList<qint32>({1, 0, -3}));
            QCOMPARE(row.integers(8), QList<qint32>());
            QCOMPARE(row.integers(9), QList<qint32>());
        }));
        QCOMPARE(rows, 1);
    }

    void aFailureBetweenRowsIsAFailure()
    {
        int rows = 0;
        QVERIFY(!m_connection.forEachRow("select 1 / (5000 - n), repeat('x', 1000) from generate_series(1, 10000) n",
                                         [&](const CopiedRow &) { ++rows; }));
        QVERIFY2(rows > 0 && rows < 5000, qPrintable(QString::number(rows)));
        QCOMPARE(m_failures.size(), 1);
        QVERIFY2(m_failures[0].contains("division by zero"), qPrintable(m_failures[0]));
        worksAgain();
    }

    void aTextThatCannotBeReadIsAFailureWithoutRows()
    {
        QVERIFY(!m_connection.forEachRow("selec 1", [](const CopiedRow &) { QFAIL("a row"); }));
        QCOMPARE(m_failures.size(), 1);
        worksAgain();
    }

    void aSessionThatEndsBetweenRowsIsAFailure()
    {
        const int process = backend();
        int rows = 0;
        QVERIFY(!m_connection.forEachRow(kManyRows, [&](const CopiedRow &) {
            if (++rows == 1)
                PgServer::shared().administer(QStringLiteral("select pg_terminate_backend(%1)").arg(process));
        }));
        QVERIFY2(rows < 20000, qPrintable(QString::number(rows)));
        QCOMPARE(m_failures.size(), 1);
        worksAgain();
        QVERIFY(backend() != process);
    }

    /// A server that hangs does not keep its own limit.
    void aSessionThatStopsBetweenRowsIsGivenUp()
    {
        m_connection.setStatementTimeout(std::chrono::milliseconds(2000));
        const auto process = pid_t(backend());
        int rows = 0;
        QVERIFY(!m_connection.forEachRow(kManyRows, [&](const CopiedRow &) {
            if (++rows == 1)
                QCOMPARE(::kill(process, SIGSTOP), 0);
        }));
        QCOMPARE(::kill(process, SIGCONT), 0);
        QVERIFY2(rows > 0 && rows < 20000, qPrintable(QString::number(rows)));
        QCOMPARE(m_failures.size(), 1);
        worksAgain();
        QVERIFY(backend() != process);
    }

    void failsWithoutASession()
    {
        m_connection.setName("nobody");
        QVERIFY(!m_connection.forEachRow("select 1", [](const CopiedRow &) { QFAIL("a row"); }));
        QCOMPARE(m_failures.size(), 1);
    }

    void readsTheFirstRowBehindTheHead()
    {
        const QByteArray bytes = hex("0002") + i32(4) + i32(7) + i32(-1);
        CopiedRow row;
        for (const QByteArray &whole : {bytes, kHead + bytes, kHead.chopped(4) + i32(3) + "abc" + bytes}) {
            QVERIFY(row.read(whole));
            QCOMPARE(row.integer(0), 7);
            QVERIFY(row.isNull(1));
        }
    }

    void takesNoOtherBytesForARow()
    {
        CopiedRow row;
        for (const QByteArray &bytes : {QByteArray(), hex("00"), kEnd, kHead, kHead + kEnd, kHead.chopped(1),
                                        kHead.chopped(4) + i32(1), kHead.chopped(4) + i32(-1) + hex("0000"),
                                        hex("0001"), hex("0001") + i32(5) + i32(7), hex("0001") + i32(-2)})
            QVERIFY2(!row.read(bytes), bytes.toHex().constData());
    }

    void readsNoArrayFromOtherBytes()
    {
        const QByteArray head = i32(1) + i32(0) + i32(23) + i32(1000000000) + i32(1);
        QCOMPARE(database::integersOf(head), QList<qint32>());
        QCOMPARE(database::integersOf(head.chopped(1)), QList<qint32>());
        QCOMPARE(database::integersOf(head + i32(4) + i32(7)), QList<qint32>({7}));
        const QByteArray ofBigIntegers = i32(1) + i32(0) + i32(20) + i32(1) + i32(1);
        QCOMPARE(database::integersOf(ofBigIntegers + i32(8) + i32(0) + i32(7)), QList<qint32>());
        QCOMPARE(database::integersOf(head + i32(4) + i32(7).chopped(1)), QList<qint32>({0}));
    }
};

QTEST_GUILESS_MAIN(TestCopiedRows)
#include "test_copied_rows.moc"

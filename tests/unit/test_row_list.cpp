// Lists of rows in a reply: a count that is known last, and nothing but a count where the statement fails.

#include "access/row_list.h"
#include "bytes.h"
#include "keystone/byte_writer.h"
#include "pg_server.h"

#include <QTest>

using namespace support;
using operators::FailedCount;

class TestRowList : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    database::Connection m_connection;

    QByteArray written(const char *select, FailedCount failed)
    {
        QByteArray bytes = "before";
        keystone::ByteWriter out(&bytes);
        operators::writeRowList(out, m_connection, select, failed,
                                [&](const database::CopiedRow &row) { out << row.integer(0); });
        out << qint16(0x0102);
        return bytes;
    }

private slots:
    void initTestCase()
    {
        m_database = PgServer::shared().cloneDatabase();
        PgServer::shared().addConnection("tested", m_database->name());
        m_connection.setName("tested");
        m_connection.beginCommand();
    }

    void cleanupTestCase() { QSqlDatabase::removeDatabase("tested"); }

    void writesCountAndRowsBehindWhatIsThere()
    {
        QCOMPARE(written("select n from generate_series(7, 8) n", FailedCount::MinusOne),
                 "before" + i32(2) + i32(7) + i32(8) + hex("0102"));
    }

    void writesZeroForNoRows()
    {
        QCOMPARE(written("select 1 where false", FailedCount::MinusOne), "before" + i32(0) + hex("0102"));
    }

    void leavesOnlyTheCountOfAFailure()
    {
        QCOMPARE(written("selec", FailedCount::MinusOne), "before" + i32(-1) + hex("0102"));
        QCOMPARE(written("selec", FailedCount::Zero), "before" + i32(0) + hex("0102"));
    }

    void takesBackTheRowsBeforeAFailure()
    {
        QCOMPARE(written("select 10000 / (5000 - n), repeat('x', 1000) from generate_series(1, 9999) n",
                         FailedCount::MinusOne),
                 "before" + i32(-1) + hex("0102"));
    }
};

QTEST_GUILESS_MAIN(TestRowList)
#include "test_row_list.moc"

// The changes of personal setups send their lists as arrays. They must do what these statements do, in which every
// number is a word of the text: the same rows in the same order, also where rows come twice or hold NULL.

#include "access/working_adm_commands.h"
#include "bytes.h"
#include "pg_server.h"
#include "registry_bytes.h"

#include <QSqlDatabase>
#include <QTest>

using namespace support;

namespace {

const QString kDelete =
    R"(DELETE FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 AND "Id_object" IN (%2) AND "Id_PersProp" IN (%3); )";
const QString kInsert = R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") VALUES )";
const QString kDeleteSections = R"(DELETE FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" IN (%1); )";
const QString kInsertCopies = R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") ( )";
const QString kSelectCopy =
    R"((SELECT %0, %2, "Id_object", "Id_PersProp" FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1) )";

constexpr int kType = 1;
constexpr int kAccount = 7;

/// Rows of every kind: doubled, of other sections and operators, with NULL where a column may hold it.
const QString kRows =
    R"(insert into "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") values
       (1,7,0,201), (1,7,5,201), (1,7,5,201), (1,7,5,8), (1,7,6,8), (1,7,6,null), (1,7,null,8), (1,7,null,null),
       (1,7,null,null), (null,7,5,8), (1,null,5,8), (3,7,5,201), (1,8,5,201), (1,9,5,201), (1,9,5,201), (2,7,5,8))";

QString joined(const QList<int> &numbers)
{
    QStringList texts;
    for (const int number : numbers)
        texts.append(QString::number(number));
    return texts.join(u',');
}

QString deletion(const QList<int> &objects, const QList<int> &properties)
{
    return kDelete.arg(QString::number(kType), QString::number(kAccount), joined(objects), joined(properties));
}

QString insertion(const QList<int> &objects, const QList<int> &properties)
{
    QStringList tuples;
    for (const int object : objects) {
        for (const int property : properties)
            tuples.append(QStringLiteral("(%1, %2, %3, %4)").arg(kType).arg(kAccount).arg(object).arg(property));
    }
    return kInsert + tuples.join(QStringLiteral(", ")) + u';';
}

} // namespace

class TestSetupStatements : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_worded;
    std::unique_ptr<TestDatabase> m_served;
    database::Connection m_connection;

    /// A copy of an operator's rows has no order of its own, a change has.
    [[nodiscard]] static QStringList table(TestDatabase &database, const QString &order)
    {
        return database.rows(
            R"(select "Type", "Id_connect", "Id_object", "Id_PersProp" from "Person_Setup" order by )" + order);
    }

private slots:
    void init()
    {
        m_worded = PgServer::shared().cloneDatabase();
        m_served = PgServer::shared().cloneDatabase();
        for (TestDatabase *database : {m_worded.get(), m_served.get()})
            database->run(kRows);
        PgServer::shared().addConnection("tested", m_served->name(), "objects_service");
        m_connection = database::Connection();
        m_connection.setName("tested");
        m_connection.beginCommand();
    }

    void cleanup()
    {
        QSqlDatabase::removeDatabase("tested");
        m_worded.reset();
        m_served.reset();
    }

    void changesTheSameRows_data()
    {
        QTest::addColumn<QList<int>>("objects");
        QTest::addColumn<QList<int>>("off");
        QTest::addColumn<QList<int>>("on");
        QTest::newRow("off") << QList<int>{5, 6} << QList<int>{201, 8} << QList<int>{};
        QTest::newRow("on") << QList<int>{6, 0, 5} << QList<int>{} << QList<int>{202, 8, 201};
        QTest::newRow("both") << QList<int>{5} << QList<int>{8, 201} << QList<int>{8};
        QTest::newRow("named twice") << QList<int>{5, 6, 5} << QList<int>{8, 8} << QList<int>{9, 8, 9};
        QTest::newRow("unknown") << QList<int>{-1, 2147483647, -2147483647 - 1} << QList<int>{0} << QList<int>{-5};
        QList<int> many;
        for (int i = 300; i > 0; --i)
            many.append(i);
        QTest::newRow("many") << many << QList<int>{8} << many.sliced(0, 50);
    }

    void changesTheSameRows()
    {
        QFETCH(QList<int>, objects);
        QFETCH(QList<int>, off);
        QFETCH(QList<int>, on);
        if (!off.isEmpty())
            m_worded->run(deletion(objects, off));
        if (!on.isEmpty()) {
            m_worded->run(deletion(objects, on));
            m_worded->run(insertion(objects, on));
        }
        const QByteArray request = i32(kType) + i32(kAccount) + numbers(objects) + numbers(off) + numbers(on);
        registry::RequestReader in(request);
        WorkingAdmCommands::FixPersonalSetup(in, m_connection);
        QVERIFY2(!m_connection.lastError().isValid(), qPrintable(m_connection.lastError().text()));
        QCOMPARE(table(*m_served, "ctid"), table(*m_worded, "ctid"));
    }

    void copiesTheSameRows_data()
    {
        QTest::addColumn<QList<int>>("targets");
        QTest::newRow("one") << QList<int>{9};
        QTest::newRow("several") << QList<int>{8, 9, 10};
        QTest::newRow("one named twice") << QList<int>{9, 9};
        QTest::newRow("itself") << QList<int>{kAccount};
        QTest::newRow("itself among others") << QList<int>{8, kAccount};
    }

    void copiesTheSameRows()
    {
        QFETCH(QList<int>, targets);
        m_worded->run(kDeleteSections.arg(QString::number(kType), joined(targets)));
        QStringList copies;
        for (const int target : targets)
            copies.append(kSelectCopy.arg(QString::number(kType), QString::number(kAccount), QString::number(target)));
        m_worded->run(kInsertCopies + copies.join(QStringLiteral("UNION ")) + QStringLiteral("); "));
        const QByteArray request = i32(kType) + i32(kAccount) + numbers(targets);
        registry::RequestReader in(request);
        WorkingAdmCommands::CopyPersonalSetup(in, m_connection);
        QVERIFY2(!m_connection.lastError().isValid(), qPrintable(m_connection.lastError().text()));
        QCOMPARE(table(*m_served, "1, 2, 3, 4"), table(*m_worded, "1, 2, 3, 4"));
    }
};

QTEST_GUILESS_MAIN(TestSetupStatements)
#include "test_setup_statements.moc"

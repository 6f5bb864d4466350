// One remote-control command set on or removed from many objects: what is announced and left in the database.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::commandRecord;
using support::i8;
using support::numbers;
using support::parameterRecord;
using support::savedCard;

namespace {

constexpr int kOperator = 4;

QByteArray setOnMany(const QList<int> &objects, const QByteArrayList &records, int mode = 1)
{
    return support::command("Fix_cmd_desc_multi_objs_v2", i8(mode) + numbers(objects) + records.join(), kOperator);
}

QByteArray removeFromMany(const QList<int> &objects, const QString &name)
{
    return support::command("Fix_cmd_desc_multi_objs_v2", i8(0) + numbers(objects) + support::text(name), kOperator);
}

QByteArrayList withParameters(const QString &name, const QByteArrayList &parameters)
{
    QByteArrayList result{commandRecord({.name = name, .numParams = parameters.size()})};
    for (const QByteArray &parameter : parameters)
        result += parameterRecord({.name = parameter});
    return result;
}

} // namespace

class TestCommandOnMany : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void setReplacesByName();
    void setTakesObjectsInListOrderAndAsOftenAsListed();
    void setStopsAtFirstFailedCommand();
    void setStopsAtFirstFailedParameter();
    void setInsertsNothingBehindAFailedDelete_data();
    void setInsertsNothingBehindAFailedDelete();
    void anyNonZeroModeSets();
    void removesByName();
    void quoteInNameFailsTheDelete_data();
    void quoteInNameFailsTheDelete();
    void nameIsSplicedAsItIs_data();
    void nameIsSplicedAsItIs();
    void emptyListDoesNoHarm();

private:
    /// Object and name of every command, each followed by its parameters' names, in the order of their rows.
    QStringList commandRows();
    void give(int number, int object, const QString &name, const QStringList &parameters = {});

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestCommandOnMany::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestCommandOnMany::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestCommandOnMany::cleanup()
{
    // None of these commands writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestCommandOnMany::commandRows()
{
    return m_site.database->rows(
        "SELECT \"Id_object\" || ' ' || coalesce(\"Name\", 'NULL') || coalesce((SELECT string_agg(' ' || "
        "coalesce(\"Name\", 'NULL'), '' ORDER BY \"Id\") "
        "FROM \"Params\" WHERE \"Id_command\" = c.\"Id\"), '') FROM \"Commands\" c ORDER BY \"Id\"");
}

void TestCommandOnMany::give(int number, int object, const QString &name, const QStringList &parameters)
{
    // Far from the numbers that the database gives, and in front of them.
    const int id = number - 1000;
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\") VALUES (%1,%2,'%3',1)")
            .arg(QString::number(id), QString::number(object), name));
    for (const QString &parameter : parameters)
        m_site.database->run(QStringLiteral("INSERT INTO \"Params\" (\"Id_command\",\"Name\") VALUES (%1,'%2')")
                                 .arg(QString::number(id), parameter));
}

void TestCommandOnMany::setReplacesByName()
{
    give(1, 3, "c", {"p"});
    give(2, 3, "c", {"p"});
    give(3, 3, "d", {"p"});
    give(4, 4, "c");
    give(5, 5, "c", {"p"});
    m_admin.send(setOnMany({3, 4}, {commandRecord({"c", "caption", 9, "e", 2, 77}),
                                    parameterRecord({"x", "1", "X", 1, 5}), parameterRecord({"y", "2", "Y", 2, 5})}));
    SAYS(m_admin, savedCard(3));
    SAYS(m_admin, savedCard(4));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList({"3 d p", "5 c p", "3 c x y", "4 c x y"}));
    QCOMPARE(
        m_site.database->rows(
            "SELECT \"Operation\", \"Description\", \"ExecBy\" FROM \"Commands\" WHERE \"Description\" IS NOT NULL"),
        QStringList({"9|caption|\\x65", "9|caption|\\x65"}));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Description\", \"Value\", \"Type\" FROM \"Params\" WHERE "
                                   "\"Type\" IS NOT NULL ORDER BY \"Id\""),
             QStringList({"x|X|\\x31|1", "y|Y|\\x32|2", "x|X|\\x31|1", "y|Y|\\x32|2"}));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 6);
}

void TestCommandOnMany::setTakesObjectsInListOrderAndAsOftenAsListed()
{
    m_admin.send(setOnMany({9, -2, 9}, withParameters("c", {"p"})));
    SAYS(m_admin, savedCard(9));
    SAYS(m_admin, savedCard(-2));
    SAYS(m_admin, savedCard(9));
    QCOMPARE(commandRows(), QStringList({"9 c p", "-2 c p", "9 c p"}));
}

void TestCommandOnMany::setStopsAtFirstFailedCommand()
{
    give(1, 3, "c", {"p"});
    give(2, 5, "c", {"p"});
    const support::StatementFault fault(*m_site.database, "\"Commands\"", "INSERT", "NEW.\"Id_object\" = 4");
    m_admin.send(setOnMany({3, 4, 5}, withParameters("c", {"x"})));
    SAYS(m_admin, savedCard(3));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c x"));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 1);
    m_failedStatements = 1;
}

void TestCommandOnMany::setStopsAtFirstFailedParameter()
{
    const support::StatementFault fault(*m_site.database, "\"Params\"", "INSERT", "NEW.\"Name\" = 'bad'");
    m_admin.send(setOnMany({3, 4}, withParameters("c", {"x", "bad", "y"})));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c x"));
    m_failedStatements = 1;
}

void TestCommandOnMany::setInsertsNothingBehindAFailedDelete_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("first statement") << "\"Params\"";
    QTest::newRow("second statement") << "\"Commands\"";
}

void TestCommandOnMany::setInsertsNothingBehindAFailedDelete()
{
    QFETCH(QString, table);
    give(1, 3, "c", {"p"});
    const support::StatementFault fault(*m_site.database, table, "DELETE");
    m_admin.send(setOnMany({3, 4}, withParameters("c", {"x"})));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c p"));
    m_admin.send(removeFromMany({3}, "c"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c p"));
    m_failedStatements = 2;
}

void TestCommandOnMany::anyNonZeroModeSets()
{
    for (const int mode : {2, 0xFF}) {
        m_admin.send(setOnMany({3}, withParameters("c", {}), mode));
        SAYS(m_admin, savedCard(3));
    }
    QCOMPARE(commandRows(), QStringList("3 c"));
}

void TestCommandOnMany::removesByName()
{
    give(1, 3, "c", {"p", "q"});
    give(2, 3, "C", {"p"});
    give(3, 4, "c");
    give(4, 4, "c", {"p"});
    give(5, 5, "c", {"p"});
    m_admin.send(removeFromMany({3, 4}, "c"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList({"3 C p", "5 c p"}));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 2);
}

void TestCommandOnMany::quoteInNameFailsTheDelete_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a quote") << "it's";
    QTest::newRow("a quote at the end") << "c'";
    QTest::newRow("an error in a later statement") << "c'); SELECT 1; SELECT 1/0; --";
    QTest::newRow("U+0000") << QStringLiteral("c") + QChar(0);
    QTest::newRow("U+0000 behind a whole statement") << QStringLiteral("c')") + QChar(0) + "'";
}

void TestCommandOnMany::quoteInNameFailsTheDelete()
{
    QFETCH(QString, name);
    give(1, 3, "c", {"p"});
    m_admin.send(setOnMany({3, 4}, withParameters(name, {"x"})) + removeFromMany({3}, name));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c p"));
    m_failedStatements = 2;
    for (const QString &line : m_site.newLogLines())
        QVERIFY2(line.contains("Fix_cmd_desc_multi_objs_v2"), qPrintable(line));
}

void TestCommandOnMany::nameIsSplicedAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("placeholder of the list") << "%1" << QStringList({"3 %2 x", "3 ? x", "3 a\\b x", "3 c x"});
    QTest::newRow("placeholder of the name") << "%2" << QStringList({"3 %1 x", "3 ? x", "3 a\\b x", "3 c x"});
    QTest::newRow("question mark") << "?" << QStringList({"3 %1 x", "3 %2 x", "3 a\\b x", "3 c x"});
    QTest::newRow("backslash") << "a\\b" << QStringList({"3 %1 x", "3 %2 x", "3 ? x", "3 c x"});
    QTest::newRow("a condition") << "none' OR \"Name\" = 'c" << QStringList({"3 %1 x", "3 %2 x", "3 ? x", "3 a\\b x"});
    QTest::newRow("a doubled quote") << "none''" << QStringList({"3 %1 x", "3 %2 x", "3 ? x", "3 a\\b x", "3 c x"});
}

void TestCommandOnMany::nameIsSplicedAsItIs()
{
    QFETCH(QString, name);
    QFETCH(QStringList, left);
    int id = 0;
    for (const char *one : {"%1", "%2", "?", "a\\b", "c"})
        give(++id, 3, one, {"x"});
    m_admin.send(removeFromMany({3}, name));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), left);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), int(left.size()));
    // What a set inserts is bound, not spliced.
    m_admin.send(setOnMany({3}, withParameters(name, {name.toUtf8()})));
    SAYS(m_admin, savedCard(3));
    QCOMPARE(commandRows(), left + QStringList("3 " + name + " " + name));
}

void TestCommandOnMany::emptyListDoesNoHarm()
{
    give(1, 3, "c", {"p"});
    m_admin.send(setOnMany({}, withParameters("c", {"x"})) + removeFromMany({}, "c") +
                 setOnMany({}, {commandRecord({.name = "c", .numParams = 0x7FFFFFFF})}));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("3 c p"));
    // Whether a statement for no object is sent and fails, or none is sent, is the same to everybody.
    m_failedStatements = int(m_site.newLogLines().size());
    QVERIFY(m_failedStatements <= 3);
}

QTEST_GUILESS_MAIN(TestCommandOnMany)
#include "test_command_on_many.moc"

// One sensor set on or removed from many objects: what is announced and left in the database.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::i8;
using support::numbers;
using support::savedCard;
using support::sensorRecord;

namespace {

constexpr int kOperator = 4;
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray setOnMany(const QList<int> &objects, const QByteArray &record, int mode = 1)
{
    return support::command("Fix_sensor_multi_objs_v2", i8(mode) + numbers(objects) + record, kOperator);
}

QByteArray removeFromMany(const QList<int> &objects, const QString &name)
{
    return support::command("Fix_sensor_multi_objs_v2", i8(0) + numbers(objects) + support::text(name), kOperator);
}

} // namespace

class TestSensorOnMany : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void setReplacesByType();
    void setReplacesByTypeAtTheEndsOfItsRange_data();
    void setReplacesByTypeAtTheEndsOfItsRange();
    void setTakesObjectsInListOrderAndAsOftenAsListed();
    void setStopsAtFirstFailedInsert();
    void setStopsInTheMiddle();
    void setInsertsNothingBehindAFailedDelete();
    void setTakesAnyTextAsName_data();
    void setTakesAnyTextAsName();
    void setOfATextWithNulOnlyDeletes();
    void anyNonZeroModeSets();
    void removesByName();
    void quoteInNameFailsTheRemoval_data();
    void quoteInNameFailsTheRemoval();
    void nameIsSplicedAsItIs_data();
    void nameIsSplicedAsItIs();
    void failedRemovalIsSilent();
    void emptyListDoesNoHarm();

private:
    /// Object, type and name of every sensor in the order of their rows.
    QStringList sensorRows();
    void give(int object, int type, const QString &name);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestSensorOnMany::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestSensorOnMany::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestSensorOnMany::cleanup()
{
    // None of these commands writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestSensorOnMany::sensorRows()
{
    return m_site.database->rows("SELECT \"Id_objects\", \"Type\", \"Name\" FROM \"Sensors\" ORDER BY \"Id\"");
}

void TestSensorOnMany::give(int object, int type, const QString &name)
{
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Sensors\" (\"Id_objects\",\"Type\",\"Name\") VALUES (%1,%2,'%3')")
            .arg(QString::number(object), QString::number(type), name));
}

void TestSensorOnMany::setReplacesByType()
{
    give(3, 7, "x");
    give(3, 7, "y");
    give(3, 8, "new");
    give(4, 7, "new");
    give(5, 7, "x");
    m_admin.send(setOnMany({3, 4}, sensorRecord({.name = "new", .type = 7})));
    SAYS(m_admin, savedCard(3));
    SAYS(m_admin, savedCard(4));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList({"3|8|new", "5|7|x", "3|7|new", "4|7|new"}));
}

void TestSensorOnMany::setReplacesByTypeAtTheEndsOfItsRange_data()
{
    QTest::addColumn<int>("type");
    for (const int type : {-32768, -1, 0, 32767})
        QTest::newRow(qPrintable(QString::number(type))) << type;
}

void TestSensorOnMany::setReplacesByTypeAtTheEndsOfItsRange()
{
    QFETCH(int, type);
    give(3, type, "old");
    give(3, 65535, "stays");
    m_admin.send(setOnMany({3}, sensorRecord({.name = "new", .type = type})));
    SAYS(m_admin, savedCard(3));
    QCOMPARE(sensorRows(), QStringList({"3|65535|stays", QStringLiteral("3|%1|new").arg(type)}));
}

void TestSensorOnMany::setTakesObjectsInListOrderAndAsOftenAsListed()
{
    m_admin.send(setOnMany({9, -2, 9, 2147483647}, sensorRecord({.name = "s", .type = 1})));
    SAYS(m_admin, savedCard(9));
    SAYS(m_admin, savedCard(-2));
    SAYS(m_admin, savedCard(9));
    SAYS(m_admin, savedCard(2147483647));
    QCOMPARE(sensorRows(), QStringList({"9|1|s", "-2|1|s", "9|1|s", "2147483647|1|s"}));
}

void TestSensorOnMany::setStopsAtFirstFailedInsert()
{
    give(3, 7, "x");
    give(4, 7, "x");
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "INSERT", "NEW.\"Id_objects\" = 3");
    m_admin.send(setOnMany({3, 4}, sensorRecord({.name = "new", .type = 7})));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList());
    m_failedStatements = 1;
}

void TestSensorOnMany::setStopsInTheMiddle()
{
    give(5, 7, "x");
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "INSERT", "NEW.\"Id_objects\" = 4");
    m_admin.send(setOnMany({3, 4, 5}, sensorRecord({.name = "new", .type = 7})));
    SAYS(m_admin, savedCard(3));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("3|7|new"));
    m_failedStatements = 1;
}

void TestSensorOnMany::setInsertsNothingBehindAFailedDelete()
{
    give(4, 7, "x");
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "DELETE");
    m_admin.send(setOnMany({3, 4}, sensorRecord({.name = "new", .type = 7})));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("4|7|x"));
    m_failedStatements = 1;
}

void TestSensorOnMany::setTakesAnyTextAsName_data()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"it's", "%1", "%2", "?", "a\\b", "x'; DROP TABLE \"Sensors\"; --", "😀"})
        QTest::newRow(name) << QString::fromUtf8(name);
}

void TestSensorOnMany::setTakesAnyTextAsName()
{
    QFETCH(QString, name);
    m_admin.send(setOnMany({3}, sensorRecord({.name = name, .type = 7})));
    SAYS(m_admin, savedCard(3));
    QCOMPARE(sensorRows(), QStringList("3|7|" + name));
}

void TestSensorOnMany::setOfATextWithNulOnlyDeletes()
{
    give(3, 7, "x");
    give(3, 8, "y");
    m_admin.send(setOnMany({3, 4}, sensorRecord({.name = kNul, .type = 7})));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("3|8|y"));
    m_failedStatements = 1;
}

void TestSensorOnMany::anyNonZeroModeSets()
{
    for (const int mode : {2, 0x80, 0xFF}) {
        m_admin.send(setOnMany({3}, sensorRecord({.name = "s", .type = mode}), mode));
        SAYS(m_admin, savedCard(3));
    }
    QCOMPARE(sensorRows(), QStringList({"3|2|s", "3|128|s", "3|255|s"}));
}

void TestSensorOnMany::removesByName()
{
    give(12, 1, "p");
    give(12, 2, "p");
    give(12, 1, "P");
    give(15, 1, "q");
    give(40, 1, "p");
    give(41, 1, "p");
    m_admin.send(removeFromMany({12, 15, 40}, "p"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList({"12|1|P", "15|1|q", "41|1|p"}));
}

void TestSensorOnMany::quoteInNameFailsTheRemoval_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a quote") << "it's";
    QTest::newRow("a quote at the end") << "p'";
    QTest::newRow("an error in a second statement") << "p'; SELECT 1/0; --";
    QTest::newRow("U+0000") << QStringLiteral("p") + QChar(0);
    QTest::newRow("U+0000 behind a whole statement") << QStringLiteral("p'") + QChar(0) + "'";
}

void TestSensorOnMany::quoteInNameFailsTheRemoval()
{
    QFETCH(QString, name);
    give(3, 1, "p");
    m_admin.send(removeFromMany({3}, name));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("3|1|p"));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Fix_sensor_multi_objs_v2"));
}

void TestSensorOnMany::nameIsSplicedAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("placeholder of the list") << "%1" << QStringList({"%2", "?", "a\\b", "p"});
    QTest::newRow("placeholder of the name") << "%2" << QStringList({"%1", "?", "a\\b", "p"});
    QTest::newRow("question mark") << "?" << QStringList({"%1", "%2", "a\\b", "p"});
    QTest::newRow("backslash") << "a\\b" << QStringList({"%1", "%2", "?", "p"});
    QTest::newRow("a condition") << "none' OR \"Name\" = 'p" << QStringList({"%1", "%2", "?", "a\\b"});
    QTest::newRow("a doubled quote") << "none''" << QStringList({"%1", "%2", "?", "a\\b", "p"});
}

void TestSensorOnMany::nameIsSplicedAsItIs()
{
    QFETCH(QString, name);
    QFETCH(QStringList, left);
    for (const char *one : {"%1", "%2", "?", "a\\b", "p"})
        give(3, 1, one);
    m_admin.send(removeFromMany({3}, name));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.database->rows("SELECT \"Name\" FROM \"Sensors\" ORDER BY \"Id\""), left);
}

void TestSensorOnMany::failedRemovalIsSilent()
{
    give(3, 1, "p");
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "DELETE");
    m_admin.send(removeFromMany({3}, "p"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("3|1|p"));
    m_failedStatements = 1;
}

void TestSensorOnMany::emptyListDoesNoHarm()
{
    give(3, 7, "p");
    m_admin.send(setOnMany({}, sensorRecord({.name = "s", .type = 7})) + removeFromMany({}, "p"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("3|7|p"));
    // Whether a statement for no object is sent and fails, or none is sent, is the same to everybody.
    m_failedStatements = int(m_site.newLogLines().size());
    QVERIFY(m_failedStatements <= 2);
}

QTEST_GUILESS_MAIN(TestSensorOnMany)
#include "test_sensor_on_many.moc"

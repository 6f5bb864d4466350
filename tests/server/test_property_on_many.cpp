// One property set on or removed from many objects: what is announced, recorded and left in the database.

#include "conversation.h"
#include "installation.h"

using support::cardRecord;
using support::hex;
using support::i32;
using support::i8;
using support::savedCard;

namespace {

constexpr int kOperator = 4;

QByteArray save(int object, const QByteArrayList &records)
{
    return support::command("Save_object_card_v2", i32(object) + i32(records.size()) + records.join(), kOperator);
}

QByteArray numbers(const QList<int> &objects)
{
    QByteArray result = i32(objects.size());
    for (const int object : objects)
        result += i32(object);
    return result;
}

QByteArray setOnMany(const QList<int> &objects, const QByteArray &record)
{
    return support::command("Fix_property_multi_objs_v2", i8(1) + numbers(objects) + record, kOperator);
}

QByteArray removeFromMany(const QList<int> &objects, const QString &name)
{
    return support::command("Fix_property_multi_objs_v2", i8(0) + numbers(objects) + support::text(name), kOperator);
}

} // namespace

class TestPropertyOnMany : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void setsPropertyOnManyObjects();
    void removesPropertyFromManyObjects();
    void setAnnouncesEachObjectEvenIfInsertsFail();
    void setTakesObjectsInListOrderAndAsOftenAsListed();
    void quoteInNameFailsTheDelete_data();
    void quoteInNameFailsTheDelete();
    void nameIsSplicedAsItIs_data();
    void nameIsSplicedAsItIs();
    void emptyListDoesNoHarm_data();
    void emptyListDoesNoHarm();
    void anyNonZeroModeSets();
    void setOnManyObjectsAnnouncesEachInOrder();
    void splicedTextLeavesTheConnectionUsable_data();
    void splicedTextLeavesTheConnectionUsable();

private:
    QStringList card(int object);
    void give(int object, const QString &name, const QString &value = "old");

    support::Installation m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
};

void TestPropertyOnMany::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestPropertyOnMany::init()
{
    m_site.settle();
    m_site.reset();
}

void TestPropertyOnMany::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY2(m_client.isSilent(), "the event log holds more than expected");
    QVERIFY(m_site.service.isRunning());
}

QStringList TestPropertyOnMany::card(int object)
{
    return m_site.database->rows(
        QStringLiteral("SELECT \"Name\", \"Description\", \"Type\", \"Value\", \"Visible\" FROM \"Objects_property\" "
                       "WHERE \"Id_objects\" = %1 ORDER BY \"Id\"")
            .arg(object));
}

void TestPropertyOnMany::give(int object, const QString &name, const QString &value)
{
    QString escaped = name;
    escaped.replace('\'', "''");
    m_site.database->run(
        QStringLiteral(
            "INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Description\",\"Type\",\"Value\",\"Visible\") "
            "VALUES (%1,'%2','d',1,'%3',true)")
            .arg(QString::number(object), escaped, value));
}

void TestPropertyOnMany::setsPropertyOnManyObjects()
{
    give(3, "p");
    give(3, "p");
    give(3, "q");
    give(7, "p");
    give(8, "p");
    m_admin.send(setOnMany({3, 7}, cardRecord({77, "p", "caption", 10, "new", 'f'})));
    SAYS(m_admin, savedCard(3));
    SAYS(m_admin, savedCard(7));
    RECORDS(m_client, "User 'ivanov' save cards with id=3,7");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(card(3), QStringList({"q|d|1|\\x6f6c64|true", "p|caption|10|\\x6e6577|false"}));
    QCOMPARE(card(7), QStringList({"p|caption|10|\\x6e6577|false"}));
    QCOMPARE(card(8), QStringList({"p|d|1|\\x6f6c64|true"}));
    QVERIFY(m_site.database
                ->value("SELECT max(\"Id\") FILTER (WHERE \"Id_objects\" = 3) < max(\"Id\") FILTER (WHERE "
                        "\"Id_objects\" = 7) FROM \"Objects_property\"")
                .toBool());
}

void TestPropertyOnMany::removesPropertyFromManyObjects()
{
    for (const int object : {12, 15, 40, 41})
        give(object, "p");
    give(15, "q");
    m_admin.send(removeFromMany({12, 15, 40}, "p"));
    RECORDS(m_client, "User 'ivanov' save cards with id=12,15,40");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\", \"Name\" FROM \"Objects_property\" ORDER BY \"Id_objects\""),
             QStringList({"15|q", "41|p"}));
}

void TestPropertyOnMany::setAnnouncesEachObjectEvenIfInsertsFail()
{
    give(3, "p");
    give(7, "p");
    m_admin.send(setOnMany({3, 7}, cardRecord({-1, "p", "", 0, "", 'x'})));
    SAYS(m_admin, savedCard(3));
    SAYS(m_admin, savedCard(7));
    RECORDS(m_client, "User 'ivanov' save cards with id=3,7");
    QCOMPARE(card(3) + card(7), QStringList());
}

void TestPropertyOnMany::setTakesObjectsInListOrderAndAsOftenAsListed()
{
    m_admin.send(setOnMany({9, -2, 9}, cardRecord({-1, "p", "", 0, "", 't'})));
    SAYS(m_admin, savedCard(9));
    SAYS(m_admin, savedCard(-2));
    SAYS(m_admin, savedCard(9));
    RECORDS(m_client, "User 'ivanov' save cards with id=9,-2,9");
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\" FROM \"Objects_property\" ORDER BY \"Id\""),
             QStringList({"9", "-2", "9"}));
}

void TestPropertyOnMany::quoteInNameFailsTheDelete_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a quote") << "it's";
    QTest::newRow("a quote at the end") << "p'";
    QTest::newRow("an error in a second statement") << "p'; SELECT 1/0; --";
    QTest::newRow("an error in the last of three") << "p'; SELECT 1; SELECT 1/0 WHERE '1' = '1";
    QTest::newRow("U+0000") << QStringLiteral("p") + QChar(0);
    QTest::newRow("U+0000 behind a whole statement") << QStringLiteral("p'") + QChar(0) + "'";
}

void TestPropertyOnMany::quoteInNameFailsTheDelete()
{
    QFETCH(QString, name);
    give(3, "p");
    m_admin.send(setOnMany({3, 7}, cardRecord({-1, name, "", 0, "new", 't'})));
    RECORDS(m_client, "User 'ivanov' save cards with id=3,7");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(card(3), QStringList({"p|d|1|\\x6f6c64|true"}));
    QCOMPARE(card(7), QStringList());
    m_admin.send(removeFromMany({3}, name));
    RECORDS(m_client, "User 'ivanov' save cards with id=3");
    QCOMPARE(card(3), QStringList({"p|d|1|\\x6f6c64|true"}));
}

void TestPropertyOnMany::nameIsSplicedAsItIs_data()
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

void TestPropertyOnMany::nameIsSplicedAsItIs()
{
    QFETCH(QString, name);
    QFETCH(QStringList, left);
    for (const char *one : {"%1", "%2", "?", "a\\b", "p"})
        give(3, one);
    m_admin.send(removeFromMany({3}, name));
    RECORDS(m_client, "User 'ivanov' save cards with id=3");
    QCOMPARE(m_site.database->rows("SELECT \"Name\" FROM \"Objects_property\" ORDER BY \"Id\""), left);
}

void TestPropertyOnMany::emptyListDoesNoHarm_data()
{
    QTest::addColumn<bool>("sets");
    QTest::newRow("set") << true;
    QTest::newRow("remove") << false;
}

void TestPropertyOnMany::emptyListDoesNoHarm()
{
    QFETCH(bool, sets);
    give(3, "p");
    m_admin.send(sets ? setOnMany({}, cardRecord({-1, "p", "", 0, "", 't'})) : removeFromMany({}, "p"));
    SAYS_NOTHING_MORE(m_admin);
    // A line with an empty list is no harm either.
    if (!m_client.isSilent())
        RECORDS(m_client, "User 'ivanov' save cards with id=");
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\", \"Name\" FROM \"Objects_property\""), QStringList({"3|p"}));
}

void TestPropertyOnMany::anyNonZeroModeSets()
{
    m_admin.send(support::command("Fix_property_multi_objs_v2",
                                  hex("02") + numbers({3}) + cardRecord({-1, "p", "", 0, "", 't'}), kOperator));
    SAYS(m_admin, savedCard(3));
    RECORDS(m_client, "User 'ivanov' save cards with id=3");
}

void TestPropertyOnMany::setOnManyObjectsAnnouncesEachInOrder()
{
    QList<int> objects;
    QByteArray list;
    for (int object = 2000; object > 0; --object) {
        objects.append(object);
        list += (list.isEmpty() ? "" : ",") + QByteArray::number(object);
    }
    m_admin.send(setOnMany(objects, cardRecord({-1, "p", "", 0, "", 't'})));
    for (const int object : objects)
        SAYS(m_admin, savedCard(object));
    RECORDS(m_client, "User 'ivanov' save cards with id=" + list);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects_property\"").toInt(), 2000);
}

void TestPropertyOnMany::splicedTextLeavesTheConnectionUsable_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("copy out") << "none'; COPY (SELECT 1) TO STDOUT; --";
    QTest::newRow("copy in") << "none'; COPY \"Objects\" FROM STDIN; --";
    QTest::newRow("open transaction") << "none'; BEGIN; --";
    QTest::newRow("failed transaction") << "none'; BEGIN; SELECT 1/0; --";
    QTest::newRow("dropped statements") << "none'; DEALLOCATE ALL; --";
}

void TestPropertyOnMany::splicedTextLeavesTheConnectionUsable()
{
    QFETCH(QString, name);
    m_admin.send(save(17, {cardRecord({-1, "before", "", 0, "", 't'})}));
    SAYS(m_admin, savedCard(17));
    RECORDS(m_client, "User 'ivanov' save card with id=17");
    m_admin.send(removeFromMany({3}, name));
    RECORDS(m_client, "User 'ivanov' save cards with id=3");
    m_admin.send(save(17, {cardRecord({-1, "after", "", 0, "", 't'})}));
    SAYS(m_admin, savedCard(17));
    RECORDS(m_client, "User 'ivanov' save card with id=17");
    QCOMPARE(card(17), QStringList({"after||0|\\x|true"}));
}

QTEST_GUILESS_MAIN(TestPropertyOnMany)
#include "test_property_on_many.moc"

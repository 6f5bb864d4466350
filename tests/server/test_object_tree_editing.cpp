// The group tree is thrown away and written anew by one command.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::bytes;
using support::hex;
using support::i32;

namespace {

constexpr int kOperator = 4;

QByteArray group(int number, int parent, const QByteArray &name)
{
    return i32(number) + i32(parent) + bytes(name);
}

QByteArray placement(int number, int object)
{
    return i32(number) + i32(object);
}

QByteArray save(const QByteArrayList &groups, const QByteArrayList &placements)
{
    return support::command("Save_objects_tree",
                            i32(groups.size()) + groups.join() + i32(placements.size()) + placements.join(), kOperator);
}

} // namespace

class TestObjectTreeEditing : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void savesGroupsAndPlacements();
    void savesARequestOfKnownBytes();
    void emptyTreeEmptiesTheThreeTables();
    void topGroupsAreRootsWithoutAParentRow();
    void parentsAreNotValidated();
    void placementInGroupZeroIsSkipped();
    void placementsAreNotValidated();
    void numbersReachTheEndsOfTheirRange();
    void namesAreStoredAsTheyCame_data();
    void namesAreStoredAsTheyCame();
    void namesEndAtTheirFirstZeroByte_data();
    void namesEndAtTheirFirstZeroByte();
    void nullNameIsNoName();
    void duplicateGroupFailsAloneAndKeepsItsParentRow();
    void failedInsertsStopNothing();
    void failedDeletionDeletesNothingAndGoesOn_data();
    void failedDeletionDeletesNothingAndGoesOn();
    void objectsAndTheirCardsStay();
    void recordsOperatorsNameAsItIs();

private:
    void verifyModified();
    QStringList groups();
    QStringList parents();
    QStringList placements();

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    int m_failedStatements = 0;
};

void TestObjectTreeEditing::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectTreeEditing::init()
{
    m_site.beginFunction();
    m_site.database->run("INSERT INTO \"Groups\" VALUES (1,'old',true), (2,'old child',false)");
    m_site.database->run("INSERT INTO \"Groups_groups\" VALUES (1,2)");
    m_site.database->run("INSERT INTO \"Groups_objects\" VALUES (2,17), (2,18)");
    m_failedStatements = 0;
}

void TestObjectTreeEditing::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestObjectTreeEditing::verifyModified()
{
    RECORDS(m_client, "User 'ivanov' modify tree");
    SAYS_NOTHING_MORE(m_admin);
}

QStringList TestObjectTreeEditing::groups()
{
    return m_site.database->rows("SELECT \"Id\", \"Name\", \"IsRoot\" FROM \"Groups\" ORDER BY \"Id\"");
}

QStringList TestObjectTreeEditing::parents()
{
    return m_site.database->rows("SELECT \"Id_owner_group\", \"Id_qroup\" FROM \"Groups_groups\" ORDER BY 1, 2");
}

QStringList TestObjectTreeEditing::placements()
{
    return m_site.database->rows("SELECT \"Id_group\", \"Id_object\" FROM \"Groups_objects\" ORDER BY 1, 2");
}

void TestObjectTreeEditing::savesGroupsAndPlacements()
{
    m_admin.send(save({group(10, 0, "Город"), group(30, 10, "Север"), group(20, 10, "Юг"), group(40, 30, "Порт")},
                      {placement(40, 17), placement(20, 17), placement(20, 18), placement(10, 19)}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"10|Город|true", "20|Юг|false", "30|Север|false", "40|Порт|false"}));
    QCOMPARE(parents(), QStringList({"10|20", "10|30", "30|40"}));
    QCOMPARE(placements(), QStringList({"10|19", "20|17", "20|18", "40|17"}));
}

void TestObjectTreeEditing::savesARequestOfKnownBytes()
{
    m_admin.send(hex("00 00 00 48 CB 00 00 00 11 53 61 76 65 5F 6F 62 6A 65 63 74 73 5F 74 72 65 65 00 00 00 2A"
                     "00 00 00 02 00 00 00 05 00 00 00 00 00 00 00 01 41 00 00 00 06 00 00 00 05 00 00 00 01 42"
                     "00 00 00 01 00 00 00 06 00 00 00 11 00 00 00 04"));
    verifyModified();
    QCOMPARE(groups(), QStringList({"5|A|true", "6|B|false"}));
    QCOMPARE(parents(), QStringList("5|6"));
    QCOMPARE(placements(), QStringList("6|17"));
}

void TestObjectTreeEditing::emptyTreeEmptiesTheThreeTables()
{
    m_admin.send(save({}, {}));
    verifyModified();
    QCOMPARE(groups() + parents() + placements(), QStringList());
}

void TestObjectTreeEditing::topGroupsAreRootsWithoutAParentRow()
{
    m_admin.send(save({group(5, 0, "top"), group(6, 5, "child")}, {}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"5|top|true", "6|child|false"}));
    QCOMPARE(parents(), QStringList("5|6"));
}

void TestObjectTreeEditing::parentsAreNotValidated()
{
    m_admin.send(save({group(5, 4711, "of nobody"), group(6, 6, "of itself"), group(7, -1, "of less than nobody"),
                       group(8, 9, "before"), group(9, 8, "behind")},
                      {}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"5|of nobody|false", "6|of itself|false", "7|of less than nobody|false",
                                    "8|before|false", "9|behind|false"}));
    QCOMPARE(parents(), QStringList({"-1|7", "6|6", "8|9", "9|8", "4711|5"}));
}

void TestObjectTreeEditing::placementInGroupZeroIsSkipped()
{
    m_admin.send(save({group(5, 0, "g")}, {placement(0, 17), placement(5, 18), placement(0, 0)}));
    verifyModified();
    QCOMPARE(placements(), QStringList("5|18"));
}

void TestObjectTreeEditing::placementsAreNotValidated()
{
    m_admin.send(
        save({}, {placement(4711, 17), placement(5, 0), placement(5, -3), placement(-5, 17), placement(4711, 17)}));
    verifyModified();
    QCOMPARE(placements(), QStringList({"-5|17", "5|-3", "5|0", "4711|17", "4711|17"}));
}

void TestObjectTreeEditing::numbersReachTheEndsOfTheirRange()
{
    m_admin.send(
        save({group(2147483647, int(0x80000000), "a"), group(int(0x80000000), 2147483647, "b"), group(0, 0, "zero")},
             {placement(2147483647, int(0x80000000)), placement(int(0x80000000), 2147483647)}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"-2147483648|b|false", "0|zero|true", "2147483647|a|false"}));
    QCOMPARE(parents(), QStringList({"-2147483648|2147483647", "2147483647|-2147483648"}));
    QCOMPARE(placements(), QStringList({"-2147483648|2147483647", "2147483647|-2147483648"}));
}

void TestObjectTreeEditing::namesAreStoredAsTheyCame_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("quotes") << QByteArray("it's \"q\" '' ;--");
    QTest::newRow("backslashes") << QByteArray("\\ \\\\ \\x41");
    QTest::newRow("line feeds") << QByteArray("a\nb\r\n");
    QTest::newRow("emoji") << QByteArray("😀 я €");
    QTest::newRow("placeholders") << QByteArray("%1 %2 ? :x $1");
    QTest::newRow("100 KB") << QByteArray("я").repeated(50000);
}

void TestObjectTreeEditing::namesAreStoredAsTheyCame()
{
    QFETCH(QByteArray, name);
    m_admin.send(save({group(5, 0, name)}, {}));
    verifyModified();
    QCOMPARE(m_site.database->value("SELECT encode(convert_to(\"Name\", 'utf8'), 'hex') FROM \"Groups\"").toByteArray(),
             name.toHex());
}

void TestObjectTreeEditing::namesEndAtTheirFirstZeroByte_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("stored");
    QTest::newRow("at the end") << QByteArray("Юг\0", 5) << "Юг";
    QTest::newRow("in the middle") << QByteArray("ab\0cd", 5) << "ab";
    QTest::newRow("several") << QByteArray("ab\0cd\0\0", 7) << "ab";
    QTest::newRow("at the beginning") << QByteArray("\0ab", 3) << "";
    QTest::newRow("nothing else") << QByteArray("\0", 1) << "";
    QTest::newRow("in front of no UTF-8") << QByteArray("ab\0\xFF", 4) << "ab";
}

void TestObjectTreeEditing::namesEndAtTheirFirstZeroByte()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, stored);
    m_admin.send(save({group(5, 0, name), group(6, 5, "behind")}, {placement(6, 17)}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"5|" + stored + "|true", "6|behind|false"}));
    QCOMPARE(placements(), QStringList("6|17"));
}

void TestObjectTreeEditing::nullNameIsNoName()
{
    m_admin.send(save({i32(5) + i32(0) + support::null(), group(6, 5, "behind")}, {}));
    verifyModified();
    QCOMPARE(m_site.database->rows("SELECT \"Id\", coalesce(\"Name\", ''), \"IsRoot\" FROM \"Groups\" ORDER BY \"Id\""),
             QStringList({"5||true", "6|behind|false"}));
}

void TestObjectTreeEditing::duplicateGroupFailsAloneAndKeepsItsParentRow()
{
    m_admin.send(save({group(5, 0, "first"), group(5, 7, "again"), group(5, 0, "and again"), group(6, 5, "behind")},
                      {placement(5, 17)}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"5|first|true", "6|behind|false"}));
    QCOMPARE(parents(), QStringList({"5|6", "7|5"}));
    QCOMPARE(placements(), QStringList("5|17"));
    m_failedStatements = 2;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_objects_tree"));
}

void TestObjectTreeEditing::failedInsertsStopNothing()
{
    const QByteArray request = save({group(5, 0, "a"), group(6, 5, "b"), group(7, 5, "c")},
                                    {placement(5, 17), placement(6, 18), placement(7, 19)});
    {
        const support::StatementFault fault(*m_site.database, "\"Groups\"", "INSERT", "NEW.\"Id\" = 6");
        m_admin.send(request);
        verifyModified();
        QCOMPARE(groups(), QStringList({"5|a|true", "7|c|false"}));
        QCOMPARE(parents(), QStringList({"5|6", "5|7"}));
        QCOMPARE(placements(), QStringList({"5|17", "6|18", "7|19"}));
    }
    {
        const support::StatementFault fault(*m_site.database, "\"Groups_groups\"", "INSERT", "NEW.\"Id_qroup\" = 6");
        m_admin.send(request);
        verifyModified();
        QCOMPARE(groups().size(), 3);
        QCOMPARE(parents(), QStringList("5|7"));
        QCOMPARE(placements(), QStringList({"5|17", "6|18", "7|19"}));
    }
    const support::StatementFault fault(*m_site.database, "\"Groups_objects\"", "INSERT", "NEW.\"Id_group\" = 5");
    m_admin.send(request);
    verifyModified();
    QCOMPARE(groups().size(), 3);
    QCOMPARE(placements(), QStringList({"6|18", "7|19"}));
    m_failedStatements = 3;
}

void TestObjectTreeEditing::failedDeletionDeletesNothingAndGoesOn_data()
{
    QTest::addColumn<QString>("table");
    for (const char *table : {"\"Groups\"", "\"Groups_groups\"", "\"Groups_objects\""})
        QTest::newRow(table) << table;
}

void TestObjectTreeEditing::failedDeletionDeletesNothingAndGoesOn()
{
    QFETCH(QString, table);
    const support::StatementFault fault(*m_site.database, table, "DELETE");
    m_admin.send(save({group(1, 0, "in the way"), group(5, 2, "new")}, {placement(5, 19)}));
    verifyModified();
    QCOMPARE(groups(), QStringList({"1|old|true", "2|old child|false", "5|new|false"}));
    QCOMPARE(parents(), QStringList({"1|2", "2|5"}));
    QCOMPARE(placements(), QStringList({"2|17", "2|18", "5|19"}));
    m_failedStatements = 2;
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestObjectTreeEditing::objectsAndTheirCardsStay()
{
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES (17)");
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (17,'name')");
    m_admin.send(save({}, {}));
    verifyModified();
    QCOMPARE(
        m_site.database->value("SELECT count(*) FROM \"Objects\" JOIN \"Objects_property\" p ON p.\"Id_objects\" = 17")
            .toInt(),
        1);
}

void TestObjectTreeEditing::recordsOperatorsNameAsItIs()
{
    m_site.database->run("UPDATE \"Connections\" SET \"Login\" = '%1 ''я'' %2'");
    m_admin.send(save({}, {}) + support::command("Save_objects_tree", i32(0) + i32(0), 77));
    RECORDS(m_client, "User '%1 'я' %2' modify tree");
    RECORDS(m_client, "User '' modify tree");
}

QTEST_GUILESS_MAIN(TestObjectTreeEditing)
#include "test_object_tree_editing.moc"

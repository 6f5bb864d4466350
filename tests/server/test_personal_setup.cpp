// Personal setup: read in three blocks, changed for many objects, copied to other operators.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

using support::hex;
using support::i32;
using support::savedPersonConfig;
using support::setupBlock;
using support::setupChange;
using support::setupCopy;
using support::setupRow;

namespace {

constexpr int kOperator = 4;
const QByteArray kRead = "Get_personalsetup4objects_X";
const QByteArray kChange = "Fix_personal_setup_changes";
const QByteArray kCopy = "Copy_personal_setup";
const QByteArray kRecord = "User 'ivanov' update personal configuration";

QByteArray read(int account)
{
    return support::command(kRead, i32(account), kOperator);
}

QByteArray setup(const QByteArray &first, const QByteArray &second, const QByteArray &third)
{
    return support::answer(kRead, first + second + third, kOperator);
}

} // namespace

/// Sends the change or copy and takes what must follow it.
#define CHANGES(name, request)                                                                                         \
    do {                                                                                                               \
        m_admin.send(support::command(name, request, kOperator));                                                      \
        RECORDS(m_client, kRecord);                                                                                    \
        SAYS(m_admin, support::emptyAnswer(name, kOperator));                                                          \
        SAYS(m_admin, savedPersonConfig());                                                                            \
    } while (false)

class TestPersonalSetup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void readingHasTheKnownBytes();
    void readsThreeSectionsAndNoOther();
    void readsEveryObjectAndTheDefaultForAnOperatorWithoutRows();
    void readsOnlyTheOperatorAskedFor();
    void readsPropertiesInTheirOrder();
    void readsNoRowOfAnUnknownObject();
    void readsOneRowWithoutAnyObject();
    void readsManyObjectsAndProperties();
    void failedReadingCountsMinusOne_data();
    void failedReadingCountsMinusOne();

    void changeHasTheKnownBytes();
    void switchesOffWhatIsNamedOnly();
    void switchesOnEveryPair();
    void switchesOnInTheOrderOfObjectsThenProperties();
    void switchesOffFirst();
    void switchingOnTwiceLeavesOneRow();
    void switchingOnRemovesDoubledRows();
    void numbersNamedTwiceGiveTwoRows();
    void changeOfNothingIsRecordedAndAnnounced_data();
    void changeOfNothingIsRecordedAndAnnounced();
    void anySectionIsStored_data();
    void anySectionIsStored();
    void switchesManyAtOnce();
    void switchesAWholeRegistryAtOnce();
    void refusesRowsBeyondNumber();
    void failedInsertLeavesThePropertiesDeleted();
    void failedDeleteDoesNotStopTheInsert();

    void copiesOneSectionToOthers();
    void copyReplacesWhatTheTargetsHad();
    void copyOntoItselfEmptiesTheSource();
    void copyOntoItselfAndOthersEmptiesAll();
    void copyFromNobodyEmptiesTheTargets();
    void copyToOneKeepsDoubledRows();
    void copyToTwoDropsDoubledRows();
    void copyToTheSameTwiceGivesOneCopy();
    void copiesToManyOperators();
    void copyToNobodyIsRecordedAndAnnounced();
    void failedCopyLeavesTheTargetsEmpty();
    void copyThatMayNotDeleteStillInserts();

    void recordComesBeforeTheChange_data();
    void recordComesBeforeTheChange();
    void recordComesBeforeTheAnswer();
    void unknownRequesterHasNoName();

private:
    /// Section, operator, object and property of every row.
    QStringList rows(const QString &order = "1, 2, 3, 4");
    void give(const QString &tuples);
    void giveObjects(const QString &tuples);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    int m_failedStatements = 0;
};

void TestPersonalSetup::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestPersonalSetup::init()
{
    m_site.beginFunction();
    m_site.database->run("TRUNCATE \"Person_Setup\"");
    m_failedStatements = 0;
}

void TestPersonalSetup::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestPersonalSetup::rows(const QString &order)
{
    return m_site.database->rows(
        "SELECT \"Type\", \"Id_connect\", \"Id_object\", \"Id_PersProp\" FROM \"Person_Setup\" ORDER BY " + order);
}

void TestPersonalSetup::give(const QString &tuples)
{
    m_site.database->run("INSERT INTO \"Person_Setup\" VALUES " + tuples);
}

void TestPersonalSetup::giveObjects(const QString &tuples)
{
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES " + tuples);
}

void TestPersonalSetup::readingHasTheKnownBytes()
{
    giveObjects("(17)");
    give("(1,7,17,202),(1,7,17,8),(3,7,0,1)");
    m_admin.send(
        hex("00 00 00 2C CB 00 00 00 1B 47 65 74 5F 70 65 72 73 6F 6E 61 6C 73 65 74 75 70 34 6F 62 6A 65 63 74 "
            "73 5F 58 00 00 00 04 00 00 00 07 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 9A CA 00 00 00 1B 47 65 74 5F 70 65 72 73 6F 6E 61 6C 73 65 74 75 70 34 6F 62 6A 65 63 "
                      "74 73 5F 58 00 00 00 1B 47 65 74 5F 70 65 72 73 6F 6E 61 6C 73 65 74 75 70 34 6F 62 6A 65 63 74 "
                      "73 5F 58 00 00 00 48"
                      "00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 11 00 00 00 02 00 00 00 08 00 00 00 CA"
                      "00 00 00 02 00 00 00 00 00 00 00 01 00 00 00 01 00 00 00 11 00 00 00 00"
                      "00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 11 00 00 00 00"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestPersonalSetup::readsThreeSectionsAndNoOther()
{
    giveObjects("(17)");
    give("(0,7,17,90),(1,7,17,91),(2,7,17,92),(3,7,17,93),(4,7,17,94),(5,7,17,95),(-1,7,17,96),"
         "(1,7,0,81),(2,7,0,82),(3,7,0,83),(4,7,0,84)");
    m_site.database->run("INSERT INTO \"OpChk_Layers\" (\"Id\") VALUES (17), (18)");
    m_admin.send(read(7));
    SAYS(m_admin,
         setup(setupBlock({setupRow(0, {81}), setupRow(17, {91})}), setupBlock({setupRow(0, {83}), setupRow(17, {93})}),
               setupBlock({setupRow(0, {84}), setupRow(17, {94})})));
    m_site.database->run("TRUNCATE \"OpChk_Layers\"");
}

void TestPersonalSetup::readsEveryObjectAndTheDefaultForAnOperatorWithoutRows()
{
    giveObjects("(300),(17),(18)");
    give("(1,8,17,1)");
    const QByteArray block = setupBlock({setupRow(0, {}), setupRow(17, {}), setupRow(18, {}), setupRow(300, {})});
    for (const int account : {7, 0, -7, 2147483647}) {
        m_admin.send(read(account));
        SAYS(m_admin, setup(block, block, block));
    }
}

void TestPersonalSetup::readsOnlyTheOperatorAskedFor()
{
    giveObjects("(17)");
    give("(1,4,17,1),(1,7,17,2),(1,-7,17,3)");
    const QByteArray none = setupBlock({setupRow(0, {}), setupRow(17, {})});
    m_admin.send(read(7) + read(-7) + read(4));
    SAYS(m_admin, setup(setupBlock({setupRow(0, {}), setupRow(17, {2})}), none, none));
    SAYS(m_admin, setup(setupBlock({setupRow(0, {}), setupRow(17, {3})}), none, none));
    SAYS(m_admin, setup(setupBlock({setupRow(0, {}), setupRow(17, {1})}), none, none));
}

void TestPersonalSetup::readsPropertiesInTheirOrder()
{
    giveObjects("(17)");
    // The same row twice is listed twice, a missing number is 0 and stands last.
    give("(1,7,17,302),(1,7,17,9),(1,7,17,-5),(1,7,17,2147483647),(1,7,17,-2147483648),(1,7,17,9),(1,7,17,NULL)");
    const QByteArray none = setupBlock({setupRow(0, {}), setupRow(17, {})});
    m_admin.send(read(7));
    SAYS(m_admin, setup(setupBlock({setupRow(0, {}), setupRow(17, {int(0x80000000), -5, 9, 9, 302, 2147483647, 0})}),
                        none, none));
}

void TestPersonalSetup::readsNoRowOfAnUnknownObject()
{
    giveObjects("(17)");
    give("(1,7,4711,1),(3,7,4711,1),(4,7,4711,1)");
    const QByteArray none = setupBlock({setupRow(0, {}), setupRow(17, {})});
    m_admin.send(read(7));
    SAYS(m_admin, setup(none, none, none));
}

void TestPersonalSetup::readsOneRowWithoutAnyObject()
{
    const QByteArray none = setupBlock({setupRow(0, {})});
    m_admin.send(read(7));
    SAYS(m_admin, setup(none, none, none));
}

void TestPersonalSetup::readsManyObjectsAndProperties()
{
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") SELECT generate_series(1, 3000)");
    m_site.database->run("INSERT INTO \"Person_Setup\" SELECT 3, 7, o, p FROM generate_series(1, 3000) AS o, "
                         "generate_series(1, 100) AS p WHERE o % 3 = 0 OR p <= 10");
    QByteArrayList empty = {setupRow(0, {})};
    QByteArrayList full = empty;
    QList<int> ten;
    QList<int> hundred;
    for (int i = 1; i <= 100; ++i) {
        if (i <= 10)
            ten.append(i);
        hundred.append(i);
    }
    for (int object = 1; object <= 3000; ++object) {
        empty.append(setupRow(object, {}));
        full.append(setupRow(object, object % 3 == 0 ? hundred : ten));
    }
    m_admin.send(read(7));
    SAYS(m_admin, setup(setupBlock(empty), setupBlock(full), setupBlock(empty)));
}

void TestPersonalSetup::failedReadingCountsMinusOne_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("setup") << "\"Person_Setup\"";
    QTest::newRow("objects") << "\"Objects\"";
}

void TestPersonalSetup::failedReadingCountsMinusOne()
{
    QFETCH(QString, table);
    giveObjects("(17)");
    const support::RightTaken taken(*m_site.database, "SELECT", table);
    m_admin.send(read(7));
    SAYS(m_admin, setup(i32(-1), i32(-1), i32(-1)));
    m_failedStatements = 3;
    QVERIFY2(m_site.newLogLines().value(0).contains(kRead), qPrintable(m_site.newLogLines().value(0)));
}

void TestPersonalSetup::changeHasTheKnownBytes()
{
    give("(3,7,17,1)");
    m_admin.send(
        hex("00 00 00 4F CB 00 00 00 1A 46 69 78 5F 70 65 72 73 6F 6E 61 6C 5F 73 65 74 75 70 5F 63 68 61 6E 67 65 "
            "73 00 00 00 28 00 00 00 03 00 00 00 07 00 00 00 02 00 00 00 11 00 00 00 12 00 00 00 01 00 00 00 01"
            "00 00 00 02 00 00 00 CA 00 00 00 09 00 00 00 04"));
    RECORDS(m_client, kRecord);
    SAYS(m_admin,
         hex("00 00 00 50 CA 00 00 00 1A 46 69 78 5F 70 65 72 73 6F 6E 61 6C 5F 73 65 74 75 70 5F 63 68 61 6E 67 "
             "65 73 00 00 00 1A 46 69 78 5F 70 65 72 73 6F 6E 61 6C 5F 73 65 74 75 70 5F 63 68 61 6E 67 65 73"
             "FF FF FF FF 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 3A CA 00 00 00 0D 53 65 72 76 65 72 4D 65 73 73 61 67 65"
                      "00 00 00 11 53 61 76 65 64 50 65 72 73 6F 6E 43 6F 6E 66 69 67 FF FF FF FF"
                      "01 FF FF FF FF 00 00 00 00 00 00 FF FF FF FF"));
    QCOMPARE(rows(), QStringList({"3|7|17|9", "3|7|17|202", "3|7|18|9", "3|7|18|202"}));
}

void TestPersonalSetup::switchesOffWhatIsNamedOnly()
{
    give("(1,7,17,1),(1,7,17,2),(1,7,17,3),(1,7,18,1),(1,7,19,1),(3,7,17,1),(1,8,17,1),(1,7,0,1)");
    CHANGES(kChange, setupChange(1, 7, {17, 18}, {1, 3}, {}));
    QCOMPARE(rows(), QStringList({"1|7|0|1", "1|7|17|2", "1|7|19|1", "1|8|17|1", "3|7|17|1"}));
}

void TestPersonalSetup::switchesOnEveryPair()
{
    give("(1,7,17,1),(1,7,17,5),(1,8,17,2)");
    CHANGES(kChange, setupChange(1, 7, {17, 0, -3}, {}, {2, 1}));
    QCOMPARE(rows(), QStringList({"1|7|-3|1", "1|7|-3|2", "1|7|0|1", "1|7|0|2", "1|7|17|1", "1|7|17|2", "1|7|17|5",
                                  "1|8|17|2"}));
}

void TestPersonalSetup::switchesOnInTheOrderOfObjectsThenProperties()
{
    CHANGES(kChange, setupChange(1, 7, {18, 17}, {}, {3, 1, 2}));
    QCOMPARE(rows("ctid"), QStringList({"1|7|18|3", "1|7|18|1", "1|7|18|2", "1|7|17|3", "1|7|17|1", "1|7|17|2"}));
}

void TestPersonalSetup::switchesOffFirst()
{
    give("(1,7,17,1),(1,7,17,2)");
    CHANGES(kChange, setupChange(1, 7, {17}, {1, 2}, {2, 3}));
    QCOMPARE(rows(), QStringList({"1|7|17|2", "1|7|17|3"}));
}

void TestPersonalSetup::switchingOnTwiceLeavesOneRow()
{
    CHANGES(kChange, setupChange(1, 7, {17}, {}, {201}));
    CHANGES(kChange, setupChange(1, 7, {17}, {}, {201}));
    QCOMPARE(rows(), QStringList("1|7|17|201"));
}

void TestPersonalSetup::switchingOnRemovesDoubledRows()
{
    give("(1,7,17,201),(1,7,17,201),(1,7,17,202)");
    CHANGES(kChange, setupChange(1, 7, {17}, {}, {201}));
    QCOMPARE(rows(), QStringList({"1|7|17|201", "1|7|17|202"}));
}

void TestPersonalSetup::numbersNamedTwiceGiveTwoRows()
{
    CHANGES(kChange, setupChange(1, 7, {17, 17}, {}, {201}));
    CHANGES(kChange, setupChange(1, 7, {18}, {}, {202, 202}));
    QCOMPARE(rows(), QStringList({"1|7|17|201", "1|7|17|201", "1|7|18|202", "1|7|18|202"}));
}

void TestPersonalSetup::changeOfNothingIsRecordedAndAnnounced_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("no object") << setupChange(1, 7, {}, {1}, {2});
    QTest::newRow("no property") << setupChange(1, 7, {17}, {}, {});
    QTest::newRow("nothing at all") << setupChange(1, 7, {}, {}, {});
    QTest::newRow("no such row") << setupChange(1, 7, {17}, {4711}, {});
    QTest::newRow("no such operator") << setupChange(1, 4711, {17}, {1}, {});
}

void TestPersonalSetup::changeOfNothingIsRecordedAndAnnounced()
{
    QFETCH(QByteArray, request);
    give("(1,7,17,1)");
    CHANGES(kChange, request);
    QCOMPARE(rows(), QStringList("1|7|17|1"));
}

void TestPersonalSetup::anySectionIsStored_data()
{
    QTest::addColumn<int>("section");
    for (const int section : {0, 1, 2, 3, 4, 5, -1, 2147483647, int(0x80000000)})
        QTest::addRow("%d", section) << section;
}

void TestPersonalSetup::anySectionIsStored()
{
    QFETCH(int, section);
    CHANGES(kChange, setupChange(section, -7, {2147483647}, {int(0x80000000)}, {int(0x80000000)}));
    QCOMPARE(rows(), QStringList(QStringLiteral("%1|-7|2147483647|-2147483648").arg(section)));
    CHANGES(kCopy, setupCopy(section, -7, {int(0x80000000)}));
    QCOMPARE(rows(), QStringList({QStringLiteral("%1|-2147483648|2147483647|-2147483648").arg(section),
                                  QStringLiteral("%1|-7|2147483647|-2147483648").arg(section)}));
    CHANGES(kChange, setupChange(section, -7, {2147483647}, {int(0x80000000)}, {}));
    QCOMPARE(rows(), QStringList(QStringLiteral("%1|-2147483648|2147483647|-2147483648").arg(section)));
}

void TestPersonalSetup::switchesManyAtOnce()
{
    QList<int> objects;
    QList<int> properties;
    for (int i = 1; i <= 2000; ++i)
        objects.append(i);
    for (int i = 1; i <= 62; ++i)
        properties.append(i);
    const QString counts = "SELECT count(*), count(DISTINCT (\"Id_object\", \"Id_PersProp\")) FROM \"Person_Setup\"";
    CHANGES(kChange, setupChange(3, 7, objects, {}, properties));
    QCOMPARE(m_site.database->rows(counts), QStringList("124000|124000"));
    CHANGES(kChange, setupChange(3, 7, objects.mid(1), properties.mid(1), {}));
    QCOMPARE(m_site.database->rows(counts), QStringList("2061|2061"));
}

void TestPersonalSetup::switchesAWholeRegistryAtOnce()
{
    QList<int> objects;
    for (int object = 1; object <= 100'000; ++object)
        objects.append(object);
    CHANGES(kChange, setupChange(1, 7, objects, {}, {1, 2, 8, 201, 202, 203}));
    QCOMPARE(
        m_site.database->value(R"(select count(distinct ("Id_object", "Id_PersProp")) from "Person_Setup")").toInt(),
        600'000);
    CHANGES(kCopy, setupCopy(1, 7, {8, 9}));
    QCOMPARE(m_site.database->value(R"(select count(*) from "Person_Setup" where "Id_connect" in (8, 9))").toInt(),
             1'200'000);
    CHANGES(kChange, setupChange(1, 7, objects, {1, 2, 8, 201, 202, 203}, {}));
    QCOMPARE(m_site.database->value(R"(select count(*) from "Person_Setup")").toInt(), 1'200'000);
}

void TestPersonalSetup::refusesRowsBeyondNumber()
{
    give("(1,7,17,1)");
    // A short request for 25 million rows, and a copy to more operators than any installation has: nothing is changed,
    // and all is said as after statements that fail.
    const QList<int> many(5000, 17);
    const QList<int> crowd(10'001, 7);
    for (const auto &[name, request] :
         {std::pair{kChange, setupChange(1, 7, many, {1}, many)}, std::pair{kCopy, setupCopy(1, 7, crowd)}}) {
        const qsizetype lines = m_site.newLogLines().size();
        CHANGES(name, request);
        QCOMPARE(m_site.newLogLines().size(), lines + 1);
        QVERIFY2(m_site.newLogLines().last().contains("refused: "), qPrintable(m_site.newLogLines().last()));
        QCOMPARE(rows(), QStringList("1|7|17|1"));
    }
    m_failedStatements = 2; // lines of the log
}

void TestPersonalSetup::failedInsertLeavesThePropertiesDeleted()
{
    give("(1,7,17,1),(1,7,17,2),(1,7,17,3)");
    const support::StatementFault fault(*m_site.database, "\"Person_Setup\"", "INSERT");
    CHANGES(kChange, setupChange(1, 7, {17}, {1}, {2}));
    QCOMPARE(rows(), QStringList("1|7|17|3"));
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains(kChange), qPrintable(m_site.newLogLines().value(0)));
}

void TestPersonalSetup::failedDeleteDoesNotStopTheInsert()
{
    give("(1,7,17,1),(1,7,17,2)");
    const support::StatementFault fault(*m_site.database, "\"Person_Setup\"", "DELETE");
    CHANGES(kChange, setupChange(1, 7, {17}, {1}, {2}));
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|7|17|2", "1|7|17|2"}));
    m_failedStatements = 2;
}

void TestPersonalSetup::copiesOneSectionToOthers()
{
    give("(1,7,0,5),(1,7,17,1),(1,7,17,2),(2,7,17,3),(3,7,17,4),(1,10,17,9)");
    CHANGES(kCopy, setupCopy(1, 7, {8, 9}));
    QCOMPARE(rows(), QStringList({"1|7|0|5", "1|7|17|1", "1|7|17|2", "1|8|0|5", "1|8|17|1", "1|8|17|2", "1|9|0|5",
                                  "1|9|17|1", "1|9|17|2", "1|10|17|9", "2|7|17|3", "3|7|17|4"}));
}

void TestPersonalSetup::copyReplacesWhatTheTargetsHad()
{
    give("(3,7,17,1),(3,8,17,2),(3,8,18,1),(1,8,17,3),(3,9,17,4)");
    CHANGES(kCopy, setupCopy(3, 7, {8}));
    QCOMPARE(rows(), QStringList({"1|8|17|3", "3|7|17|1", "3|8|17|1", "3|9|17|4"}));
}

void TestPersonalSetup::copyOntoItselfEmptiesTheSource()
{
    give("(1,7,17,1),(1,7,18,2),(3,7,17,3),(1,8,17,4)");
    CHANGES(kCopy, setupCopy(1, 7, {7}));
    QCOMPARE(rows(), QStringList({"1|8|17|4", "3|7|17|3"}));
}

void TestPersonalSetup::copyOntoItselfAndOthersEmptiesAll()
{
    give("(1,7,17,1),(1,8,17,4),(1,9,17,5)");
    CHANGES(kCopy, setupCopy(1, 7, {8, 7}));
    QCOMPARE(rows(), QStringList("1|9|17|5"));
}

void TestPersonalSetup::copyFromNobodyEmptiesTheTargets()
{
    give("(1,8,17,4),(1,9,17,5),(3,8,17,6)");
    CHANGES(kCopy, setupCopy(1, 4711, {8}));
    QCOMPARE(rows(), QStringList({"1|9|17|5", "3|8|17|6"}));
}

void TestPersonalSetup::copyToOneKeepsDoubledRows()
{
    give("(1,7,17,1),(1,7,17,1)");
    CHANGES(kCopy, setupCopy(1, 7, {8}));
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|7|17|1", "1|8|17|1", "1|8|17|1"}));
}

void TestPersonalSetup::copyToTwoDropsDoubledRows()
{
    give("(1,7,17,1),(1,7,17,1)");
    CHANGES(kCopy, setupCopy(1, 7, {8, 9}));
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|7|17|1", "1|8|17|1", "1|9|17|1"}));
}

void TestPersonalSetup::copyToTheSameTwiceGivesOneCopy()
{
    give("(1,7,17,1),(1,7,18,2)");
    CHANGES(kCopy, setupCopy(1, 7, {8, 8}));
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|7|18|2", "1|8|17|1", "1|8|18|2"}));
}

void TestPersonalSetup::copiesToManyOperators()
{
    give("(1,7,17,1),(1,7,18,2),(1,500,17,9)");
    QList<int> targets;
    for (int i = 100; i < 600; ++i)
        targets.append(i);
    CHANGES(kCopy, setupCopy(1, 7, targets));
    QCOMPARE(m_site.database->rows("SELECT count(*), count(DISTINCT (\"Id_connect\", \"Id_object\", \"Id_PersProp\")), "
                                   "sum(\"Id_PersProp\") FROM \"Person_Setup\""),
             QStringList("1002|1002|1503"));
}

void TestPersonalSetup::copyToNobodyIsRecordedAndAnnounced()
{
    give("(1,7,17,1)");
    CHANGES(kCopy, setupCopy(1, 7, {}));
    QCOMPARE(rows(), QStringList("1|7|17|1"));
}

void TestPersonalSetup::failedCopyLeavesTheTargetsEmpty()
{
    give("(1,7,17,1),(1,8,17,2),(1,9,17,3)");
    const support::StatementFault fault(*m_site.database, "\"Person_Setup\"", "INSERT", "NEW.\"Id_connect\" = 9");
    CHANGES(kCopy, setupCopy(1, 7, {8, 9}));
    QCOMPARE(rows(), QStringList("1|7|17|1"));
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains(kCopy), qPrintable(m_site.newLogLines().value(0)));
}

void TestPersonalSetup::copyThatMayNotDeleteStillInserts()
{
    give("(1,7,17,1),(1,8,17,2)");
    const support::StatementFault fault(*m_site.database, "\"Person_Setup\"", "DELETE");
    CHANGES(kCopy, setupCopy(1, 7, {8}));
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|8|17|1", "1|8|17|2"}));
    m_failedStatements = 1;
}

void TestPersonalSetup::recordComesBeforeTheChange_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("switch off") << kChange << setupChange(1, 7, {17}, {1}, {});
    QTest::newRow("switch on") << kChange << setupChange(1, 7, {17}, {}, {1});
    QTest::newRow("copy") << kCopy << setupCopy(1, 7, {8});
}

void TestPersonalSetup::recordComesBeforeTheChange()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    support::TableLock lock(*m_site.database, "\"Person_Setup\"");
    m_admin.send(support::command(name, request, kOperator));
    RECORDS(m_client, kRecord);
    QVERIFY(lock.isWaitedFor());
    QVERIFY2(m_admin.isSilent(), "answered or announced before the change");
    lock.release();
    SAYS(m_admin, support::emptyAnswer(name, kOperator));
    SAYS(m_admin, savedPersonConfig());
}

void TestPersonalSetup::recordComesBeforeTheAnswer()
{
    // Two sockets have no order of their own: the record must be there already when the answer has come, every time.
    for (int i = 0; i < 100; ++i) {
        const bool copies = i % 2 == 0;
        const QByteArray name = copies ? kCopy : kChange;
        m_admin.send(support::command(name, copies ? setupCopy(1, 7, {}) : setupChange(1, 7, {}, {}, {}), kOperator));
        SAYS(m_admin, support::emptyAnswer(name, kOperator));
        QVERIFY2(!m_client.isSilent(), "the answer came first");
        RECORDS(m_client, kRecord);
        SAYS(m_admin, savedPersonConfig());
    }
}

void TestPersonalSetup::unknownRequesterHasNoName()
{
    m_admin.send(support::command(kChange, setupChange(1, 7, {17}, {}, {1}), 4711) +
                 support::command(kCopy, setupCopy(1, 7, {8}), 0));
    RECORDS(m_client, "User '' update personal configuration");
    RECORDS(m_client, "User '' update personal configuration");
    SAYS(m_admin, support::emptyAnswer(kChange, 4711));
    SAYS(m_admin, savedPersonConfig());
    SAYS(m_admin, support::emptyAnswer(kCopy, 0));
    SAYS(m_admin, savedPersonConfig());
    QCOMPARE(rows(), QStringList({"1|7|17|1", "1|8|17|1"}));
}

QTEST_GUILESS_MAIN(TestPersonalSetup)
#include "test_personal_setup.moc"

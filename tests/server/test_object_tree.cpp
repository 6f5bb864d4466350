// Object trees: objects with pictures and colours, groups, nesting and membership.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::bytes;
using support::hex;
using support::i32;
using support::noColour;
using support::noPicture;

namespace {

constexpr int kOperator = 4;
const QByteArray kOwn = "Get_objects_tree";
const QByteArray kFull = "Get_full_objects_tree";

QByteArray object(int number, const QByteArray &name, const QByteArray &picture = noPicture(),
                  const QByteArray &font = noColour(), const QByteArray &background = noColour())
{
    return i32(number) + bytes(name) + picture + font + background;
}

QByteArray group(int number, const QByteArray &name)
{
    return i32(number) + bytes(name);
}

QByteArray link(int first, int second)
{
    return i32(first) + i32(second);
}

QByteArray block(const QByteArrayList &rows)
{
    return i32(rows.size()) + rows.join();
}

struct Tree
{
    QByteArrayList objects;
    QByteArrayList groups;
    QByteArrayList nesting;
    QByteArrayList membership;
};

QByteArray tree(const QByteArray &name, const Tree &tree, int caller = kOperator)
{
    return support::answer(
        name, block(tree.objects) + block(tree.groups) + block(tree.nesting) + block(tree.membership), caller);
}

QByteArray ask(const QByteArray &name, int caller = kOperator)
{
    return support::command(name, "", caller);
}

} // namespace

class TestObjectTree : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void treeHasTheKnownBytes();
    void emptyRegistryHasFourEmptyBlocks();
    void objectsComeInOrderOfTheirNumbers();
    void objectWithoutANameIsNotListed();
    void absentPicturesAndColoursAreEmpty();
    void presentOnesPassThroughRaw_data();
    void presentOnesPassThroughRaw();
    void nullOnesAreAbsentAndEmptyOnesAreNothing();
    void eachOfTheThreeStandsAlone();
    void namesAreRawBytes();
    void doubledPropertiesDoubleTheObject();
    void anyLetterMatchesTheUnderscoreOfAColour();
    void largePicturesPassThrough();

    void ownTreeHoldsWhatTheOperatorMayObserve();
    void ownTreeListsAnObjectForEveryRow();
    void operatorWithoutRightsGetsTheGroupsWhole();
    void callersBelowOneGetTheFullTree_data();
    void callersBelowOneGetTheFullTree();
    void fullTreeIsTheSameForEveryCaller();

    void groupsAreSortedByName();
    void nestingGivesTheInnerGroupFirst();
    void nestingIsSortedByTheInnerGroupsName();
    void nestingOfAnUnknownInnerGroupIsLeftOut();
    void membershipIsSortedByTheObjectsName();
    void membershipKnowsNamedObjectsOnly();
    void nameThatIsNoTextSpoilsTheMembershipOnly_data();
    void nameThatIsNoTextSpoilsTheMembershipOnly();
    void nameThatIsNoTextOutsideOfGroupsSpoilsNothing();

    void refusedTableCostsItsBlocksOnly_data();
    void refusedTableCostsItsBlocksOnly();
    void requestIsNotRead_data();
    void requestIsNotRead();

private:
    void give(int object, const QString &name, const QByteArray &value);
    void run(const QString &statement) { m_site.database->run(statement); }

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestObjectTree::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectTree::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectTree::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestObjectTree::give(int object, const QString &name, const QByteArray &value)
{
    run(support::givingProperty(object, name, value));
}

void TestObjectTree::treeHasTheKnownBytes()
{
    give(17, "name", "A");
    give(17, "font_color", hex("01 FFFF 0000 0000 FFFF 0000"));
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201)");
    run("INSERT INTO \"Groups\" VALUES (5,'g',true), (6,'h',false)");
    run("INSERT INTO \"Groups_groups\" VALUES (5,6)");
    run("INSERT INTO \"Groups_objects\" VALUES (6,17)");
    m_admin.send(
        hex("00 00 00 1D CB 00 00 00 10 47 65 74 5F 6F 62 6A 65 63 74 73 5F 74 72 65 65 FF FF FF FF 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 91 CA 00 00 00 10 47 65 74 5F 6F 62 6A 65 63 74 73 5F 74 72 65 65"
                      "00 00 00 10 47 65 74 5F 6F 62 6A 65 63 74 73 5F 74 72 65 65 00 00 00 55"
                      "00 00 00 01 00 00 00 11 00 00 00 01 41 00 00 00 00"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 FF FF 00 00 00 00 00 00 00 00"
                      "00 00 00 02 00 00 00 05 00 00 00 01 67 00 00 00 06 00 00 00 01 68"
                      "00 00 00 01 00 00 00 06 00 00 00 05"
                      "00 00 00 01 00 00 00 06 00 00 00 11"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectTree::emptyRegistryHasFourEmptyBlocks()
{
    m_admin.send(ask(kOwn) + ask(kFull));
    SAYS(m_admin, support::answer(kOwn, hex("00000000 00000000 00000000 00000000"), kOperator));
    SAYS(m_admin, support::answer(kFull, hex("00000000 00000000 00000000 00000000"), kOperator));
}

void TestObjectTree::objectsComeInOrderOfTheirNumbers()
{
    for (const int number : {300, 17, -5, 18})
        give(number, "name", QByteArray::number(1000 - number));
    m_admin.send(ask(kFull));
    SAYS(m_admin,
         tree(kFull, {{object(-5, "1005"), object(17, "983"), object(18, "982"), object(300, "700")}, {}, {}, {}}));
}

void TestObjectTree::objectWithoutANameIsNotListed()
{
    run("INSERT INTO \"Objects\" (\"Id\") VALUES (17), (18), (19)");
    give(17, "pic", "P");
    give(18, "Name", "A");
    give(19, "name", "B");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(19, "B")}, {}, {}, {}}));
}

void TestObjectTree::absentPicturesAndColoursAreEmpty()
{
    give(17, "name", "A");
    give(18, "name", "B");
    give(18, "picture", "x");
    m_admin.send(ask(kFull));
    SAYS(m_admin, support::answer(kFull,
                                  hex("00000002"
                                      "00000011 00000001 41 00000000 00FFFF0000000000000000 00FFFF0000000000000000"
                                      "00000012 00000001 42 00000000 00FFFF0000000000000000 00FFFF0000000000000000"
                                      "00000000 00000000 00000000"),
                                  kOperator));
}

void TestObjectTree::presentOnesPassThroughRaw_data()
{
    QTest::addColumn<QByteArray>("picture");
    QTest::addColumn<QByteArray>("font");
    QTest::addColumn<QByteArray>("background");
    QTest::newRow("true forms") << hex("00000001 89504E470D0A1A0A") << support::blue() << support::red();
    QTest::newRow("every byte") << support::everyByte() << support::everyByte() << support::everyByte();
    QTest::newRow("zero bytes") << QByteArray(4, '\0') << QByteArray(1, '\0') << QByteArray(2, '\0');
    QTest::newRow("what no client can read") << QByteArray("p") << QByteArray("f") << QByteArray("b");
    QTest::newRow("what looks like an escape") << QByteArray("\\x41") << QByteArray("\\101") << QByteArray("\\\\");
}

void TestObjectTree::presentOnesPassThroughRaw()
{
    QFETCH(QByteArray, picture);
    QFETCH(QByteArray, font);
    QFETCH(QByteArray, background);
    give(17, "background_color", background);
    give(17, "pic", picture);
    give(17, "name", "A");
    give(17, "font_color", font);
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201)");
    m_admin.send(ask(kOwn) + ask(kFull));
    const QByteArray first = object(17, "A", picture, font, background);
    SAYS(m_admin, tree(kOwn, {{first}, {}, {}, {}}));
    SAYS(m_admin, tree(kFull, {{first, object(18, "B")}, {}, {}, {}}));
}

void TestObjectTree::nullOnesAreAbsentAndEmptyOnesAreNothing()
{
    give(17, "name", "A");
    run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (17,'pic'), (17,'font_color'), "
        "(17,'background_color')");
    give(18, "name", "B");
    for (const char *name : {"pic", "font_color", "background_color"})
        give(18, name, "");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(17, "A"), object(18, "B", "", "", "")}, {}, {}, {}}));
}

void TestObjectTree::eachOfTheThreeStandsAlone()
{
    for (const int number : {17, 18, 19})
        give(number, "name", "A");
    give(17, "pic", "PP");
    give(18, "font_color", "FF");
    give(19, "background_color", "BB");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(17, "A", "PP"), object(18, "A", noPicture(), "FF"),
                                object(19, "A", noPicture(), noColour(), "BB")},
                               {},
                               {},
                               {}}));
}

void TestObjectTree::namesAreRawBytes()
{
    give(17, "name", support::everyByte());
    give(18, "name", "");
    run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (19,'name')");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(17, support::everyByte()), object(18, ""),
                                i32(19) + support::null() + noPicture() + noColour() + noColour()},
                               {},
                               {},
                               {}}));
}

void TestObjectTree::doubledPropertiesDoubleTheObject()
{
    give(17, "name", "A");
    give(17, "pic", "P");
    give(17, "pic", "P");
    give(18, "name", "B");
    give(18, "name", "B");
    m_admin.send(ask(kFull));
    SAYS(m_admin,
         tree(kFull, {{object(17, "A", "P"), object(17, "A", "P"), object(18, "B"), object(18, "B")}, {}, {}, {}}));
}

void TestObjectTree::anyLetterMatchesTheUnderscoreOfAColour()
{
    give(17, "name", "A");
    give(17, "fontXcolor", "F");
    give(17, "background-color", "B");
    give(18, "name", "B");
    give(18, "font__color", "F");
    give(18, "Font_color", "F");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(17, "A", noPicture(), "F", "B"), object(18, "B")}, {}, {}, {}}));
}

void TestObjectTree::largePicturesPassThrough()
{
    QByteArrayList objects;
    for (int number = 1; number <= 8; ++number) {
        const QByteArray picture = support::everyByte().repeated(4096) + QByteArray::number(number);
        give(number, "name", "A");
        give(number, "pic", picture);
        objects.append(object(number, "A", picture));
    }
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {objects, {}, {}, {}}));
}

void TestObjectTree::ownTreeHoldsWhatTheOperatorMayObserve()
{
    for (int number = 10; number <= 19; ++number)
        give(number, "name", QByteArray::number(number));
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,10,201), (1,4,11,202), (1,4,12,203), (1,4,13,1), (3,4,14,201), "
        "(4,4,15,201), (1,5,16,201), (1,-4,17,201), (1,4,0,201), (1,4,4711,201), (1,4,19,201)");
    m_admin.send(ask(kOwn) + ask(kOwn, 5) + ask(kOwn, 6));
    SAYS(m_admin, tree(kOwn, {{object(10, "10"), object(19, "19")}, {}, {}, {}}));
    SAYS(m_admin, tree(kOwn, {{object(16, "16")}, {}, {}, {}}, 5));
    SAYS(m_admin, tree(kOwn, {{}, {}, {}, {}}, 6));
}

void TestObjectTree::ownTreeListsAnObjectForEveryRow()
{
    give(17, "name", "A");
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201), (1,4,17,201), (1,4,17,201), (3,4,17,201), (1,4,18,201)");
    m_admin.send(ask(kOwn) + ask(kFull));
    SAYS(m_admin, tree(kOwn, {{object(17, "A"), object(17, "A"), object(17, "A"), object(18, "B")}, {}, {}, {}}));
    SAYS(m_admin, tree(kFull, {{object(17, "A"), object(18, "B")}, {}, {}, {}}));
}

void TestObjectTree::operatorWithoutRightsGetsTheGroupsWhole()
{
    give(17, "name", "A");
    give(18, "name", "B");
    run("INSERT INTO \"Groups\" VALUES (5,'g',true), (6,'h',false)");
    run("INSERT INTO \"Groups_groups\" VALUES (5,6)");
    run("INSERT INTO \"Groups_objects\" VALUES (6,18), (5,17)");
    m_admin.send(ask(kOwn));
    SAYS(m_admin, tree(kOwn, {{}, {group(5, "g"), group(6, "h")}, {link(6, 5)}, {link(5, 17), link(6, 18)}}));
}

void TestObjectTree::callersBelowOneGetTheFullTree_data()
{
    QTest::addColumn<int>("caller");
    QTest::newRow("0") << 0;
    QTest::newRow("-3") << -3;
    QTest::newRow("smallest") << int(0x80000000);
}

void TestObjectTree::callersBelowOneGetTheFullTree()
{
    QFETCH(int, caller);
    give(17, "name", "A");
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,0,17,201), (1,-3,17,201)");
    m_admin.send(ask(kOwn, caller));
    SAYS(m_admin, tree(kOwn, {{object(17, "A"), object(18, "B")}, {}, {}, {}}, caller));
}

void TestObjectTree::fullTreeIsTheSameForEveryCaller()
{
    give(17, "name", "A");
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201)");
    for (const int caller : {4, 5, 0, 2147483647}) {
        m_admin.send(ask(kFull, caller));
        SAYS(m_admin, tree(kFull, {{object(17, "A"), object(18, "B")}, {}, {}, {}}, caller));
    }
}

void TestObjectTree::groupsAreSortedByName()
{
    run("INSERT INTO \"Groups\" VALUES (1,'c',true), (2,'a',false), (300,'b',NULL), (-4,'Группа',true), (5,'',false)");
    m_admin.send(ask(kFull));
    SAYS(m_admin,
         tree(kFull, {{}, {group(5, ""), group(2, "a"), group(300, "b"), group(1, "c"), group(-4, "Группа")}, {}, {}}));
}

void TestObjectTree::nestingGivesTheInnerGroupFirst()
{
    run("INSERT INTO \"Groups\" VALUES (6,'inner',false)");
    run("INSERT INTO \"Groups_groups\" (\"Id_owner_group\", \"Id_qroup\") VALUES (5,6)");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{}, {group(6, "inner")}, {i32(6) + i32(5)}, {}}));
}

void TestObjectTree::nestingIsSortedByTheInnerGroupsName()
{
    run("INSERT INTO \"Groups\" VALUES (1,'c',true), (2,'a',false), (3,'b',false)");
    run("INSERT INTO \"Groups_groups\" VALUES (2,1), (1,2), (1,3), (1,3)");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{},
                               {group(2, "a"), group(3, "b"), group(1, "c")},
                               {link(2, 1), link(3, 1), link(3, 1), link(1, 2)},
                               {}}));
}

void TestObjectTree::nestingOfAnUnknownInnerGroupIsLeftOut()
{
    run("INSERT INTO \"Groups\" VALUES (1,'a',true)");
    run("INSERT INTO \"Groups_groups\" VALUES (1,4711), (4711,1), (4711,4711)");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{}, {group(1, "a")}, {link(1, 4711)}, {}}));
}

void TestObjectTree::membershipIsSortedByTheObjectsName()
{
    give(1, "name", "b");
    give(2, "name", "Z");
    give(3, "name", "Я");
    give(4, "name", "А");
    give(5, "name", "a");
    run("INSERT INTO \"Groups_objects\" VALUES (9,1), (9,2), (9,3), (9,4), (9,5)");
    m_admin.send(ask(kFull));
    // By the letters' codes, whatever the language of the database.
    SAYS(m_admin, tree(kFull, {{object(1, "b"), object(2, "Z"), object(3, "Я"), object(4, "А"), object(5, "a")},
                               {},
                               {},
                               {link(9, 2), link(9, 5), link(9, 1), link(9, 4), link(9, 3)}}));
}

void TestObjectTree::membershipKnowsNamedObjectsOnly()
{
    give(17, "name", "A");
    give(18, "pic", "P");
    run("INSERT INTO \"Groups_objects\" VALUES (5,17), (6,17), (5,18), (5,4711), (5,17)");
    m_admin.send(ask(kFull));
    const QByteArray said = m_admin.nextFrame();
    // Links of one object have no order among themselves.
    const auto expected = [](const QByteArrayList &links) { return tree(kFull, {{object(17, "A")}, {}, {}, links}); };
    QVERIFY2(said == expected({link(5, 17), link(6, 17), link(5, 17)}) ||
                 said == expected({link(6, 17), link(5, 17), link(5, 17)}) ||
                 said == expected({link(5, 17), link(5, 17), link(6, 17)}),
             qPrintable(support::describe(said)));
}

void TestObjectTree::nameThatIsNoTextSpoilsTheMembershipOnly_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("no UTF-8") << QByteArray("A\xff");
    QTest::newRow("half a letter") << QByteArray("A\xd0");
    QTest::newRow("zero byte") << QByteArray("A\0B", 3);
}

void TestObjectTree::nameThatIsNoTextSpoilsTheMembershipOnly()
{
    QFETCH(QByteArray, name);
    give(17, "name", name);
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201), (1,4,18,201)");
    run("INSERT INTO \"Groups\" VALUES (5,'g',true), (6,'h',false)");
    run("INSERT INTO \"Groups_groups\" VALUES (5,6)");
    run("INSERT INTO \"Groups_objects\" VALUES (5,18), (5,17)");
    m_admin.send(ask(kOwn) + ask(kFull));
    for (const QByteArray &tree : {kOwn, kFull})
        SAYS(m_admin, support::answer(tree,
                                      block({object(17, name), object(18, "B")}) +
                                          block({group(5, "g"), group(6, "h")}) + block({link(6, 5)}) + i32(-1),
                                      kOperator));
    m_failedStatements = 2;
    QVERIFY2(m_site.newLogLines().value(0).contains(kOwn), qPrintable(m_site.newLogLines().value(0)));
}

void TestObjectTree::nameThatIsNoTextOutsideOfGroupsSpoilsNothing()
{
    give(17, "name", "A\xff");
    give(18, "name", "B");
    run("INSERT INTO \"Groups_objects\" VALUES (5,18)");
    m_admin.send(ask(kFull));
    SAYS(m_admin, tree(kFull, {{object(17, "A\xff"), object(18, "B")}, {}, {}, {link(5, 18)}}));
}

void TestObjectTree::refusedTableCostsItsBlocksOnly_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QByteArray>("own");
    QTest::addColumn<QByteArray>("full");
    QTest::addColumn<int>("failed");
    const QByteArray objects = block({object(17, "A")});
    const QByteArray groups = block({group(5, "g")});
    const QByteArray nesting = block({link(5, 4711)});
    const QByteArray membership = block({link(5, 17)});
    const QByteArray rest = groups + nesting + membership;
    QTest::newRow("properties") << "\"Objects_property\"" << i32(-1) + groups + nesting + i32(-1)
                                << i32(-1) + groups + nesting + i32(-1) << 4;
    QTest::newRow("setup") << "\"Person_Setup\"" << i32(-1) + rest << objects + rest << 1;
    QTest::newRow("groups") << "\"Groups\"" << objects + i32(-1) + i32(-1) + membership
                            << objects + i32(-1) + i32(-1) + membership << 4;
    QTest::newRow("nesting") << "\"Groups_groups\"" << objects + groups + i32(-1) + membership
                             << objects + groups + i32(-1) + membership << 2;
    QTest::newRow("membership") << "\"Groups_objects\"" << objects + groups + nesting + i32(-1)
                                << objects + groups + nesting + i32(-1) << 2;
}

void TestObjectTree::refusedTableCostsItsBlocksOnly()
{
    QFETCH(QString, table);
    QFETCH(QByteArray, own);
    QFETCH(QByteArray, full);
    QFETCH(int, failed);
    give(17, "name", "A");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201)");
    run("INSERT INTO \"Groups\" VALUES (5,'g',true)");
    run("INSERT INTO \"Groups_groups\" VALUES (4711,5)");
    run("INSERT INTO \"Groups_objects\" VALUES (5,17)");
    const support::RightTaken taken(*m_site.database, "SELECT", table);
    m_admin.send(ask(kOwn) + ask(kFull));
    SAYS(m_admin, support::answer(kOwn, own, kOperator));
    SAYS(m_admin, support::answer(kFull, full, kOperator));
    m_failedStatements = failed;
}

void TestObjectTree::requestIsNotRead_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("a number") << i32(5);
    QTest::newRow("a huge count") << hex("7F FF FF FF FF FF FF FF");
    QTest::newRow("100 KB") << QByteArray(100000, 'x');
}

void TestObjectTree::requestIsNotRead()
{
    QFETCH(QByteArray, request);
    give(17, "name", "A");
    give(18, "name", "B");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201), (1,5,18,201)");
    m_admin.send(support::command(kOwn, request, kOperator) + support::command(kFull, request, kOperator));
    SAYS(m_admin, tree(kOwn, {{object(17, "A")}, {}, {}, {}}));
    SAYS(m_admin, tree(kFull, {{object(17, "A"), object(18, "B")}, {}, {}, {}}));
}

QTEST_GUILESS_MAIN(TestObjectTree)
#include "test_object_tree.moc"

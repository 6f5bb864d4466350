#include "ctl/tree_drawing.h"
#include "tests/ctl/program_run.h"

#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

using ctl::ObjectTree;
using testing::ProgramRun;

/// The tree of groups and objects: the service's answer, its drawing, its JSON.
class TestCtlTreeShow : public QObject
{
    Q_OBJECT

private slots:
    void readsAnAnswer();
    void refusesEveryPrefixOfAnAnswer();
    void refusesStoredValuesOfAnotherForm_data();
    void refusesStoredValuesOfAnotherForm();
    void readsPastWholePictures();
    void drawsGroupsAndObjects();
    void drawsAnObjectInEachOfItsGroups();
    void drawsWhatIsInNoGroup();
    void drawsGroupsInACircle();
    void drawsGroupsThatAreNotKnown();
    void drawsAGroupOfManyGroupsOnce();
    void drawsDeepTreesFurtherDown();
    void keepsControlCharactersOffTheTerminal();
    void showsWhatTheServiceCouldRead();
    void asksForTheOperatorsOrTheWholeTree();
    void writesJsonThatCanBeSaved();
    void colourisesOnlyOnATerminal();
    void showsAnAnswerNearTheFrameLimit();

private:
    static QByteArray bytes(const char *hex) { return QByteArray::fromHex(hex); }
    static QByteArray answer(const QByteArray &values);
    static ctl::TreeObject object(qint32 number, const QByteArray &name) { return {number, name, {}, {}, {}}; }
};

const char kNoColour[] = "00 FFFF 0000 0000 0000 0000";
const char kRed[] = "01 FFFF FFFF 0000 0000 0000";
const char kBlue[] = "01 FFFF 0000 0000 FFFF 0000";

/// A PNG file of 2 x 3 points, as blocks without sense: "IHDR", "IDAT" of 5 bytes, "IEND".
const char kPicture[] = "00000001 89504E470D0A1A0A 0000000D 49484452 00000002 00000003 0802000000 12345678"
                        "00000005 49444154 0102030405 12345678 00000000 49454E44 AE426082";

/// Object 5 "A" with `values` (picture, font, background); the groups 1 "G" and 2 "H"; 2 in 1; 5 in 2.
QByteArray TestCtlTreeShow::answer(const QByteArray &values)
{
    return bytes("00000001 00000005 00000001 41") + values +
           bytes("00000002 00000001 00000001 47 00000002 00000001 48"
                 "00000001 00000002 00000001"
                 "00000001 00000002 00000005");
}

void TestCtlTreeShow::readsAnAnswer()
{
    auto tree = ctl::decodeTree(answer(bytes(kPicture) + bytes(kRed) + bytes(kBlue)));
    QVERIFY(tree);
    QCOMPARE(tree->objects.size(), 1);
    QCOMPARE(tree->objects[0].object, 5);
    QCOMPARE(tree->objects[0].name, "A");
    QCOMPARE(tree->objects[0].picture, QSize(2, 3));
    QCOMPARE(tree->objects[0].font, QColor(Qt::red));
    QCOMPARE(tree->objects[0].background, QColor(Qt::blue));
    QCOMPARE(tree->groups.size(), 2);
    QCOMPARE(tree->groups[1].group, 2);
    QCOMPARE(tree->groups[1].name, "H");
    QCOMPARE(tree->nesting.size(), 1);
    QCOMPARE(tree->nesting[0].group, 2);
    QCOMPARE(tree->nesting[0].parent, 1);
    QCOMPARE(tree->placements.size(), 1);
    QCOMPARE(tree->placements[0].group, 2);
    QCOMPARE(tree->placements[0].object, 5);
    auto plain = ctl::decodeTree(answer(bytes("00000000") + bytes(kNoColour) + bytes(kNoColour)));
    QVERIFY(plain);
    QVERIFY(!plain->objects[0].picture.isValid());
    QVERIFY(!plain->objects[0].font.isValid());
    QVERIFY(ctl::decodeTree(bytes("00000000 00000000 00000000 00000000")));
}

void TestCtlTreeShow::refusesEveryPrefixOfAnAnswer()
{
    const QByteArray whole = answer(bytes(kPicture) + bytes(kRed) + bytes(kNoColour));
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const auto tree = ctl::decodeTree(whole.first(length));
        QVERIFY2(!tree, qPrintable(QString::number(length)));
        QVERIFY(tree.failure().message.startsWith(u"the service's answer cannot be read: "));
    }
    QVERIFY(!ctl::decodeTree(whole + 'x'));
    for (const char *lie : {"7FFFFFFF", "80000000", "00000000 7FFFFFFF", "00000000 00000000 7FFFFFFF"})
        QVERIFY(!ctl::decodeTree(bytes(lie) + QByteArray(100, '\0')));
}

void TestCtlTreeShow::refusesStoredValuesOfAnotherForm_data()
{
    QTest::addColumn<QByteArray>("values");
    const QByteArray none = bytes(kNoColour);
    QTest::newRow("nothing stored as the picture") << none + none;
    QTest::newRow("a text as the picture") << "x.png" + none + none;
    QTest::newRow("another kind of file") << bytes("00000001 424D0000 00000000 0000000D 49484452") + none + none;
    QTest::newRow("a picture that was cut off") << bytes(kPicture).first(60) + none + none;
    QTest::newRow("a block that is too long")
        << bytes(kPicture).replace(bytes("00000005 49444154"), bytes("7FFFFFFF 49444154")) + none + none;
    QTest::newRow("a text as the colour") << bytes("00000000") + "#ff0000" + none;
    QTest::newRow("nothing stored as both colours") << bytes("00000000");
    QTest::newRow("a kind of colour that there is not")
        << bytes("00000000") + bytes("06 0000 0000 0000 0000 0000") + none;
}

void TestCtlTreeShow::refusesStoredValuesOfAnotherForm()
{
    QFETCH(QByteArray, values);
    const auto tree = ctl::decodeTree(answer(values));
    QVERIFY(!tree);
    QVERIFY2(tree.failure().message.contains(u"of the first object") ||
                 tree.failure().message.contains(u"stored wrongly"),
             qPrintable(tree.failure().message));
}

void TestCtlTreeShow::readsPastWholePictures()
{
    const QByteArray values = bytes(kPicture) + bytes(kRed) + bytes(kBlue);
    const QByteArray two = bytes("00000002 00000005 00000001 41") + values + bytes("00000006 00000001 42") + values +
                           bytes("00000000 00000000 00000000");
    auto tree = ctl::decodeTree(two);
    QVERIFY(tree);
    QCOMPARE(tree->objects[1].name, "B");
    // A wrong value that happens to be readable shows by the order of the numbers.
    const auto disordered =
        ctl::decodeTree(QByteArray(two).replace(bytes("00000006 00000001 42"), bytes("00000004 00000001 42")));
    QVERIFY(!disordered);
    QVERIFY(disordered.failure().message.contains(u"after object 5 (entry 2)"));
}

void TestCtlTreeShow::drawsGroupsAndObjects()
{
    ObjectTree tree;
    tree.objects = {object(1, "one"), object(2, "два"), object(3, "three")};
    tree.objects[0].font = Qt::red;
    tree.objects[1].background = Qt::blue;
    tree.objects[2].font = QColor(1, 2, 3, 4);
    tree.objects[2].background = Qt::white;
    tree.groups = {{20, "A"}, {10, "B"}, {30, "C"}};
    tree.nesting = {{20, 10}, {30, 20}};
    tree.placements = {{20, 1}, {30, 2}, {10, 3}};
    QCOMPARE(ctl::drawTree(tree, false), u"B (group 10)\n"
                                         "├── A (group 20)\n"
                                         "│   ├── C (group 30)\n"
                                         "│   │   └── два (object 2, on #0000ff)\n"
                                         "│   └── one (object 1, #ff0000)\n"
                                         "└── three (object 3, #04010203 on #ffffff)\n"_qs);
    QCOMPARE(ctl::drawTree(tree, true), u"B (group 10)\n"
                                        "├── A (group 20)\n"
                                        "│   ├── C (group 30)\n"
                                        "│   │   └── \x1b[48;2;0;0;255mдва\x1b[0m (object 2)\n"
                                        "│   └── \x1b[38;2;255;0;0mone\x1b[0m (object 1)\n"
                                        "└── \x1b[38;2;1;2;3m\x1b[48;2;255;255;255mthree\x1b[0m (object 3)\n"_qs);
}

void TestCtlTreeShow::drawsAnObjectInEachOfItsGroups()
{
    ObjectTree tree;
    tree.objects = {object(1, "one"), object(1, "one")}; // listed once for each matching row of the setup
    tree.groups = {{10, "A"}, {20, "B"}};
    tree.placements = {{10, 1}, {20, 1}, {20, 1}, {10, 9}}; // object 9 is not among those that may be seen
    QCOMPARE(ctl::drawTree(tree, false), u"A (group 10)\n└── one (object 1)\nB (group 20)\n└── one (object 1)\n"_qs);
}

void TestCtlTreeShow::drawsWhatIsInNoGroup()
{
    ObjectTree tree;
    tree.objects = {object(1, "one"), object(2, ""), object(2, "")};
    tree.groups = {{10, QByteArray()}};
    QCOMPARE(ctl::drawTree(tree, false), u"(no name) (group 10)\n"
                                         "In no group:\n├── one (object 1)\n└── (no name) (object 2)\n"_qs);
}

void TestCtlTreeShow::drawsGroupsInACircle()
{
    ObjectTree tree;
    tree.objects = {object(1, "one")};
    tree.groups = {{10, "A"}, {20, "B"}, {30, "C"}, {40, "D"}};
    tree.nesting = {{20, 10}, {10, 20}, {30, 30}};
    tree.placements = {{20, 1}};
    QCOMPARE(ctl::drawTree(tree, false), u"D (group 40)\n"
                                         "Groups that hold each other:\n"
                                         "A (group 10)\n"
                                         "└── B (group 20)\n"
                                         "    ├── A (group 10), see above\n"
                                         "    └── one (object 1)\n"
                                         "C (group 30)\n"
                                         "└── C (group 30), see above\n"_qs);
}

void TestCtlTreeShow::drawsGroupsThatAreNotKnown()
{
    ObjectTree tree;
    tree.objects = {object(1, "one")};
    tree.groups = {{10, "A"}};
    tree.nesting = {{10, 77}};
    tree.placements = {{88, 1}, {99, 5}};
    QCOMPARE(ctl::drawTree(tree, false), u"(group 77, which is not in the registry)\n└── A (group 10)\n"
                                         "(group 88, which is not in the registry)\n└── one (object 1)\n"_qs);
}

void TestCtlTreeShow::drawsAGroupOfManyGroupsOnce()
{
    // Two ways from each level to the next: unfolded everywhere, this would be 2^60 lines.
    ObjectTree tree;
    for (int level = 0; level < 60; ++level) {
        tree.groups.append({2 * level + 1, "L"});
        tree.groups.append({2 * level + 2, "R"});
        for (const int inner : {1, 2}) {
            if (level > 0)
                tree.nesting += {{2 * level + inner, 2 * level - 1}, {2 * level + inner, 2 * level}};
        }
    }
    const QString text = ctl::drawTree(tree, false);
    QVERIFY(text.count(u'\n') < 500);
    for (int group = 1; group <= 120; ++group)
        QCOMPARE(text.count(u"(group %1)\n"_qs.arg(group)), 1);
}

void TestCtlTreeShow::drawsDeepTreesFurtherDown()
{
    constexpr int depth = 100'000;
    ObjectTree tree;
    for (int group = 1; group <= depth; ++group) {
        tree.groups.append({group, "G"});
        if (group > 1)
            tree.nesting.append({group, group - 1});
    }
    const QString text = ctl::drawTree(tree, false);
    QVERIFY(text.size() < 50'000'000);
    QVERIFY(text.contains(u"G (group 51), goes on below\n... G (group 51)\n└── G (group 52)\n"));
    QVERIFY(text.contains(u"G (group %1)\n"_qs.arg(depth)));
    QVERIFY(!text.contains(u"hold each other"));
}

void TestCtlTreeShow::keepsControlCharactersOffTheTerminal()
{
    ObjectTree tree;
    tree.objects = {object(1, "a\x1b[31m")};
    tree.groups = {{10, "b\x9b"}};
    const QString text = ctl::drawTree(tree, true);
    QVERIFY(!text.contains(u'\x1b'));
    QVERIFY(!text.contains(QChar(0x9b)));
}

void TestCtlTreeShow::showsWhatTheServiceCouldRead()
{
    ProgramRun run;
    run.service->other = [&run](const bus::Command &command) {
        run.service->peer.action(command.name, command.idConnection,
                                 bytes("00000001 00000005 00000001 41 00000000") + bytes(kNoColour) + bytes(kNoColour) +
                                     bytes("00000001 00000001 00000001 47 00000000 FFFFFFFF"));
    };
    QCOMPARE(run.run({"tree", "show"}), 1);
    QCOMPARE(run.out, u"G (group 1)\nIn no group that could be read:\n└── A (object 5)\n"_qs);
    QVERIFY(run.err.startsWith(u"objectsctl: the tree is not whole: the service could not read the places of objects "
                               "in groups "));
}

void TestCtlTreeShow::asksForTheOperatorsOrTheWholeTree()
{
    ProgramRun run;
    run.service->other = [&run](const bus::Command &command) {
        run.service->peer.action(command.name, command.idConnection, QByteArray(16, '\0'));
    };
    QCOMPARE(run.run({"tree", "show", "--operator", "7"}), 0);
    QCOMPARE(run.out, u"the tree is empty\n"_qs);
    QCOMPARE(run.run({"tree", "show", "--full"}), 0);
    QCOMPARE(run.service->requests.size(), 2);
    QCOMPARE(run.service->requests[0].name, "Get_objects_tree");
    QCOMPARE(run.service->requests[0].idConnection, 7);
    QCOMPARE(run.service->requests[1].name, "Get_full_objects_tree");
}

void TestCtlTreeShow::writesJsonThatCanBeSaved()
{
    ProgramRun run;
    run.service->other = [&run](const bus::Command &command) {
        run.service->peer.action(command.name, command.idConnection,
                                 answer(bytes(kPicture) + bytes(kRed) + bytes(kNoColour)));
    };
    QCOMPARE(run.run({"tree", "show", "--json"}), 0);
    QCOMPARE(run.out, u"{\"objects\": [\n"
                      "  {\"object\": 5, \"name\": \"A\", \"picture\": \"2x3\", \"font_color\": \"#ff0000\", "
                      "\"background_color\": null}\n"
                      "], \"groups\": [\n"
                      "  {\"id\": 1, \"parent\": 0, \"name\": \"G\"},\n"
                      "  {\"id\": 2, \"parent\": 1, \"name\": \"H\"}\n"
                      "], \"placements\": [\n"
                      "  {\"group\": 2, \"object\": 5}\n"
                      "]}\n"_qs);
}

/// A line of a tree on a pseudo-terminal.
QByteArray shownOnTerminal(const ProgramRun &run)
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0)
        return "no pseudo-terminal";
    QFile terminal(QString::fromLocal8Bit(::ptsname(master)));
    if (!terminal.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return "cannot open the pseudo-terminal";
    {
        QTextStream out(&terminal);
        QString messages;
        QTextStream err(&messages);
        (void)ctl::runProgram({"--hub", run.path("clients").toStdString(), "tree", "show"}, out, err);
    }
    QByteArray shown(10'000, '\0');
    shown.truncate(std::max<qsizetype>(::read(master, shown.data(), size_t(shown.size())), 0));
    ::close(master);
    return shown;
}

void TestCtlTreeShow::colourisesOnlyOnATerminal()
{
    ProgramRun run;
    run.service->other = [&run](const bus::Command &command) {
        run.service->peer.action(command.name, command.idConnection,
                                 answer(bytes(kPicture) + bytes(kRed) + bytes(kNoColour)));
    };
    qunsetenv("NO_COLOR");
    QVERIFY(shownOnTerminal(run).contains("\x1b[38;2;255;0;0mA\x1b[0m (object 5)"));
    qputenv("NO_COLOR", "1");
    QVERIFY(shownOnTerminal(run).contains("A (object 5, #ff0000)"));
    qunsetenv("NO_COLOR");
    QCOMPARE(run.run({"tree", "show"}), 0);
    QVERIFY(run.out.contains(u"A (object 5, #ff0000)"));
}

void TestCtlTreeShow::showsAnAnswerNearTheFrameLimit()
{
    // One picture takes all the room that a frame has for an answer of this command.
    const QByteArray name = "Get_objects_tree";
    const bus::Action empty{name, name, QByteArray(""), QColor(Qt::blue), 1};
    const qsizetype room = bus::kFrameLimit - (bus::encode(empty).size() - qsizetype(sizeof(qint32)));
    const QByteArray small = answer(bytes(kPicture) + bytes(kRed) + bytes(kBlue));
    const qsizetype filling = 5 + room - small.size();
    QByteArray length;
    keystone::ByteWriter(&length) << quint32(filling);
    const QByteArray large =
        QByteArray(small).replace(bytes("00000005 49444154 0102030405"), length + "IDAT" + QByteArray(filling, 'x'));
    QCOMPARE(large.size(), room);
    ProgramRun run;
    run.service->other = [&](const bus::Command &command) {
        run.service->peer.action(command.name, command.idConnection, large);
    };
    QCOMPARE(run.run({"tree", "show"}), 0);
    QCOMPARE(run.out, u"G (group 1)\n└── H (group 2)\n    └── A (object 5, #ff0000 on #0000ff)\n"_qs);
}

QTEST_GUILESS_MAIN(TestCtlTreeShow)
#include "test_ctl_tree_show.moc"

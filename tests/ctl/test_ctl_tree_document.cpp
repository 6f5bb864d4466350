#include "ctl/tree_document.h"

#include <QTest>

using ctl::ObjectTree;
using ctl::TreeDocument;

/// The tree of groups as it is saved: its JSON, the request, and what counts as stored.
class TestCtlTreeDocument : public QObject
{
    Q_OBJECT

private slots:
    void makesTheRequest();
    void looksPastTheObjectsOfAShownTree();
    void namesTheWrongField_data();
    void namesTheWrongField();
    void takesDeepTreesInAnyOrder();
    void findsWhatIsNotStored_data();
    void findsWhatIsNotStored();
    void leavesObjectsWithoutANameOut();

private:
    static TreeDocument document();
    static ObjectTree stored();
};

/// Group 1 "A" at the top, group 5 with a null name in it; object 17 in both, 18 in group 5.
TreeDocument TestCtlTreeDocument::document()
{
    return {{{1, 0, u"A"_qs}, {5, 1, QString()}}, {{5, 17}, {1, 17}, {5, 18}}};
}

ObjectTree TestCtlTreeDocument::stored()
{
    ObjectTree tree;
    tree.objects = {{17, "x", {}, {}, {}}, {18, "y", {}, {}, {}}};
    tree.groups = {{5, QByteArray()}, {1, "A"}};
    tree.nesting = {{5, 1}};
    tree.placements = {{1, 17}, {5, 18}, {5, 17}};
    return tree;
}

void TestCtlTreeDocument::makesTheRequest()
{
    ctl::Result<TreeDocument> read = ctl::readTreeJson(
        R"({"groups": [{"id": 1, "parent": 0, "name": "Ж"}, {"id": -5, "parent": 1, "name": ""},
                       {"id": 6, "parent": -5, "name": null}],
            "placements": [{"group": -5, "object": 17}]})");
    QVERIFY2(read, read ? "" : qPrintable(read.failure().message));
    QCOMPARE(ctl::treeRequest(*read).toHex(' '),
             QByteArray::fromHex("00000003 00000001 00000000 00000002 D096 FFFFFFFB 00000001 00000000"
                                 "00000006 FFFFFFFB FFFFFFFF 00000001 FFFFFFFB 00000011")
                 .toHex(' '));
    ctl::Result<TreeDocument> empty = ctl::readTreeJson(R"({"groups": [], "placements": []})");
    QVERIFY(empty);
    QCOMPARE(ctl::treeRequest(*empty), QByteArray(8, '\0'));
}

void TestCtlTreeDocument::looksPastTheObjectsOfAShownTree()
{
    QVERIFY(ctl::readTreeJson(R"({"objects": [{"object": 1, "name": "x"}], "groups": [], "placements": []})"));
}

void TestCtlTreeDocument::namesTheWrongField_data()
{
    QTest::addColumn<QByteArray>("groups");
    QTest::addColumn<QByteArray>("placements");
    QTest::addColumn<QString>("message");
    const QByteArray first = R"({"id": 1, "parent": 0, "name": "a"}, )";
    const QByteArray placed = R"({"group": 1, "object": 7}, )";
    const QString integer = u"expected an integer from -2147483648 to 2147483647"_qs;
    const auto group = [&](const char *name, const QByteArray &second, const QString &message) {
        QTest::newRow(name) << first + second << ""_qba << message;
    };
    const auto placement = [&](const char *name, const QByteArray &second, const QString &message) {
        QTest::newRow(name) << first.chopped(2) << placed + second << message;
    };
    group("no object", "3", u"groups[1]: expected an object ({...})"_qs);
    group("id as text", R"({"id": "2", "parent": 0, "name": "b"})", u"groups[1].id: "_qs + integer);
    group("no parent", R"({"id": 2, "name": "b"})", u"groups[1].parent: is missing"_qs);
    group("name as number", R"({"id": 2, "parent": 0, "name": 2})", u"groups[1].name: expected a string or null"_qs);
    group("NUL in a name", R"({"id": 2, "parent": 0, "name": "b\u0000"})",
          u"groups[1].name: holds the character U+0000, which the registry cannot keep"_qs);
    group("unknown field", R"({"id": 2, "parent": 0, "name": "b", "root": true})",
          u"groups[1].root: there is no such field"_qs);
    group("id 0", R"({"id": 0, "parent": 1, "name": "b"})",
          u"groups[1].id: no group can have the number 0, which stands for the top of the tree"_qs);
    group("id twice", R"({"id": 2, "parent": 0, "name": "b"}, {"id": 1, "parent": 2, "name": "c"})",
          u"groups[2].id: 1 is also the number of groups[0]"_qs);
    group("unknown parent", R"({"id": 2, "parent": 9, "name": "b"})", u"groups[1].parent: there is no group 9"_qs);
    group("its own parent", R"({"id": 2, "parent": 2, "name": "b"})",
          u"groups[1].parent: group 2 would stand below itself"_qs);
    group(
        "circle of three",
        R"({"id": 2, "parent": 4, "name": "b"}, {"id": 3, "parent": 2, "name": "c"}, {"id": 4, "parent": 3, "name": "d"})",
        u"groups[1].parent: group 2 would stand below itself"_qs);
    group("branch into a circle",
          R"({"id": 5, "parent": 2, "name": "e"}, {"id": 2, "parent": 3, "name": "b"}, )"
          R"({"id": 3, "parent": 2, "name": "c"})",
          u"groups[2].parent: group 2 would stand below itself"_qs);
    placement("object missing", R"({"group": 1})", u"placements[1].object: is missing"_qs);
    placement("unknown group", R"({"group": 2, "object": 7})",
              u"placements[1].group: there is no group 2 (an object outside of all groups has no placement)"_qs);
    placement("group 0", R"({"group": 0, "object": 7})",
              u"placements[1].group: there is no group 0 (an object outside of all groups has no placement)"_qs);
    placement("unknown field of a placement", R"({"group": 1, "object": 7, "name": "x"})",
              u"placements[1].name: there is no such field"_qs);
}

void TestCtlTreeDocument::namesTheWrongField()
{
    QFETCH(QByteArray, groups);
    QFETCH(QByteArray, placements);
    QFETCH(QString, message);
    const auto read = ctl::readTreeJson(R"({"groups": [)" + groups + R"(], "placements": [)" + placements + "]}");
    QVERIFY(!read);
    QCOMPARE(read.failure().message, message);
    QVERIFY(read.failure().wrongUsage);
}

void TestCtlTreeDocument::takesDeepTreesInAnyOrder()
{
    QByteArrayList groups;
    for (int id = 1; id <= 3000; ++id) // each stands in the next one
        groups.append(QStringLiteral(R"({"id": %1, "parent": %2, "name": ""})").arg(id).arg((id + 1) % 3001).toUtf8());
    const auto read = ctl::readTreeJson(R"({"groups": [)" + groups.join(", ") + R"(], "placements": []})");
    QVERIFY2(read, read ? "" : qPrintable(read.failure().message));
}

void TestCtlTreeDocument::findsWhatIsNotStored_data()
{
    QTest::addColumn<std::function<void(ObjectTree &)>>("change");
    QTest::addColumn<QString>("what");
    const auto row = [](const char *name, const std::function<void(ObjectTree &)> &change, const QString &what) {
        QTest::newRow(name) << change << what;
    };
    row(
        "nothing", [](ObjectTree &) {}, QString());
    row(
        "a place told twice",
        [](ObjectTree &tree) {
            tree.placements.append({5, 17});
        },
        QString());
    row(
        "group missing", [](ObjectTree &tree) { tree.groups.removeLast(); }, u"group 1 (\"A\") as it was sent"_qs);
    row(
        "another name", [](ObjectTree &tree) { tree.groups[1].name = "a"; }, u"group 1 (\"A\") as it was sent"_qs);
    row(
        "empty name instead of none", [](ObjectTree &tree) { tree.groups[0].name = ""; },
        u"group 5 (\"\") as it was sent"_qs);
    row(
        "group too many",
        [](ObjectTree &tree) {
            tree.groups.append({6, "B"});
        },
        u"the groups as sent: there are 3 instead of 2"_qs);
    row(
        "at the top", [](ObjectTree &tree) { tree.nesting.clear(); }, u"the place of group 5"_qs);
    row(
        "in two groups",
        [](ObjectTree &tree) {
            tree.nesting.append({5, 6});
        },
        u"the place of group 5"_qs);
    row(
        "below another",
        [](ObjectTree &tree) {
            tree.nesting.append({1, 5});
        },
        u"the place of group 1"_qs);
    row(
        "placement missing", [](ObjectTree &tree) { tree.placements.removeFirst(); },
        u"the place of object 17 in group 1"_qs);
    row(
        "placement too many",
        [](ObjectTree &tree) {
            tree.placements.append({1, 18});
        },
        u"the placements as sent: object 18 is still in group 1"_qs);
}

void TestCtlTreeDocument::findsWhatIsNotStored()
{
    QFETCH(std::function<void(ObjectTree &)>, change);
    QFETCH(QString, what);
    ObjectTree tree = stored();
    change(tree);
    QCOMPARE(ctl::treeDifference(document(), tree).value_or(QString()), what);
}

void TestCtlTreeDocument::leavesObjectsWithoutANameOut()
{
    TreeDocument sent = document();
    sent.placements.append({{1, 99}, {5, 30}, {5, 99}});
    QCOMPARE(ctl::treeDifference(sent, stored()), std::nullopt);
    QCOMPARE(ctl::unlistedObjects(sent, stored()), (QList<qint32>{30, 99}));
    QCOMPARE(ctl::unlistedObjects(document(), stored()), QList<qint32>());
}

QTEST_GUILESS_MAIN(TestCtlTreeDocument)
#include "test_ctl_tree_document.moc"

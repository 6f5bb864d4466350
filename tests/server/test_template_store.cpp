// The list of templates: what it says, and how templates are created, renamed and deleted.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::hex;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::said;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");

QByteArray list(const QByteArray &request = {})
{
    return support::command("Get_template_list_v2", request, kOperator);
}

struct Entry
{
    int number = 0;
    QByteArray title;
};

QByteArray listed(const QList<Entry> &entries)
{
    QByteArray data = i32(entries.size());
    for (const Entry &entry : entries)
        data += i32(entry.number) + support::bytesOrNull(entry.title);
    return support::answer("Get_template_list_v2", data, kOperator);
}

QByteArray fix(int number, const QByteArray &title)
{
    return support::command("Fix_template_desc_v2", i32(number) + support::bytesOrNull(title), kOperator);
}

QByteArray remove(qint64 number)
{
    return support::command("Fix_template_desc_v2", i32(number), kOperator);
}

QByteArray fixed()
{
    return support::emptyAnswer("Fix_template_desc_v2", kOperator);
}

} // namespace

class TestTemplateStore : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersListWithKnownBytes();
    void answersEmptyStoreWithCountZero();
    void listsSuppliedOnesFirstAndEachByNumber();
    void listsHeadsAlone();
    void equalHeadsAreListedOnce();
    void answersTitlesAsTheyAre();
    void failedListAnswersZero_data();
    void failedListAnswersZero();
    void listRequestIsNotRead();
    void answersTheCaller();

    void createsFromOneOn();
    void newNumberFollowsTheHighestHead();
    void freedHighestNumberIsGivenAgain();
    void createsOneRow();
    void storesTitles_data();
    void storesTitles();
    void nulInATitleChangesNothing();
    void failedCreationIsSilent_data();
    void failedCreationIsSilent();
    void noNumberIsLeftBehindTheGreatest();

    void renamesTheHeadAlone();
    void failedRenamingIsSilent();
    void missingTemplateIsNotRenamed();

    void deletesTheTemplateWithItsParameters();
    void deletionSparesParametersOfOtherCommands();
    void deletionIsWholeOrNotAtAll_data();
    void deletionIsWholeOrNotAtAll();
    void missingTemplateIsNotDeleted();

    void unknownCommandsAreDropped_data();
    void unknownCommandsAreDropped();

private:
    QStringList heads() { return m_site.stored(kOwn, "\"Class\" = 't'"); }
    void giveHead(const QString &table, int id, int number, const QString &title)
    {
        m_site.give(table, id, {number, 't', {}, title, {}});
    }

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestTemplateStore::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateStore::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestTemplateStore::cleanup()
{
    // None of these commands announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestTemplateStore::answersListWithKnownBytes()
{
    giveHead(kSupplied, 1, 2, "A");
    giveHead(kOwn, 1, 2, QString::fromUtf8("Б"));
    m_admin.send(hex("00 00 00 21 CB 00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 6C 69 73 74 5F 76 32 "
                     "00 00 00 00 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 5B CA 00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 6C 69 73 74 5F 76 32"
                      "00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 6C 69 73 74 5F 76 32"
                      "00 00 00 17 00 00 00 02 FF FF FF FE 00 00 00 01 41 00 00 00 02 00 00 00 02 D0 91"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestTemplateStore::answersEmptyStoreWithCountZero()
{
    m_admin.send(list());
    SAYS(m_admin, listed({}));
}

void TestTemplateStore::listsSuppliedOnesFirstAndEachByNumber()
{
    giveHead(kSupplied, 1, 10, "supplied ten");
    giveHead(kSupplied, 2, 2, "supplied two");
    giveHead(kSupplied, 3, 2147483647, "supplied last");
    giveHead(kOwn, 1, 11, "own eleven");
    giveHead(kOwn, 2, 9, "own nine");
    giveHead(kOwn, 3, 1, "own one");
    giveHead(kOwn, 4, 2147483647, "own last");
    m_admin.send(list());
    SAYS(m_admin, listed({{-2, "supplied two"},
                          {-10, "supplied ten"},
                          {-2147483647, "supplied last"},
                          {1, "own one"},
                          {9, "own nine"},
                          {11, "own eleven"},
                          {2147483647, "own last"}}));
}

void TestTemplateStore::listsHeadsAlone()
{
    for (const QString &table : {kOwn, kSupplied}) {
        giveHead(table, 500, 3, "head");
        for (const char kind : {'p', 's', 'c', 'd'})
            m_site.give(table, kind, {4, kind, "name", "of no head", {}});
    }
    m_admin.send(list());
    SAYS(m_admin, listed({{-3, "head"}, {3, "head"}}));
}

void TestTemplateStore::equalHeadsAreListedOnce()
{
    giveHead(kOwn, 1, 3, "twice");
    giveHead(kOwn, 2, 3, "twice");
    giveHead(kSupplied, 1, 3, "twice");
    m_admin.send(list());
    SAYS(m_admin, listed({{-3, "twice"}, {3, "twice"}}));
}

void TestTemplateStore::answersTitlesAsTheyAre()
{
    giveHead(kSupplied, 1, 1, kTexts);
    giveHead(kOwn, 1, 1, "");
    giveHead(kOwn, 2, 2, {});
    giveHead(kOwn, 3, 3, QString(50000, QChar(0x44F)));
    m_admin.send(list());
    SAYS(m_admin, listed({{-1, kTexts.toUtf8()}, {1, ""}, {2, {}}, {3, hex("D1 8F").repeated(50000)}}));
}

void TestTemplateStore::failedListAnswersZero_data()
{
    QTest::addColumn<QString>("table");
    QTest::newRow("own") << kOwn;
    QTest::newRow("supplied") << kSupplied;
}

void TestTemplateStore::failedListAnswersZero()
{
    QFETCH(QString, table);
    giveHead(kOwn, 1, 1, "own");
    giveHead(kSupplied, 1, 1, "supplied");
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"" + table + "\"");
        m_admin.send(list());
        SAYS(m_admin, listed({}));
    }
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_template_list_v2"));
    m_admin.send(list());
    SAYS(m_admin, listed({{-1, "supplied"}, {1, "own"}}));
}

void TestTemplateStore::listRequestIsNotRead()
{
    m_admin.send(list(support::everyByte()) + list(hex("FF FF FF FF 7F")) +
                 support::commandWithNoData("Get_template_list_v2", kOperator));
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, listed({}));
}

void TestTemplateStore::answersTheCaller()
{
    m_admin.send(support::command("Get_template_list_v2", {}, 77) +
                 support::command("Fix_template_desc_v2", i32(0) + support::bytes("a"), 78) + list());
    SAYS(m_admin, support::answer("Get_template_list_v2", i32(0), 77));
    SAYS(m_admin, support::emptyAnswer("Fix_template_desc_v2", 78));
    SAYS(m_admin, listed({{1, "a"}}));
}

void TestTemplateStore::createsFromOneOn()
{
    m_admin.send(fix(0, "first") + fix(0, "second") + fix(0, "first") + list());
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{1, "first"}, {2, "second"}, {3, "first"}}));
}

void TestTemplateStore::newNumberFollowsTheHighestHead()
{
    // Neither gaps nor supplied templates nor rows without a head count, and no number of a row does.
    giveHead(kOwn, 900, 6, "six");
    giveHead(kOwn, 901, 2, "two");
    giveHead(kSupplied, 900, 50, "supplied");
    for (const char kind : {'p', 's', 'c', 'd'})
        m_site.give(kOwn, kind, {60, kind, "name", "of no head", {}});
    m_admin.send(fix(0, "new"));
    SAYS(m_admin, fixed());
    QCOMPARE(heads().value(2), said({7, 't', {}, "new", {}}));
    QCOMPARE(heads().size(), 3);
}

void TestTemplateStore::freedHighestNumberIsGivenAgain()
{
    m_admin.send(fix(0, "1") + fix(0, "2") + fix(0, "3") + remove(-2) + fix(0, "4") + remove(-4) + fix(0, "4 again") +
                 remove(-4) + remove(-3) + fix(0, "2 again") + list());
    for (int i = 0; i < 10; ++i)
        SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{1, "1"}, {2, "2 again"}}));
}

void TestTemplateStore::createsOneRow()
{
    m_site.give(kOwn, 1, {1, 'p', "left over", "of nobody", "x"});
    const QStringList before = m_site.written(kOwn);
    m_admin.send(fix(0, "title"));
    SAYS(m_admin, fixed());
    QCOMPARE(m_site.stored(kOwn, "\"Id\" <> 1"), QStringList(said({1, 't', {}, "title", {}})));
    QCOMPARE(m_site.written(kOwn).mid(0, 1), before);
    QCOMPARE(m_site.count(kSupplied), "0");
}

void TestTemplateStore::storesTitles_data()
{
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QString>("stored");
    QTest::newRow("texts") << kTexts.toUtf8() << kTexts;
    QTest::newRow("hexadecimal look") << QByteArray("\\x4142") << "\\x4142";
    QTest::newRow("null") << QByteArray() << QString();
    QTest::newRow("empty") << QByteArray("") << "";
    QTest::newRow("blank") << QByteArray(" ") << " ";
    QTest::newRow("not UTF-8") << hex("61 FF 62") << QString::fromUtf8("a\uFFFDb");
    QTest::newRow("100 KB") << hex("D1 8F").repeated(50000) << QString(50000, QChar(0x44F));
}

void TestTemplateStore::storesTitles()
{
    QFETCH(QByteArray, title);
    QFETCH(QString, stored);
    giveHead(kOwn, 1, 6, "old");
    m_admin.send(fix(0, title) + fix(6, title) + list());
    SAYS(m_admin, fixed());
    SAYS(m_admin, fixed());
    const QByteArray answered = stored.isNull() ? QByteArray() : stored.toUtf8();
    SAYS(m_admin, listed({{6, answered}, {7, answered}}));
    QCOMPARE(heads(), QStringList({said({6, 't', {}, stored, {}}), said({7, 't', {}, stored, {}})}));
}

void TestTemplateStore::nulInATitleChangesNothing()
{
    giveHead(kOwn, 1, 6, "old");
    const QByteArray title("a\0b", 3);
    m_admin.send(fix(0, title) + fix(6, title) + list());
    SAYS(m_admin, fixed());
    SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{6, "old"}}));
    m_failedStatements = 2;
}

void TestTemplateStore::failedCreationIsSilent_data()
{
    QTest::addColumn<QString>("right");
    QTest::newRow("insert") << "INSERT";
    QTest::newRow("read of the numbers") << "SELECT";
}

void TestTemplateStore::failedCreationIsSilent()
{
    QFETCH(QString, right);
    {
        const support::RightTaken taken(*m_site.database, right, "\"Templates\"");
        m_admin.send(fix(0, "new"));
        SAYS(m_admin, fixed());
    }
    QCOMPARE(m_site.count(kOwn), "0");
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Fix_template_desc_v2"));
}

void TestTemplateStore::noNumberIsLeftBehindTheGreatest()
{
    giveHead(kOwn, 1, 2147483647, "last");
    m_admin.send(fix(0, "new") + list());
    SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{2147483647, "last"}}));
    m_failedStatements = 1;
}

void TestTemplateStore::renamesTheHeadAlone()
{
    giveHead(kOwn, 500, 5, "old");
    giveHead(kOwn, 501, 6, "other");
    giveHead(kSupplied, 500, 5, "supplied");
    for (const char kind : {'p', 's', 'c', 'd'})
        m_site.give(kOwn, kind, {5, kind, "name", "caption", "data"});
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(fix(5, "new") + list());
    SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{-5, "supplied"}, {5, "new"}, {6, "other"}}));
    QCOMPARE(heads(), QStringList({said({5, 't', {}, "new", {}}), said({6, 't', {}, "other", {}})}));
    QCOMPARE(m_site.count(kOwn, "\"Owner\" = 5 AND \"Description\" = 'caption' AND \"SpecificData\" = 'data'"), "4");
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateStore::failedRenamingIsSilent()
{
    giveHead(kOwn, 1, 5, "old");
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "UPDATE");
    m_admin.send(fix(5, "new") + list());
    SAYS(m_admin, fixed());
    SAYS(m_admin, listed({{5, "old"}}));
    m_failedStatements = 1;
}

void TestTemplateStore::missingTemplateIsNotRenamed()
{
    giveHead(kOwn, 1, 4, "own");
    giveHead(kSupplied, 1, 5, "supplied");
    m_site.give(kOwn, 5, {5, 'p', "of no head", "caption", {}});
    const QStringList before = m_site.written(kOwn) + m_site.written(kSupplied);
    m_admin.send(fix(5, "new") + fix(2147483647, "new"));
    SAYS(m_admin, fixed());
    SAYS(m_admin, fixed());
    QCOMPARE(m_site.written(kOwn) + m_site.written(kSupplied), before);
}

void TestTemplateStore::deletesTheTemplateWithItsParameters()
{
    for (const int number : {1, 2}) {
        const int id = number * 100;
        for (const QString &table : {kOwn, kSupplied}) {
            giveHead(table, id, number, "title");
            m_site.give(table, id + 1, {number, 'p', "modem", "reserved", {}});
            m_site.give(table, id + 2, {number, 's', "", "sensor", {}});
            m_site.give(table, id + 3, {number, 'c', "command", "", {}});
            m_site.give(table, id + 4, {number, 'c', "command too", "", {}});
            m_site.give(table, id + 5, {id + 3, 'd', "parameter", "", {}});
            m_site.give(table, id + 6, {id + 4, 'd', "parameter", "", {}});
            m_site.give(table, id + 7, {id + 4, 'd', "parameter too", "", {}});
        }
    }
    const QStringList others = m_site.written(kOwn).mid(8);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(remove(-1));
    SAYS(m_admin, fixed());
    QCOMPARE(m_site.written(kOwn), others);
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateStore::deletionSparesParametersOfOtherCommands()
{
    // A parameter's owner is a row and not a template, even where both have one number.
    m_site.give(kOwn, 3, {7, 'c', "of template 7", "", {}});
    m_site.give(kOwn, 4, {3, 'd', "of that command", "", {}});
    m_site.give(kOwn, 5, {3, 'p', "property", "", {}});
    m_site.give(kOwn, 6, {5, 'd', "of a property", "", {}});
    giveHead(kOwn, 10, 3, "title");
    m_admin.send(remove(-3));
    SAYS(m_admin, fixed());
    QCOMPARE(m_site.stored(kOwn),
             QStringList({said({7, 'c', "of template 7", "", {}}), said({3, 'd', "of that command", "", {}}),
                          said({5, 'd', "of a property", "", {}})}));
}

void TestTemplateStore::deletionIsWholeOrNotAtAll_data()
{
    QTest::addColumn<QString>("condition");
    QTest::newRow("parameters") << "OLD.\"Class\" = 'd'";
    QTest::newRow("head") << "OLD.\"Class\" = 't'";
}

void TestTemplateStore::deletionIsWholeOrNotAtAll()
{
    QFETCH(QString, condition);
    giveHead(kOwn, 1, 5, "title");
    m_site.give(kOwn, 2, {5, 'c', "command", "", {}});
    m_site.give(kOwn, 3, {2, 'd', "parameter", "", {}});
    const QStringList before = m_site.stored(kOwn);
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "DELETE", condition);
    m_admin.send(remove(-5));
    SAYS(m_admin, fixed());
    QCOMPARE(m_site.stored(kOwn), before);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestTemplateStore::missingTemplateIsNotDeleted()
{
    giveHead(kOwn, 1, 4, "own");
    giveHead(kSupplied, 1, 5, "supplied");
    const QStringList before = m_site.written(kOwn) + m_site.written(kSupplied);
    // What follows the number is not read.
    m_admin.send(support::command("Fix_template_desc_v2", i32(-5) + support::bytes("title"), kOperator) +
                 remove(-2147483647) + remove(0x80000000));
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, fixed());
    QCOMPARE(m_site.written(kOwn) + m_site.written(kSupplied), before);
}

void TestTemplateStore::unknownCommandsAreDropped_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name :
         {"get_template_list_v2", "Get_template_list_V2", "Get_template_list", "Get_template_list_v2 ",
          "Fix_template_desc", "Save_template_list_v2", "Copy_template", "Create_obj_by_template"})
        QTest::newRow(name) << QByteArray(name);
}

void TestTemplateStore::unknownCommandsAreDropped()
{
    QFETCH(QByteArray, name);
    m_admin.send(support::command(name, i32(0) + support::bytes("title"), kOperator));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.count(kOwn), "0");
}

QTEST_GUILESS_MAIN(TestTemplateStore)
#include "test_template_store.moc"

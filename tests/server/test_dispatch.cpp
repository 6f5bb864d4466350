// How commands are told apart, what comes back in which envelope, and what the local log holds at each level.

#include "conversation.h"
#include "installation.h"

#include <QRegularExpression>

using support::cardRecord;
using support::i32;

namespace {

QByteArray get(int caller)
{
    return support::command("Get_object_card_v2", i32(17), caller);
}

/// Two of its three inserts fail.
QByteArray saveWithTwoFailures(int caller)
{
    const QByteArray records = cardRecord({-1, "a", "", 0, "", 'x'}) + cardRecord({-1, "b", "", 0, "", 't'}) +
                               cardRecord({-1, "c", "", 0, "", 'y' + 1});
    return support::command("Save_object_card_v2", i32(17) + i32(3) + records, caller);
}

} // namespace

class TestDispatch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void aboutCarriesTheVersionsInTheMessage();
    void aboutIgnoresItsRequest();
    void answersCarryTheCallersNumber_data();
    void answersCarryTheCallersNumber();
    void commandsOfEveryLinkAreAnsweredOnTheAdministrationLink();
    void unknownNamesAreDroppedWithoutATrace_data();
    void unknownNamesAreDroppedWithoutATrace();
    void changesSendNothingToTheCaller();
    void levelOneKeepsStatementsOutOfTheLog();
    void levelTwoLogsEveryFailedStatement();
    void levelTwoLogsNoSuccess();
    void levelThreeLogsEveryCommand();

private:
    support::Installation m_site;
    support::Installation m_two;
    support::Installation m_three;
    support::AdminPeer &m_admin = m_site.admin;
};

void TestDispatch::initTestCase()
{
    m_site.begin();
    m_two.begin("Log=2\n");
    m_three.begin("Log=3\n");
    for (support::Installation *site : {&m_site, &m_two, &m_three})
        QVERIFY2(site->isUp(), qPrintable(site->service.story()));
}

void TestDispatch::init()
{
    for (support::Installation *site : {&m_site, &m_two, &m_three})
        site->settle();
}

void TestDispatch::aboutCarriesTheVersionsInTheMessage()
{
    m_admin.send(support::commandWithNoData("About", 7));
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(support::isAbout(said, 7), qPrintable(support::describe(said)));
    // Action "About", then a message whose first line is "----" and whose last is the library's first version.
    const QByteArray message = said.mid(18, said.size() - 4 - 11 - 4 - 18);
    QCOMPARE(said.mid(4, 10).toHex(' '), support::hex("CA 00 00 00 05 41 62 6F 75 74").toHex(' '));
    const QList<QByteArray> lines = message.split('\n');
    QCOMPARE(lines.size(), 5);
    QCOMPARE(lines[0], QByteArray("----"));
    QCOMPARE(lines[1], QByteArray("Информация о сборке."));
    QCOMPARE(lines[3], QByteArray("Версия Keystone: 1.0.0"));
    QCOMPARE(lines[4], QByteArray());
}

void TestDispatch::aboutIgnoresItsRequest()
{
    m_admin.send(support::command("About", QByteArray(1000, '\xFF'), 8));
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(support::isAbout(said, 8), qPrintable(support::describe(said)));
}

void TestDispatch::answersCarryTheCallersNumber_data()
{
    QTest::addColumn<int>("caller");
    QTest::newRow("operator") << 4;
    QTest::newRow("unknown operator") << 12345;
    QTest::newRow("none") << 0;
    QTest::newRow("all") << -1;
    QTest::newRow("greatest") << 0x7FFFFFFF;
}

void TestDispatch::answersCarryTheCallersNumber()
{
    QFETCH(int, caller);
    m_admin.send(get(caller));
    SAYS(m_admin, support::answer("Get_object_card_v2", i32(17) + i32(0), caller));
}

void TestDispatch::commandsOfEveryLinkAreAnsweredOnTheAdministrationLink()
{
    QVERIFY(m_site.client.send(get(3)));
    SAYS(m_admin, support::answer("Get_object_card_v2", i32(17) + i32(0), 3));
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_site.client.isSilent());
}

void TestDispatch::unknownNamesAreDroppedWithoutATrace_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("unknown") << QByteArray("No_such_command");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("small letter") << QByteArray("about");
    QTest::newRow("blank behind") << QByteArray("About ");
    QTest::newRow("beginning of a name") << QByteArray("Get_object_card");
    QTest::newRow("NUL behind") << QByteArray("QuitSignal\0x", 12);
    QTest::newRow("long") << QByteArray(100000, 'A');
    QTest::newRow("not a text") << support::hex("FF FE 00 80");
}

void TestDispatch::unknownNamesAreDroppedWithoutATrace()
{
    QFETCH(QByteArray, name);
    for (support::Installation *site : {&m_site, &m_two}) {
        const QStringList before = site->service.logTexts();
        site->admin.send(support::command(name, i32(17), 4));
        SAYS_NOTHING_MORE(site->admin);
        QVERIFY(site->client.isSilent());
        QCOMPARE(site->service.logTexts(), before);
    }
}

void TestDispatch::changesSendNothingToTheCaller()
{
    m_admin.send(support::command("Save_object_card_v2", i32(17) + i32(0), 4));
    SAYS(m_admin, support::savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    RECORDS(m_site.client, "User 'ivanov' save card with id=17");
    QVERIFY(m_site.client.isSilent());
}

void TestDispatch::levelOneKeepsStatementsOutOfTheLog()
{
    const QStringList before = m_site.service.logTexts();
    m_admin.send(saveWithTwoFailures(4) + get(4));
    SAYS(m_admin, support::savedCard(17));
    QVERIFY(!m_admin.nextFrame().isEmpty());
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.service.logTexts(), before);
}

void TestDispatch::levelTwoLogsEveryFailedStatement()
{
    const qsizetype before = m_two.service.log().size();
    m_two.admin.send(saveWithTwoFailures(4));
    SAYS(m_two.admin, support::savedCard(17));
    SAYS_NOTHING_MORE(m_two.admin);
    const QStringList lines = m_two.service.logTexts().mid(before);
    QCOMPARE(lines.size(), 2);
    for (const QString &line : lines) {
        QVERIFY2(line.contains("Save_object_card_v2"), qPrintable(line));
        QVERIFY2(line.contains("invalid input syntax for type boolean"), qPrintable(line));
    }
    m_two.admin.send(
        support::command("Fix_property_multi_objs_v2", support::i8(0) + i32(1) + i32(17) + support::text("it's"), 4));
    SAYS_NOTHING_MORE(m_two.admin);
    QCOMPARE(m_two.service.log().size(), before + 3);
    const QString last = m_two.service.logTexts().last();
    QVERIFY2(last.contains("Fix_property_multi_objs_v2") && last.contains("syntax error"), qPrintable(last));
}

void TestDispatch::levelTwoLogsNoSuccess()
{
    const QStringList before = m_two.service.logTexts();
    m_two.admin.send(get(4));
    QVERIFY(!m_two.admin.nextFrame().isEmpty());
    SAYS_NOTHING_MORE(m_two.admin);
    QCOMPARE(m_two.service.logTexts(), before);
}

void TestDispatch::levelThreeLogsEveryCommand()
{
    // A command's line may follow its answer, so the log is compared from behind the line of an "About".
    SAYS_NOTHING_MORE(m_three.admin);
    const QString last = QString::number(m_three.admin.lastCaller());
    QVERIFY(support::ServiceProcess::waitUntil([&] { return m_three.service.logTexts().last().contains(last); }));
    const qsizetype before = m_three.service.log().size();
    m_three.admin.send(get(77) + get(78));
    QVERIFY(!m_three.admin.nextFrame().isEmpty());
    QVERIFY(!m_three.admin.nextFrame().isEmpty());
    SAYS_NOTHING_MORE(m_three.admin);
    QVERIFY(support::ServiceProcess::waitUntil([&] { return m_three.service.log().size() >= before + 3; }));
    const QStringList lines = m_three.service.logTexts().mid(before);
    QCOMPARE(lines.size(), 3);
    for (int i = 0; i < 2; ++i) {
        QVERIFY2(lines[i].contains("Get_object_card_v2"), qPrintable(lines[i]));
        QVERIFY2(lines[i].contains(QRegularExpression(QStringLiteral("\\b%1\\b").arg(77 + i))), qPrintable(lines[i]));
        // Caller, microseconds and bytes.
        static const QRegularExpression number("\\b[0-9]+");
        QVERIFY2(QString(lines[i]).remove("Get_object_card_v2").count(number) >= 3, qPrintable(lines[i]));
    }
    QVERIFY2(lines[2].contains("About") && lines[2].contains(QString::number(m_three.admin.lastCaller())),
             qPrintable(lines[2]));
    m_three.admin.send(saveWithTwoFailures(4));
    SAYS(m_three.admin, support::savedCard(17));
    SAYS_NOTHING_MORE(m_three.admin);
    QVERIFY(support::ServiceProcess::waitUntil([&] { return m_three.service.log().size() >= before + 7; }));
    QCOMPARE(m_three.service.logTexts().mid(before + 3).filter("invalid input syntax for type boolean").size(), 2);
}

QTEST_GUILESS_MAIN(TestDispatch)
#include "test_dispatch.moc"

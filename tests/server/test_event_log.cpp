// Event-log records: their bytes, whom they reach, the operator's name in them, their place behind the notice.

#include "conversation.h"
#include "installation.h"

using support::i32;
using support::i8;

namespace {

QByteArray save(int caller)
{
    return support::command("Save_object_card_v2", i32(17) + i32(0), caller);
}

} // namespace

class TestEventLog : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void recordHasTheKnownBytes();
    void recordReachesSiblingsAndEveryClient();
    void recordsOfOneSecondCarryTheSameTime();
    void nameIsPutInAsItIs_data();
    void nameIsPutInAsItIs();
    void unknownOperatorHasNoName_data();
    void unknownOperatorHasNoName();
    void listTextIsPutInAsItIs();
    void noticeComesBeforeTheRecord();
    void recordIsLostWhenNobodyIsAttached();

private:
    support::Installation m_site;
    support::SiblingPeer m_sibling{m_site.service.path("sibling")};
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
};

void TestEventLog::initTestCase()
{
    m_site.begin("Connections=" + m_sibling.listener().path().toUtf8() + "\n");
    QVERIFY2(m_sibling.attend(), qPrintable(m_site.service.story()));
    SAYS(m_sibling, support::greeting(m_site.service.serverPath().toUtf8()));
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestEventLog::init()
{
    m_site.settle();
    m_site.reset();
}

void TestEventLog::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_client.isSilent());
    while (!m_sibling.isSilent())
        QVERIFY(!m_sibling.nextFrame().isEmpty());
}

void TestEventLog::recordHasTheKnownBytes()
{
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    m_admin.send(save(4));
    SAYS(m_admin, support::savedCard(17));
    QByteArray said = m_client.nextFrame();
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    QCOMPARE(said.size(), 4 + 5 + 20 + 4 + 4 + 4 + 34 + 1);
    const qint64 time = support::recordTime(said);
    QVERIFY2(time >= before && time <= after, qPrintable(QString::number(time)));
    said.replace(29, 4, "TIME");
    QCOMPARE(said.toHex(' '),
             support::hex("00 00 00 48 01 00 00 00 43"
                          "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 54 49 4D 45 00 00 00 00"
                          "00 00 00 22 55 73 65 72 20 27 69 76 61 6E 6F 76 27 20 73 61 76 65 20 63 61 72 64 20 77 69 "
                          "74 68 20 69 64 3D 31 37"
                          "01")
                 .toHex(' '));
}

void TestEventLog::recordReachesSiblingsAndEveryClient()
{
    support::ClientPeer greeted;
    QVERIFY(greeted.attach(m_site.service.serverPath(), m_admin));
    QVERIFY(greeted.send(support::greeting("some client")));
    support::ClientPeer silent;
    QVERIFY(silent.attach(m_site.service.serverPath(), m_admin));
    while (!m_sibling.isSilent())
        QVERIFY(!m_sibling.nextFrame().isEmpty());
    QVERIFY(m_client.send(save(4))); // the sender is no exception
    SAYS(m_admin, support::savedCard(17));
    for (support::Wire *wire : std::initializer_list<support::Wire *>{&m_sibling, &m_client, &greeted, &silent})
        RECORDS(*wire, "User 'ivanov' save card with id=17");
    SAYS_NOTHING_MORE(m_admin);
    for (support::Wire *wire : std::initializer_list<support::Wire *>{&m_sibling, &m_client, &greeted, &silent})
        QVERIFY(wire->isSilent());
}

void TestEventLog::recordsOfOneSecondCarryTheSameTime()
{
    // Five tries: a burst may fall across the change of a second.
    bool same = false;
    for (int attempt = 0; attempt < 5 && !same; ++attempt) {
        m_admin.send(save(4) + save(4));
        SAYS(m_admin, support::savedCard(17));
        SAYS(m_admin, support::savedCard(17));
        const quint32 first = support::recordTime(m_client.nextFrame());
        const quint32 second = support::recordTime(m_client.nextFrame());
        QVERIFY(first > 0 && second >= first && second - first <= 1);
        same = first == second;
    }
    QVERIFY(same);
}

void TestEventLog::nameIsPutInAsItIs_data()
{
    QTest::addColumn<QString>("login");
    QTest::newRow("placeholder of the number") << "%2";
    QTest::newRow("placeholder of the name") << "%1 %L2 %%";
    QTest::newRow("quotes") << "o'neil \"x\"";
    QTest::newRow("Russian") << QString::fromUtf8("Иванов");
    QTest::newRow("emoji") << QString::fromUtf8("😀");
    QTest::newRow("line feed") << "a\nb";
    QTest::newRow("empty") << "";
    QTest::newRow("long") << QString(100000, 'n');
}

void TestEventLog::nameIsPutInAsItIs()
{
    QFETCH(QString, login);
    QString escaped = login;
    m_site.database->run(QStringLiteral("UPDATE \"Connections\" SET \"Login\" = '") + escaped.replace('\'', "''") +
                         "'");
    m_admin.send(save(4));
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User '" + login.toUtf8() + "' save card with id=17");
}

void TestEventLog::unknownOperatorHasNoName_data()
{
    QTest::addColumn<int>("caller");
    QTest::newRow("no such account") << 5;
    QTest::newRow("none") << 0;
    QTest::newRow("all") << -1;
    QTest::newRow("account without a name") << 6;
}

void TestEventLog::unknownOperatorHasNoName()
{
    QFETCH(int, caller);
    m_site.database->run("INSERT INTO \"Connections\" (\"Id\", \"Login\") VALUES (6, NULL)");
    m_admin.send(save(caller));
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User '' save card with id=17");
}

void TestEventLog::listTextIsPutInAsItIs()
{
    m_site.database->run("UPDATE \"Connections\" SET \"Login\" = '%2'");
    QByteArray list;
    for (const qint64 number : {0LL, -1LL, 2147483647LL, -2147483648LL, 7LL})
        list += i32(number);
    m_admin.send(support::command("Fix_property_multi_objs_v2", i8(0) + i32(5) + list + support::text("%1"), 4));
    RECORDS(m_client, "User '%2' save cards with id=0,-1,2147483647,-2147483648,7");
}

void TestEventLog::noticeComesBeforeTheRecord()
{
    // Two sockets have no order of their own, so the notice must be there already when the record has come, every time.
    for (int i = 0; i < 200; ++i) {
        m_admin.send(save(4));
        RECORDS(m_client, "User 'ivanov' save card with id=17");
        QVERIFY2(!m_admin.isSilent(), "the record came first");
        SAYS(m_admin, support::savedCard(17));
    }
}

void TestEventLog::recordIsLostWhenNobodyIsAttached()
{
    m_client.close();
    m_admin.send(save(4));
    SAYS(m_admin, support::savedCard(17));
    QVERIFY(m_client.attach(m_site.service.serverPath(), m_admin));
    QVERIFY(m_client.isSilent());
    m_admin.send(save(4));
    SAYS(m_admin, support::savedCard(17));
    RECORDS(m_client, "User 'ivanov' save card with id=17");
}

QTEST_GUILESS_MAIN(TestEventLog)
#include "test_event_log.moc"

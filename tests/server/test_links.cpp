// The three kinds of link: who is connected when, what is greeted and logged, what happens when one goes.

#include "conversation.h"
#include "installation.h"

#include <QDir>
#include <QFile>

using support::ServiceProcess;

namespace {

const QString kOut = QStringLiteral("New Out Connnection");

QByteArray save(int caller)
{
    return support::command("Save_object_card_v2", support::i32(17) + support::i32(0), caller);
}

} // namespace

class TestLinks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void siblingsComeFirstThenAdministrationThenServer();
    void onlyOutgoingLinksAreGreeted();
    void clientIsLoggedByItsGreeting();
    void sameSiblingTwiceIsOneLink();
    void serverReplacesStaleSocketFile();
    void serverTriesAgainWhenItCannotListen();
    void lostSiblingIsReplacedAndServerStays();
    void siblingIsReconnectedUnderTheNameItGaveItself();
    void dataReachesNoLinkThatIsDown();
    void clientsThatLeaveAtOnceDisturbNobody();
    void unreachableSiblingHoldsTheServerBack();
    void siblingsNamedByEmptyTextAreLinksToo();

private:
    support::Installation m_site; // siblings a and b; a stands twice
    support::SiblingPeer m_a{m_site.service.path("a")};
    support::SiblingPeer m_b{m_site.service.path("b")};
    ServiceProcess m_waiting; // its sibling is not there
    support::AdminPeer m_waitingAdmin{m_waiting.adminPath()};
    ServiceProcess m_homeless; // its server's folder is not there
    support::AdminPeer m_homelessAdmin{m_homeless.adminPath()};
    ServiceProcess m_empty; // siblings "c", "" and "d"
    support::AdminPeer m_emptyAdmin{m_empty.adminPath()};
};

void TestLinks::initTestCase()
{
    { // A socket file that nobody listens at any more, as a killed service leaves it.
        const support::Listener stale(m_site.service.serverPath());
        QVERIFY(QFile::rename(stale.path(), stale.path() + ".kept"));
    }
    QVERIFY(QFile::rename(m_site.service.serverPath() + ".kept", m_site.service.serverPath()));
    const QByteArray a = m_a.listener().path().toUtf8();
    m_site.begin("Connections=" + a + " " + m_b.listener().path().toUtf8() + " " + a + "\n");
    m_waiting.start("Connections=" + m_waiting.path("absent").toUtf8() + "\n");
    m_homeless.start("ServerName=" + m_homeless.path("later/own").toUtf8() + "\n");
    m_empty.start("Connections=" + m_empty.path("c").toUtf8() + "  " + m_empty.path("d").toUtf8() + "\n");
}

void TestLinks::siblingsComeFirstThenAdministrationThenServer()
{
    QVERIFY2(m_a.attend(), qPrintable(m_site.service.story()));
    QVERIFY(m_b.attend());
    QVERIFY2(!m_site.admin.listener().hasCaller(), "the administration link came first");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    QList<ServiceProcess::LogLine> lines = m_site.service.log();
    while (!lines.isEmpty() && lines.first().text != kOut)
        lines.removeFirst();
    QStringList texts;
    for (const ServiceProcess::LogLine &line : lines)
        texts.append(line.text);
    QCOMPARE(texts.mid(0, 5),
             QStringList({kOut, kOut, kOut, "Start server: " + m_site.service.serverPath() + " Ok!!!! ",
                          "New In Connection "}));
    // One tick each, 5 s apart; one that comes late leaves less than that to the next.
    const qint64 first = lines[2].timeMs - lines[1].timeMs;
    const qint64 second = lines[3].timeMs - lines[2].timeMs;
    const bool isInTime = first > 1000 && second > 1000 && first + second > 7000 && first + second < 14000;
    QVERIFY2(isInTime, qPrintable(QStringLiteral("%1 and %2 ms").arg(first).arg(second)));
}

void TestLinks::onlyOutgoingLinksAreGreeted()
{
    const QByteArray greeting = support::greeting(m_site.service.serverPath().toUtf8());
    SAYS(m_a, greeting);
    SAYS(m_b, greeting);
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_a.isSilent());
    QVERIFY(m_b.isSilent());
    QVERIFY(m_site.client.isSilent());
}

void TestLinks::clientIsLoggedByItsGreeting()
{
    support::ClientPeer nameless;
    support::ClientPeer named;
    QVERIFY(nameless.attach(m_site.service.serverPath(), m_site.admin));
    QVERIFY(named.attach(m_site.service.serverPath(), m_site.admin));
    QVERIFY(named.send(support::greeting("first name") + support::greeting("имя %0 %1")));
    QVERIFY(named.waitUntilRead());
    SAYS_NOTHING_MORE(m_site.admin);
    const qsizetype lines = m_site.service.log().size();
    nameless.close();
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.log().size() >= lines + 2; }));
    named.close();
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.log().size() >= lines + 4; }));
    SAYS_NOTHING_MORE(m_site.admin);
    QCOMPARE(m_site.service.logTexts().mid(lines),
             QStringList({"Connection in disconnection: ", "Connection In Error: ",
                          QString::fromUtf8("Connection in disconnection: имя %0 %1"),
                          QString::fromUtf8("Connection In Error: имя %0 %1")}));
}

void TestLinks::sameSiblingTwiceIsOneLink()
{
    QVERIFY(!m_a.listener().hasCaller());
    m_site.admin.send(save(4));
    SAYS(m_site.admin, support::savedCard(17));
    RECORDS(m_a, "User 'ivanov' save card with id=17");
    RECORDS(m_b, "User 'ivanov' save card with id=17");
    RECORDS(m_site.client, "User 'ivanov' save card with id=17");
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_a.isSilent());
}

void TestLinks::serverReplacesStaleSocketFile()
{
    QCOMPARE(m_site.service.logTexts().filter("Start Error").size(), 0);
    QVERIFY(support::Wire::connectTo(m_site.service.serverPath()).isOpen());
}

void TestLinks::serverTriesAgainWhenItCannotListen()
{
    QVERIFY2(m_homelessAdmin.attend(), qPrintable(m_homeless.story()));
    QVERIFY2(m_homeless.waitForLog("Start Error: "), qPrintable(m_homeless.story()));
    QVERIFY2(m_homeless.logTexts().filter("Start Error: ").first().size() > 15, qPrintable(m_homeless.story()));
    QVERIFY(QDir().mkpath(m_homeless.path("later")));
    QVERIFY2(m_homeless.waitForLog("Start server: " + m_homeless.path("later/own") + " Ok!!!! "),
             qPrintable(m_homeless.story()));
    support::ClientPeer client;
    SAYS(m_homelessAdmin, support::greeting(m_homeless.path("later/own").toUtf8()));
    QVERIFY(client.attach(m_homeless.path("later/own"), m_homelessAdmin));
}

void TestLinks::lostSiblingIsReplacedAndServerStays()
{
    const qsizetype lines = m_site.service.log().size();
    m_a.close();
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.log().size() >= lines + 2; }));
    const QStringList texts = m_site.service.logTexts().mid(lines);
    const QString name = m_a.listener().path();
    QVERIFY2(texts[0].startsWith("Connnection Out Error: " + name + " ") && texts[0].size() > name.size() + 24,
             qPrintable(texts[0]));
    QCOMPARE(texts[1], "Connnection Disconnect: " + name);
    QVERIFY(support::Wire::connectTo(m_site.service.serverPath()).isOpen());
    QVERIFY2(m_a.attend(), qPrintable(m_site.service.story()));
    SAYS(m_a, support::greeting(m_site.service.serverPath().toUtf8()));
    m_site.admin.send(save(4));
    SAYS(m_site.admin, support::savedCard(17));
    RECORDS(m_a, "User 'ivanov' save card with id=17");
    RECORDS(m_b, "User 'ivanov' save card with id=17");
    RECORDS(m_site.client, "User 'ivanov' save card with id=17");
    QCOMPARE(m_site.service.logTexts().filter("Start server: ").size(), 1);
}

void TestLinks::siblingIsReconnectedUnderTheNameItGaveItself()
{
    support::SiblingPeer other(m_site.service.path("other"));
    const QByteArray name = other.listener().path().toUtf8();
    QVERIFY(m_a.send(support::greeting(name + QByteArray("\0tail", 5))));
    QVERIFY(m_a.waitUntilRead());
    SAYS_NOTHING_MORE(m_site.admin);
    m_a.close();
    QVERIFY2(other.attend(), qPrintable(m_site.service.story()));
    SAYS(other, support::greeting(m_site.service.serverPath().toUtf8()));
    QVERIFY(!m_a.listener().hasCaller());
    static_cast<support::Wire &>(m_a) = std::move(other);
}

void TestLinks::dataReachesNoLinkThatIsDown()
{
    m_b.listener().close();
    m_b.close();
    QVERIFY(m_site.service.waitForLog("Connnection Disconnect: " + m_b.listener().path()));
    m_site.admin.send(save(4));
    SAYS(m_site.admin, support::savedCard(17));
    RECORDS(m_a, "User 'ivanov' save card with id=17");
    RECORDS(m_site.client, "User 'ivanov' save card with id=17");
}

void TestLinks::clientsThatLeaveAtOnceDisturbNobody()
{
    const int descriptors = m_site.service.openDescriptors();
    for (int round = 0; round < 5; ++round) {
        std::vector<support::ClientPeer> crowd(40);
        for (support::ClientPeer &client : crowd)
            QVERIFY(client.attach(m_site.service.serverPath(), m_site.admin));
        m_site.admin.send(save(4) + save(4) + save(4));
        crowd.clear();
        for (int i = 0; i < 3; ++i) {
            SAYS(m_site.admin, support::savedCard(17));
            RECORDS(m_site.client, "User 'ivanov' save card with id=17");
            RECORDS(m_a, "User 'ivanov' save card with id=17");
        }
    }
    QVERIFY2(ServiceProcess::waitUntil([&] { return m_site.service.openDescriptors() <= descriptors; }),
             qPrintable(m_site.service.story()));
}

void TestLinks::unreachableSiblingHoldsTheServerBack()
{
    const QString absent = m_waiting.path("absent");
    const auto errors = [&] { return m_waiting.logTexts().filter("Connnection Out Error: " + absent + " ").size(); };
    QVERIFY2(ServiceProcess::waitUntil([&] { return errors() >= 3; }), qPrintable(m_waiting.story()));
    QVERIFY(!m_waitingAdmin.listener().hasCaller());
    QVERIFY(!QFile::exists(m_waiting.serverPath()));
    support::SiblingPeer sibling(absent);
    QVERIFY2(sibling.attend(), qPrintable(m_waiting.story()));
    SAYS(sibling, support::greeting(m_waiting.serverPath().toUtf8()));
    QVERIFY2(m_waitingAdmin.attend(), qPrintable(m_waiting.story()));
    QVERIFY2(m_waiting.waitForLog("Start server: "), qPrintable(m_waiting.story()));
    const QStringList texts = m_waiting.logTexts();
    QCOMPARE(texts.mid(texts.indexOf(kOut)),
             QStringList({kOut, kOut, "Start server: " + m_waiting.serverPath() + " Ok!!!! "}));
    QCOMPARE(texts.filter("Connnection Disconnect").size(), 0);
}

void TestLinks::siblingsNamedByEmptyTextAreLinksToo()
{
    const auto errors = [&](const QString &name) {
        return m_empty.logTexts().filter("Connnection Out Error: " + name + " ").size();
    };
    QVERIFY2(ServiceProcess::waitUntil(
                 [&] { return errors("") >= 1 && errors(m_empty.path("c")) >= 1 && errors(m_empty.path("d")) >= 1; }),
             qPrintable(m_empty.story()));
    support::SiblingPeer c(m_empty.path("c"));
    support::SiblingPeer d(m_empty.path("d"));
    QVERIFY(c.attend());
    QVERIFY(d.attend());
    const qsizetype before = errors("");
    QVERIFY(ServiceProcess::waitUntil([&] { return errors("") > before; }));
    // The link without a name never comes, so the first start never ends.
    QVERIFY(!m_emptyAdmin.listener().hasCaller());
}

QTEST_GUILESS_MAIN(TestLinks)
#include "test_links.moc"

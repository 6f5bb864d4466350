// How many links the service's own server takes: it keeps descriptors for itself, tells a burst once, and goes on.

#include "conversation.h"
#include "installation.h"

#include <sys/resource.h>

using support::ServiceProcess;
using support::Wire;

namespace {

constexpr int kLinks = 1000;
constexpr int kFewFiles = 120;   // of which the service keeps a quarter free
constexpr int kFewForLinks = 90; // so this is the first that it does not use

const QString kTaken = QStringLiteral("New In Connection ");
const QString kRefused = QStringLiteral("Connections refused: ");

QByteArray save()
{
    return support::command("Save_object_card_v2", support::i32(17) + support::i32(0), 4);
}

} // namespace

class TestLinkBound : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void refusesBeyondThousandLinksAndTellsOnce();
    void keepsFilesFreeForDatabaseAndSiblings();
    void survivesWithoutAnyDescriptor();

private:
    /// Connects so many times and waits until as many links are taken or refused in all.
    [[nodiscard]] static bool crowd(support::Installation &site, std::vector<Wire> &links, int count);

    support::Installation m_site;
    support::Installation m_narrow;
    support::SiblingPeer m_sibling{m_narrow.service.path("sibling")};
};

bool TestLinkBound::crowd(support::Installation &site, std::vector<Wire> &links, int count)
{
    for (int i = 0; i < count; ++i)
        links.push_back(Wire::connectTo(site.service.serverPath()));
    // They are taken or refused in order.
    constexpr int caller = 888888;
    Wire &last = links.back();
    (void)last.send(support::commandWithNoData("About", caller));
    return ServiceProcess::waitUntil(
        [&] { return last.ended(0) || support::isAbout(site.admin.nextFrame(10), caller); });
}

void TestLinkBound::initTestCase()
{
    rlimit files = {};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 4096);
    QVERIFY2(files.rlim_cur >= 2048, "the hard limit of open files is too low to hold so many links");
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &files), 0);
    m_site.begin();
    m_narrow.begin("Connections=" + m_sibling.listener().path().toUtf8() + "\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    QVERIFY(m_sibling.attend());
    QVERIFY2(m_narrow.isUp(), qPrintable(m_narrow.service.story()));
    m_site.service.limitOpenFiles(2048);
    m_narrow.service.limitOpenFiles(kFewFiles);
}

void TestLinkBound::refusesBeyondThousandLinksAndTellsOnce()
{
    ServiceProcess &service = m_site.service;
    const int before = service.openDescriptors();
    std::vector<Wire> links;
    QVERIFY(crowd(m_site, links, kLinks - 1)); // with m_site.client it is full
    QCOMPARE(service.logCount(kTaken), kLinks);
    QCOMPARE(service.openDescriptors(), before + kLinks - 1);
    for (int burst = 1; burst <= 2; ++burst) {
        std::vector<Wire> refused;
        for (int part = 0; part < 5; ++part)
            QVERIFY(crowd(m_site, refused, 40));
        for (Wire &link : refused)
            QVERIFY(link.ended());
        QCOMPARE(service.openDescriptors(), before + kLinks - 1);
        QCOMPARE(service.logTexts().filter(kRefused), QStringList(burst, kRefused + "1000 are open"));
        // The others notice nothing.
        m_site.admin.send(save());
        SAYS(m_site.admin, support::savedCard(17));
        RECORDS(m_site.client, "User 'ivanov' save card with id=17");
        for (Wire &link : links)
            RECORDS(link, "User 'ivanov' save card with id=17");
        // Who leaves makes room.
        links.resize(links.size() - 10);
        QVERIFY(ServiceProcess::waitUntil([&] { return service.openDescriptors() == before + kLinks - 11; }));
        QVERIFY(crowd(m_site, links, 10));
        QCOMPARE(service.logCount(kTaken), kLinks + 10 * burst);
    }
    links.clear();
    QVERIFY(ServiceProcess::waitUntil([&] { return service.openDescriptors() == before; }));
    ANSWERS(m_site);
}

void TestLinkBound::keepsFilesFreeForDatabaseAndSiblings()
{
    ServiceProcess &service = m_narrow.service;
    const int before = service.openDescriptors();
    std::vector<Wire> links;
    QVERIFY(crowd(m_narrow, links, kFewFiles));
    QCOMPARE(service.lowestFreeDescriptor(), kFewForLinks);
    const QStringList told = service.logTexts().filter(kRefused);
    QCOMPARE(told, QStringList(kRefused + QString::number(service.logCount(kTaken)) + " are open"));
    // A database connection that is lost now can be made anew, and so can a sibling's link.
    m_narrow.database->endSessions();
    m_narrow.admin.send(save());
    SAYS(m_narrow.admin, support::savedCard(17));
    RECORDS(m_narrow.client, "User 'ivanov' save card with id=17");
    m_sibling.close();
    QVERIFY2(m_sibling.attend(), qPrintable(service.story()));
    links.clear();
    QVERIFY(ServiceProcess::waitUntil([&] { return service.openDescriptors() == before; }));
    QVERIFY(crowd(m_narrow, links, 1));
    QVERIFY2(!links[0].ended(0), "a link is refused though there is room");
    ANSWERS(m_narrow);
}

void TestLinkBound::survivesWithoutAnyDescriptor()
{
    ServiceProcess &service = m_narrow.service;
    const auto starts = [&] { return service.logTexts().filter("Start server: ").size(); };
    const qsizetype before = starts();
    service.limitOpenFiles(service.lowestFreeDescriptor());
    // It cannot even accept, so its server closes, and opens again at the next tick; the links that are there stay.
    Wire lost = Wire::connectTo(service.serverPath());
    QVERIFY(lost.ended());
    ANSWERS(m_narrow);
    m_narrow.admin.send(save());
    SAYS(m_narrow.admin, support::savedCard(17));
    RECORDS(m_narrow.client, "User 'ivanov' save card with id=17");
    QVERIFY2(ServiceProcess::waitUntil([&] { return starts() == before + 1; }), qPrintable(service.story()));
    service.limitOpenFiles(kFewFiles);
    support::ClientPeer late;
    QVERIFY(late.attach(service.serverPath(), m_narrow.admin));
    ANSWERS(m_narrow);
}

QTEST_GUILESS_MAIN(TestLinkBound)
#include "test_link_bound.moc"

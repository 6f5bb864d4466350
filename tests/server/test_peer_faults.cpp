// Peers that misbehave on the bus. After each the service answers "About", holds as many descriptors as before, and has
// not grown by more than was its share.

#include "conversation.h"
#include "installation.h"

#include <QFile>

#include <sys/resource.h>

using support::ServiceProcess;
using support::Wire;

namespace {

constexpr qint64 kMiB = 1 << 20;
constexpr int kLongName = 4 * kMiB;

const QString kTaken = QStringLiteral("New In Connection ");
const QString kCutOff = QStringLiteral("Connection cut off: ");

/// Only an event-log record follows it.
QByteArray recordOnly()
{
    return support::command("Update_object_card_field", support::i32(17) + support::i32(0), 4);
}

QByteArray everyByte()
{
    QByteArray bytes;
    for (int code = 0; code < 256; ++code)
        bytes += char(code);
    return bytes;
}

} // namespace

class TestPeerFaults : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void peerThatSaysNothingHoldsNothingUp();
    void peerThatSendsByteByByteIsHeard();
    void peersThatVanishInMidFrameLeaveNothing_data();
    void peersThatVanishInMidFrameLeaveNothing();
    void thousandShortConnectionsLeaveNothing();
    void namesOfAnyBytesStayOneShortLine_data();
    void namesOfAnyBytesStayOneShortLine();
    void longNamesAreNotKept();
    void fiveHundredClientsAtOnceAreAllServed();
    void peersThatNeverReadAreCutOffOnceEach();
    void siblingThatFlapsIsReconnectedEachTime();
    void siblingThatRenamesItselfIsOneShortLineEachTime();

private:
    support::Installation m_site;
    support::Installation m_flapping;
    support::SiblingPeer m_sibling{m_flapping.service.path("sibling")};
    support::SiblingPeer m_otherSibling{m_flapping.service.path("other")};
    int m_descriptors = 0;
    qint64 m_resident = 0;
    qint64 m_allowedGrowth = 0;
};

void TestPeerFaults::initTestCase()
{
    rlimit files = {};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = std::min<rlim_t>(files.rlim_max, 2048);
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &files), 0);
    m_site.begin();
    m_flapping.begin("Connections=" + m_sibling.listener().path().toUtf8() + ' ' +
                     m_otherSibling.listener().path().toUtf8() + "\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    QVERIFY(m_sibling.attend() && m_otherSibling.attend());
    QVERIFY2(m_flapping.isUp(), qPrintable(m_flapping.service.story()));
    ANSWERS(m_site);
}

void TestPeerFaults::init()
{
    m_site.settle();
    m_descriptors = m_site.service.openDescriptors();
    m_resident = m_site.service.residentBytes();
    m_allowedGrowth = 64 * kMiB;
}

void TestPeerFaults::cleanup()
{
    ANSWERS(m_site);
    QVERIFY2(ServiceProcess::waitUntil([&] { return m_site.service.openDescriptors() == m_descriptors; }),
             qPrintable(
                 QStringLiteral("%1 descriptors, before %2").arg(m_site.service.openDescriptors()).arg(m_descriptors)));
    const qint64 growth = m_site.service.residentBytes() - m_resident;
    QVERIFY2(growth < m_allowedGrowth + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

void TestPeerFaults::peerThatSaysNothingHoldsNothingUp()
{
    const qsizetype taken = m_site.service.logTexts().filter(kTaken).size();
    Wire silent = Wire::connectTo(m_site.service.serverPath());
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.logTexts().filter(kTaken).size() > taken; }));
    for (int i = 0; i < 10; ++i) {
        m_site.admin.send(recordOnly());
        RECORDS(m_site.client, "User 'ivanov' update card with id=17");
        RECORDS(silent, "User 'ivanov' update card with id=17");
    }
}

void TestPeerFaults::peerThatSendsByteByByteIsHeard()
{
    Wire slow = Wire::connectTo(m_site.service.serverPath());
    const QByteArray frames = support::greeting("slow") + recordOnly();
    for (char byte : frames) {
        QVERIFY(m_site.client.isSilent());
        QVERIFY(slow.send(QByteArray(1, byte)));
        QVERIFY(slow.waitUntilRead());
        ANSWERS(m_site);
    }
    RECORDS(m_site.client, "User 'ivanov' update card with id=17");
}

void TestPeerFaults::peersThatVanishInMidFrameLeaveNothing_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::newRow("in the length") << QByteArray("\0\0", 2);
    QTest::newRow("behind the length") << support::i32(50'000'000);
    QTest::newRow("in a command") << recordOnly().chopped(1);
    QTest::newRow("in a long frame") << support::i32(50'000'000) + QByteArray(kMiB, 'x');
    QTest::newRow("behind a whole frame") << support::greeting("gone") + support::i32(9);
}

void TestPeerFaults::peersThatVanishInMidFrameLeaveNothing()
{
    QFETCH(QByteArray, part);
    const int taken = int(m_site.service.logTexts().filter(kTaken).size());
    for (int round = 0; round < 5; ++round) {
        std::vector<Wire> peers;
        for (int i = 0; i < 20; ++i) {
            peers.push_back(Wire::connectTo(m_site.service.serverPath()));
            QVERIFY(peers.back().send(part));
        }
        for (Wire &peer : peers)
            QVERIFY(peer.waitUntilRead());
        ANSWERS(m_site);
    }
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.openDescriptors() == m_descriptors; }));
    QCOMPARE(int(m_site.service.logTexts().filter(kTaken).size()), taken + 100);
    QVERIFY(m_site.client.isSilent());
}

void TestPeerFaults::thousandShortConnectionsLeaveNothing()
{
    const int taken = int(m_site.service.logTexts().filter(kTaken).size());
    for (int i = 0; i < 1000; ++i)
        QVERIFY(Wire::connectTo(m_site.service.serverPath()).isOpen());
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.logTexts().filter(kTaken).size() == taken + 1000; }));
}

void TestPeerFaults::namesOfAnyBytesStayOneShortLine_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    const QByteArray all = everyByte();
    QTest::newRow("control characters") << all.left(32) + "|\x7f"
                                        << QString(10, u'?') + "\\n" + QString(21, u'?') + "|?";
    QTest::newRow("printable ASCII") << all.mid(32, 95) << QString::fromLatin1(all.mid(32, 95));
    QTest::newRow("high bytes") << all.mid(128) << QString(128, QChar::ReplacementCharacter);
    QTest::newRow("line feeds") << QByteArray("a\nb\n") << "a\\nb\\n";
    QTest::newRow("a log line of its own")
        << QByteArray("x\r\n2026-01-01T00:00:00.000Z Start Ok!") << "x?\\n2026-01-01T00:00:00.000Z Start Ok!";
    QTest::newRow("line separators") << QStringLiteral("a\u2028b\u2029c\u0085d").toUtf8() << "a?b?c?d";
    QTest::newRow("turned text and escapes") << QStringLiteral("a\u202eb\u001b[2Jc").toUtf8() << "a?b?[2Jc";
    QTest::newRow("placeholders") << QByteArray("%0 %1 %2") << "%0 %1 %2";
    QTest::newRow("128 letters") << QByteArray(128, 'n') << QString(128, u'n');
    QTest::newRow("129 letters") << QByteArray(129, 'n') << QString(128, u'n') + "...";
    QTest::newRow("1 MiB") << QByteArray(kMiB, 'n') << QString(128, u'n') + "...";
    QTest::newRow("1 MiB of Cyrillic") << QByteArray("я").repeated(kMiB / 2) << QString(128, QChar(u'я')) + "...";
    QTest::newRow("1 MiB of line feeds") << QByteArray(kMiB, '\n') << QString("\\n").repeated(128) + "...";
    QTest::newRow("every byte, often") << all.repeated(4096)
                                       << QString(10, u'?') + "\\n" + QString(21, u'?') +
                                              QString::fromLatin1(all.mid(32, 95)) + "?...";
}

void TestPeerFaults::namesOfAnyBytesStayOneShortLine()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, shown);
    const qsizetype lines = m_site.service.log().size();
    Wire peer = Wire::connectTo(m_site.service.serverPath());
    QVERIFY(peer.send(support::greeting(name)));
    QVERIFY(peer.waitUntilRead());
    ANSWERS(m_site);
    peer.close();
    const QStringList expected = {kTaken, "Connection in disconnection: " + shown, "Connection In Error: " + shown};
    QVERIFY(ServiceProcess::waitUntil([&] { return m_site.service.log().size() >= lines + expected.size(); }));
    ANSWERS(m_site);
    const QList<ServiceProcess::LogLine> log = m_site.service.log().mid(lines);
    QStringList texts;
    for (const ServiceProcess::LogLine &line : log) {
        QVERIFY2(line.timeMs > 0, qPrintable(line.text));
        texts.append(line.text);
    }
    QCOMPARE(texts, expected);
}

void TestPeerFaults::longNamesAreNotKept()
{
    constexpr int peers = 10;
    const QByteArray greeting = support::greeting(QByteArray(40 * kMiB, 'n'));
    std::vector<Wire> named;
    for (int i = 0; i < peers; ++i) {
        named.push_back(Wire::connectTo(m_site.service.serverPath()));
        QVERIFY(named.back().send(greeting));
        QVERIFY(named.back().waitUntilRead());
        ANSWERS(m_site);
    }
    const qint64 growth = m_site.service.residentBytes() - m_resident;
    QVERIFY2(growth < 100 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

void TestPeerFaults::fiveHundredClientsAtOnceAreAllServed()
{
    constexpr int clients = 500;
    constexpr int questions = 20;
    std::vector<Wire> crowd;
    for (int i = 0; i < clients; ++i)
        crowd.push_back(Wire::connectTo(m_site.service.serverPath()));
    for (int question = 0; question < questions; ++question) {
        for (int i = 0; i < clients; ++i)
            QVERIFY(crowd[size_t(i)].send(support::commandWithNoData("About", i * questions + question)));
    }
    QList<int> answers(clients * questions, 0);
    const auto callerOf = [](const QByteArray &frame) {
        quint32 caller = 0;
        for (char byte : frame.right(4))
            caller = caller << 8 | quint8(byte);
        return int(caller);
    };
    for (int i = 0; i < clients * questions; ++i) {
        const QByteArray frame = m_site.admin.nextFrame();
        const int caller = callerOf(frame);
        QVERIFY2(caller >= 0 && caller < answers.size() && support::isAbout(frame, caller),
                 qPrintable(support::describe(frame)));
        // A client's own questions are answered in their order.
        QVERIFY(caller % questions == 0 || answers[caller - 1] == 1);
        ++answers[caller];
    }
    QCOMPARE(answers.count(1), answers.size());
}

void TestPeerFaults::peersThatNeverReadAreCutOffOnceEach()
{
    constexpr int peers = 20;
    m_site.database->run(QStringLiteral("UPDATE \"Connections\" SET \"Login\" = repeat('n', %1)").arg(kLongName));
    const QByteArray line = "User '" + QByteArray(kLongName, 'n') + "' update card with id=17";
    std::vector<support::ClientPeer> lazy(peers);
    for (int i = 0; i < peers; ++i) {
        QVERIFY(lazy[size_t(i)].attach(m_site.service.serverPath(), m_site.admin));
        QVERIFY(lazy[size_t(i)].send(support::greeting("lazy" + QByteArray::number(i))));
        QVERIFY(lazy[size_t(i)].waitUntilRead());
    }
    qint64 highest = 0;
    for (int sent = 0; sent < 25; ++sent) {
        m_site.admin.send(recordOnly());
        RECORDS(m_site.client, line);
        highest = qMax(highest, m_site.service.residentBytes());
        ANSWERS(m_site);
    }
    for (support::ClientPeer &peer : lazy)
        QVERIFY(peer.ended());
    QSet<QString> names;
    const QStringList told = m_site.service.logTexts().filter(kCutOff);
    for (const QString &text : told)
        names.insert(text.section(u' ', 3, 3));
    QCOMPARE(told.size(), peers);
    QCOMPARE(names.size(), peers);
    // 1 GiB for all of them, not 64 MiB for each; with what is under way to the one that reads.
    QVERIFY2(highest - m_resident < 1200 * kMiB + 4 * support::kSanitizerBytes,
             qPrintable(QString::number((highest - m_resident) / kMiB)));
    m_site.database->run("UPDATE \"Connections\" SET \"Login\" = 'ivanov'");
    m_allowedGrowth = 160 * kMiB; // memory that the allocator keeps
}

void TestPeerFaults::siblingThatFlapsIsReconnectedEachTime()
{
    const int descriptors = m_flapping.service.openDescriptors();
    const qsizetype connections = m_flapping.service.logCount("New Out Connnection");
    for (int round = 1; round <= 3; ++round) {
        m_sibling.close();
        QVERIFY2(m_sibling.attend(), qPrintable(m_flapping.service.story()));
        QVERIFY(m_sibling.send(support::i32(1000) + "half a frame"));
        SAYS(m_sibling, support::greeting(m_flapping.service.serverPath().toUtf8()));
        QCOMPARE(m_flapping.service.logCount("New Out Connnection"), connections + round);
        QCOMPARE(m_flapping.service.openDescriptors(), descriptors);
        ANSWERS(m_flapping);
    }
    const QString lost = "Connnection Disconnect: " + m_sibling.listener().path();
    QCOMPARE(m_flapping.service.logCount(lost), 3);
    SAYS(m_otherSibling, support::greeting(m_flapping.service.serverPath().toUtf8()));
    m_flapping.admin.send(recordOnly());
    RECORDS(m_flapping.client, "User 'ivanov' update card with id=17");
    RECORDS(m_sibling, "User 'ivanov' update card with id=17");
    RECORDS(m_otherSibling, "User 'ivanov' update card with id=17");
}

void TestPeerFaults::siblingThatRenamesItselfIsOneShortLineEachTime()
{
    // Its next link goes to the name that it gave, where nobody is: the attempts are told, each in a short line.
    QVERIFY(m_otherSibling.send(support::greeting("/n\n" + QByteArray(kMiB, 'n'))));
    QVERIFY(m_otherSibling.waitUntilRead());
    ANSWERS(m_flapping);
    const qsizetype lines = m_flapping.service.log().size();
    m_otherSibling.close();
    const QString shown = "/n\\n" + QString(125, u'n') + "...";
    const QString failed = "Connnection Out Error: " + shown + ' ';
    QVERIFY2(
        ServiceProcess::waitUntil([&] { return m_flapping.service.logTexts().mid(lines).filter(failed).size() >= 3; }),
        qPrintable(m_flapping.service.story()));
    const QStringList texts = m_flapping.service.logTexts().mid(lines);
    QVERIFY(texts.contains("Connnection Disconnect: " + shown));
    for (const QString &text : texts)
        QVERIFY2(text.size() < 300, qPrintable(text));
    ANSWERS(m_flapping);
    m_flapping.admin.send(recordOnly());
    RECORDS(m_sibling, "User 'ivanov' update card with id=17");
}

QTEST_GUILESS_MAIN(TestPeerFaults)
#include "test_peer_faults.moc"

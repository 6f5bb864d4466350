// The byte stream of a link: cutting frames, limits, short and lying bodies, frame types, the watch echo.

#include "conversation.h"
#include "installation.h"

#include <QRandomGenerator>

using support::hex;
using support::i32;
using support::i8;

namespace {

constexpr qint64 kMiB = 1 << 20;
constexpr int kFrameLimit = 50000000;

/// A command that is answered with 8 bytes: object 17 has no card.
QByteArray askCard(int caller)
{
    return support::command("Get_object_card_v2", i32(17), caller);
}

QByteArray emptyCard(int caller)
{
    return support::answer("Get_object_card_v2", i32(17) + i32(0), caller);
}

QByteArray echo(int kind, const QByteArray &data)
{
    return support::action("Watch_Arrow", QByteArray::number(kind), data, support::blue(), -1);
}

} // namespace

class TestFrames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { m_site.settle(); }
    void cleanup();
    void handWrittenFramesHaveTheKnownBytes();
    void deliversFrameSplitAtEveryByte_data();
    void deliversFrameSplitAtEveryByte();
    void deliversFrameSentByteByByte();
    void deliversAllFramesOfOneArrivalInOrder();
    void deliversWholeFrameBeforeTheRestOfTheNext();
    void lengthsOfZeroAndBelowTakeNoBody();
    void waitsForFrameOfTheLimitWithoutReservingIt();
    void deliversFrameOfExactlyTheLimit();
    void cutsClientAboveTheLimit_data();
    void cutsClientAboveTheLimit();
    void readsShortCommandAsEmptyAndZero();
    void readsLyingInnerLengthAsEmpty_data();
    void readsLyingInnerLengthAsEmpty();
    void ignoresBytesBehindTheFields();
    void saysNothingToFramesThatAreNotCommands();
    void watchEchoesEveryKindOfDataFrame();
    void watchDropsEmptyData_data();
    void watchDropsEmptyData();
    void watchCountsForAllLinksAndIsSwitchedFromAny();
    void watchNamesAreExact_data();
    void watchNamesAreExact();
    void deliversWhatAClientSentBeforeItClosed();
    void survivesNoiseOnItsServer();
    void adminLinkAboveTheLimitEndsTheProcess();

private:
    support::Installation m_site;
    support::ServiceProcess m_doomed; // its administration link will be cut
    support::AdminPeer m_doomedAdmin{m_doomed.adminPath()};
};

void TestFrames::initTestCase()
{
    m_doomed.start();
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestFrames::cleanup()
{
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_Off", 1));
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_site.service.isRunning());
}

void TestFrames::handWrittenFramesHaveTheKnownBytes()
{
    QCOMPARE(support::commandWithNoData("About", 7).toHex(' '),
             hex("00 00 00 12 CB 00 00 00 05 41 62 6F 75 74 FF FF FF FF 00 00 00 07").toHex(' '));
    QCOMPARE(
        support::savedCard(17).toHex(' '),
        hex("00 00 00 36 CA 00 00 00 0D 53 65 72 76 65 72 4D 65 73 73 61 67 65 00 00 00 09 53 61 76 65 64 43 61 72 64"
            "00 00 00 04 00 00 00 11 01 FF FF FF FF 00 00 00 00 00 00 FF FF FF FF")
            .toHex(' '));
    QCOMPARE(support::record(0x01020304, "x").toHex(' '),
             hex("00 00 00 27 01 00 00 00 22 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 02 03 04"
                 "00 00 00 00 00 00 00 01 78 01")
                 .toHex(' '));
    QCOMPARE(support::cardRecord({.id = 5, .name = "я", .description = {}, .type = 10, .value = "ab", .visible = 't'})
                 .toHex(' '),
             hex("00 00 00 05 00 00 00 02 04 4F FF FF FF FF 00 00 00 0A 00 00 00 02 61 62 00 74").toHex(' '));
}

void TestFrames::deliversFrameSplitAtEveryByte_data()
{
    QTest::addColumn<bool>("onAdminLink");
    QTest::newRow("administration link") << true;
    QTest::newRow("client link") << false;
}

void TestFrames::deliversFrameSplitAtEveryByte()
{
    QFETCH(bool, onAdminLink);
    support::Wire &wire = onAdminLink ? static_cast<support::Wire &>(m_site.admin) : m_site.client;
    const qsizetype size = askCard(1).size();
    for (int cut = 1; cut < size; ++cut) {
        QVERIFY(wire.send(askCard(cut).left(cut)));
        QVERIFY(wire.waitUntilRead());
        QVERIFY(m_site.admin.isSilent());
        QVERIFY(wire.send(askCard(cut).mid(cut)));
        SAYS(m_site.admin, emptyCard(cut));
    }
}

void TestFrames::deliversFrameSentByteByByte()
{
    for (const char byte : askCard(3)) {
        QVERIFY(m_site.client.send(QByteArray(1, byte)));
        QVERIFY(m_site.client.waitUntilRead());
    }
    SAYS(m_site.admin, emptyCard(3));
}

void TestFrames::deliversAllFramesOfOneArrivalInOrder()
{
    QByteArray all;
    for (int caller = 1; caller <= 300; ++caller)
        all += askCard(caller);
    QVERIFY(m_site.client.send(all));
    for (int caller = 1; caller <= 300; ++caller)
        SAYS(m_site.admin, emptyCard(caller));
}

void TestFrames::deliversWholeFrameBeforeTheRestOfTheNext()
{
    QVERIFY(m_site.client.send(askCard(1) + askCard(2).left(20)));
    SAYS(m_site.admin, emptyCard(1));
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_site.client.send(askCard(2).mid(20)));
    SAYS(m_site.admin, emptyCard(2));
}

void TestFrames::lengthsOfZeroAndBelowTakeNoBody()
{
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_On", 1));
    m_site.admin.send(i32(0) + askCard(1) + i32(-1) + askCard(2) + i32(0x80000000) + i32(0) + i32(-50000001) +
                      askCard(3));
    SAYS(m_site.admin, emptyCard(1));
    SAYS(m_site.admin, emptyCard(2));
    SAYS(m_site.admin, emptyCard(3));
}

void TestFrames::waitsForFrameOfTheLimitWithoutReservingIt()
{
    const qint64 before = m_site.service.residentBytes();
    QVERIFY(m_site.client.send(i32(kFrameLimit) + hex("CB 00 00 00 05")));
    QVERIFY(m_site.client.waitUntilRead());
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_site.client.isSilent());
    const qint64 growth = m_site.service.residentBytes() - before;
    QVERIFY2(growth < 8 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
    m_site.client.close();
}

void TestFrames::deliversFrameOfExactlyTheLimit()
{
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_On", 1));
    SAYS_NOTHING_MORE(m_site.admin);
    const QByteArray block(kFrameLimit - 5, 'z');
    QVERIFY(m_site.client.send(support::data(7, block)));
    SAYS(m_site.admin, echo(7, block));
}

void TestFrames::cutsClientAboveTheLimit_data()
{
    QTest::addColumn<qint64>("length");
    QTest::newRow("one above") << qint64(kFrameLimit + 1);
    QTest::newRow("the greatest") << qint64(0x7FFFFFFF);
}

void TestFrames::cutsClientAboveTheLimit()
{
    QFETCH(qint64, length);
    const int gone = m_site.service.logCount("Connection in disconnection: ");
    QVERIFY(m_site.client.send(askCard(1) + i32(length) + "abc"));
    SAYS(m_site.admin, emptyCard(1));
    QVERIFY(m_site.client.ended());
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY2(support::ServiceProcess::waitUntil(
                 [&] { return m_site.service.logCount("Connection in disconnection: ") == gone + 1; }),
             qPrintable(m_site.service.story()));
    m_site.client.close();
}

void TestFrames::readsShortCommandAsEmptyAndZero()
{
    const QByteArray body =
        support::commandWithNoData("About", 7).mid(4); // type, 4 + 5 bytes of name, 4 of data, 4 of caller
    for (int size = 0; size < body.size(); ++size) {
        QVERIFY(m_site.client.send(i32(size) + body.left(size)));
        if (size >= 10) {
            const QByteArray said = m_site.admin.nextFrame();
            QVERIFY2(support::isAbout(said, 0), qPrintable(QString::number(size) + ": " + support::describe(said)));
        }
        QVERIFY(m_site.client.send(askCard(size)));
        SAYS(m_site.admin, emptyCard(size));
    }
}

void TestFrames::readsLyingInnerLengthAsEmpty_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("isAnswered");
    const QByteArray about = support::bytes("About");
    QTest::newRow("name of 2 GiB") << hex("CB 7F FF FF FF 41 62 6F 75 74") << false;
    QTest::newRow("name one byte too long") << hex("CB 00 00 00 06 41 62 6F 75 74") << false;
    QTest::newRow("name of 4 GiB") << hex("CB FF FF FF FE 41 62 6F 75 74") << false;
    QTest::newRow("data of 2 GiB") << hex("CB") + about + hex("7F FF FF FF 00 00 00 09") << true;
    QTest::newRow("data of 4 GiB") << hex("CB") + about + hex("FF FF FF FE 00 00 00 09") << true;
    QTest::newRow("data that swallows the caller") << hex("CB") + about + hex("00 00 00 04 00 00 00 09") << true;
    QTest::newRow("greeting of 2 GiB") << hex("C8 7F FF FF FF 61") << false;
    QTest::newRow("action of 2 GiB") << hex("CA 7F FF FF FF 61") << false;
    QTest::newRow("bus message of 2 GiB") << hex("CC 7F FF FF FF 61") << false;
    QTest::newRow("data frame of 2 GiB") << hex("01 7F FF FF FF 61") << false;
}

void TestFrames::readsLyingInnerLengthAsEmpty()
{
    QFETCH(QByteArray, body);
    QFETCH(bool, isAnswered);
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_On", 1));
    const qint64 before = m_site.service.residentBytes();
    m_site.admin.send(i32(body.size()) + body);
    if (isAnswered) {
        const QByteArray said = m_site.admin.nextFrame();
        QVERIFY2(support::isAbout(said, 0), qPrintable(support::describe(said)));
    }
    SAYS_NOTHING_MORE(m_site.admin);
    const qint64 growth = m_site.service.residentBytes() - before;
    QVERIFY2(growth < 8 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

void TestFrames::ignoresBytesBehindTheFields()
{
    const QByteArray body = askCard(5).mid(4) + "trailing bytes";
    m_site.admin.send(i32(body.size()) + body + askCard(6));
    SAYS(m_site.admin, emptyCard(5));
    SAYS(m_site.admin, emptyCard(6));
}

void TestFrames::saysNothingToFramesThatAreNotCommands()
{
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_On", 1));
    const QByteArray frames = support::action("About", "About", "data", support::red(), 3) +
                              support::frame(204, support::bytes("About") + support::bytes("data") + i32(3)) +
                              support::greeting("About");
    QVERIFY(m_site.client.send(frames + askCard(1)));
    SAYS(m_site.admin, emptyCard(1));
}

void TestFrames::watchEchoesEveryKindOfDataFrame()
{
    QVERIFY(m_site.client.send(support::commandWithNoData("Watch_Arrow_On", 1)));
    for (int kind = 0; kind < 256; ++kind) {
        if (kind == 200 || kind == 202 || kind == 203 || kind == 204)
            continue;
        const QByteArray block = hex("00") + " block " + i8(kind);
        QVERIFY(m_site.client.send(support::data(kind, block)));
        SAYS(m_site.admin, echo(kind, block));
    }
    // Type byte, message and colour once more as plain bytes.
    QVERIFY(m_site.client.send(hex("00 00 00 07 01 00 00 00 02 00 FF")));
    SAYS(m_site.admin,
         hex("00 00 00 2A CA 00 00 00 0B 57 61 74 63 68 5F 41 72 72 6F 77 00 00 00 01 31 00 00 00 02 00 FF"
             "01 FF FF 00 00 00 00 FF FF 00 00 FF FF FF FF"));
}

void TestFrames::watchDropsEmptyData_data()
{
    QTest::addColumn<QByteArray>("frame");
    QTest::newRow("empty block") << support::data(1, "");
    QTest::newRow("null block") << support::frame(1, support::null());
    QTest::newRow("no block") << support::frame(1, "");
    QTest::newRow("half a count") << support::frame(1, hex("00 00"));
}

void TestFrames::watchDropsEmptyData()
{
    QFETCH(QByteArray, frame);
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_On", 1) + frame);
    SAYS_NOTHING_MORE(m_site.admin);
}

void TestFrames::watchCountsForAllLinksAndIsSwitchedFromAny()
{
    QVERIFY(m_site.client.send(support::commandWithNoData("Watch_Arrow_On", 1) + support::data(2, "a")));
    SAYS(m_site.admin, echo(2, "a"));
    m_site.admin.send(support::data(3, "b"));
    SAYS(m_site.admin, echo(3, "b"));
    m_site.admin.send(support::commandWithNoData("Watch_Arrow_Off", 1));
    SAYS_NOTHING_MORE(m_site.admin);
    QVERIFY(m_site.client.send(support::data(4, "c") + askCard(1)));
    SAYS(m_site.admin, emptyCard(1));
    QVERIFY(m_site.client.isSilent());
}

void TestFrames::watchNamesAreExact_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("small letters") << QByteArray("watch_arrow_on");
    QTest::newRow("blank behind") << QByteArray("Watch_Arrow_On ");
    QTest::newRow("beginning only") << QByteArray("Watch_Arrow_O");
}

void TestFrames::watchNamesAreExact()
{
    QFETCH(QByteArray, name);
    m_site.admin.send(support::commandWithNoData(name, 1) + support::data(1, "a"));
    SAYS_NOTHING_MORE(m_site.admin);
}

void TestFrames::deliversWhatAClientSentBeforeItClosed()
{
    for (int caller = 1; caller <= 20; ++caller) {
        support::Wire wire = support::Wire::connectTo(m_site.service.serverPath());
        QVERIFY(wire.send(support::greeting("short visit") + askCard(caller) + askCard(caller + 100)));
        wire.close();
        SAYS(m_site.admin, emptyCard(caller));
        SAYS(m_site.admin, emptyCard(caller + 100));
    }
}

void TestFrames::survivesNoiseOnItsServer()
{
    QRandomGenerator random(20260131);
    const int descriptors = m_site.service.openDescriptors();
    const qint64 before = m_site.service.residentBytes();
    for (int round = 0; round < 300; ++round) {
        support::Wire wire = support::Wire::connectTo(m_site.service.serverPath());
        QByteArray noise;
        for (int part = 0; part < 5; ++part) {
            QByteArray piece = askCard(round);
            for (int change = random.bounded(0, 6); change > 0; --change)
                piece[random.bounded(int(piece.size()))] = char(random.bounded(256));
            noise += piece;
        }
        wire.send(noise); // the service may have cut the link already
        wire.close();
    }
    QVERIFY(support::ServiceProcess::waitUntil([&] { return m_site.service.openDescriptors() <= descriptors; }));
    QVERIFY2(m_site.service.residentBytes() - before < 8 * kMiB + support::kSanitizerBytes,
             qPrintable(QString::number(m_site.service.residentBytes() - before)));
    m_site.settle(); // some noise was a question
}

void TestFrames::adminLinkAboveTheLimitEndsTheProcess()
{
    QVERIFY(m_doomedAdmin.attend());
    SAYS(m_doomedAdmin, support::greeting(m_doomed.serverPath().toUtf8()));
    // What came before it in the same arrival is answered.
    m_doomedAdmin.send(support::commandWithNoData("About", 3) + i32(kFrameLimit + 1) + "abc");
    const QByteArray about = m_doomedAdmin.nextFrame();
    QVERIFY2(support::isAbout(about, 3), qPrintable(support::describe(about)));
    QCOMPARE(m_doomed.exitCode().value_or(-1), 5);
    QCOMPARE(m_doomed.logCount("Admin connection is closed. Stopping application."), 1);
}

QTEST_GUILESS_MAIN(TestFrames)
#include "test_frames.moc"

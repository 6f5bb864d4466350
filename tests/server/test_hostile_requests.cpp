// Requests that end early, promise what they do not hold, or are noise: nothing crashes, hangs or takes memory on a
// promise.

#include "conversation.h"
#include "installation.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using support::cardRecord;
using support::hex;
using support::i32;
using support::i8;
using support::savedCard;

namespace {

constexpr int kOperator = 4;
constexpr qint64 kMiB = 1 << 20;
constexpr int kQuickMs = 5000; // far above what a refusal takes and far below a loop over 2^31 records

QByteArray twoRecords()
{
    return cardRecord({-1, "first", "A", 1, "x", 't'}) + cardRecord({-1, "second", "B", 2, "y", 't'});
}

QByteArray wholeSave()
{
    return i32(17) + i32(2) + twoRecords();
}

QByteArray wholeUpdate()
{
    return i32(17) + i32(2) + i32(1) + cardRecord({-1, "old", "A", 1, "new", 't'}) + i32(2) +
           cardRecord({-1, "none", "B", 2, "y", 't'});
}

QByteArray wholeSet()
{
    return i8(1) + i32(2) + i32(17) + i32(18) + cardRecord({-1, "first", "A", 1, "x", 't'});
}

QByteArray wholeRemove()
{
    return i8(0) + i32(2) + i32(17) + i32(18) + support::text("old");
}

} // namespace

class TestHostileRequests : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void shortCardRequestAsksForObjectZero();
    void shortSaveReadsAsZerosAndEmpties();
    void shortUpdateLeavesTheMapEmpty();
    void shortSetReadsAsZerosAndEmpties();
    void shortRemoveReadsAsZerosAndEmpties();
    void everyCutOfAboutIsAnswered();
    void refusesCountBeyondPayload_data();
    void refusesCountBeyondPayload();
    void owesEmptyRowsForCountALittleTooLarge_data();
    void owesEmptyRowsForCountALittleTooLarge();
    void negativeCountIsNoRecord_data();
    void negativeCountIsNoRecord();
    void mapCountBeyondPayloadReadsAsEmpty_data();
    void mapCountBeyondPayloadReadsAsEmpty();
    void listCountBeyondPayloadReadsAsEmpty_data();
    void listCountBeyondPayloadReadsAsEmpty();
    void lyingLengthsInsideRecordsReadAsEmpty_data();
    void lyingLengthsInsideRecordsReadAsEmpty();
    void survivesNoise();

private:
    /// Sends the command and an "About" behind it; the frames that came in between. Fails by a null list element.
    QByteArrayList replies(const QByteArray &name, const QByteArray &request);
    QByteArrayList records();
    QStringList names(int object);

    support::Installation m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    qint64 m_residentBefore = 0;
    QElapsedTimer m_clock;
};

void TestHostileRequests::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestHostileRequests::init()
{
    m_site.settle();
    m_site.reset();
    m_site.database->run(
        "INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES (17,'old','v'), (0,'zero','v')");
    m_residentBefore = m_site.service.residentBytes();
    m_clock.start();
}

void TestHostileRequests::cleanup()
{
    m_admin.send(support::command("Get_object_card_v2", i32(4711), 3));
    SAYS(m_admin, support::answer("Get_object_card_v2", i32(4711) + i32(0), 3));
    QVERIFY(m_client.isSilent());
    QVERIFY(m_site.service.isRunning());
    const qint64 growth = m_site.service.residentBytes() - m_residentBefore;
    QVERIFY2(growth < 16 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

QByteArrayList TestHostileRequests::replies(const QByteArray &name, const QByteArray &request)
{
    m_admin.send(support::command(name, request, kOperator));
    QByteArrayList result;
    QByteArray next = m_admin.frameAfterAbout();
    while (!next.isEmpty() && !support::isAbout(next, m_admin.lastCaller())) {
        result.append(next);
        next = m_admin.nextFrame();
    }
    if (next.isEmpty())
        result.append("no answer to \"About\"");
    return result;
}

QByteArrayList TestHostileRequests::records()
{
    QByteArrayList result;
    while (!m_client.isSilent()) {
        const QByteArray frame = m_client.nextFrame();
        if (frame.size() < 42)
            return {"no record"};
        result.append(frame.mid(41, frame.size() - 42));
    }
    return result;
}

QStringList TestHostileRequests::names(int object)
{
    // A text that is cut inside reads as a null one, a missing text as an empty one: both are empty.
    return m_site.database->rows(
        QStringLiteral(
            "SELECT coalesce(\"Name\", '') FROM \"Objects_property\" WHERE \"Id_objects\" = %1 ORDER BY \"Id\"")
            .arg(object));
}

void TestHostileRequests::shortCardRequestAsksForObjectZero()
{
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects_property\" WHERE \"Id_objects\" = 0").toInt();
    const QByteArray card =
        i32(0) + i32(1) + i32(id) + support::text("zero") + support::null() + i32(0) + support::bytes("v");
    for (int size = 0; size < 4; ++size) {
        const QByteArrayList said = replies("Get_object_card_v2", i32(17).left(size));
        QCOMPARE(said.size(), 1);
        QVERIFY2(said[0].mid(4 + 1 + 22 + 22 + 4).startsWith(card), qPrintable(support::describe(said[0])));
    }
}

void TestHostileRequests::shortSaveReadsAsZerosAndEmpties()
{
    for (int size = 0; size < wholeSave().size(); ++size) {
        init();
        const QByteArrayList said = replies("Save_object_card_v2", wholeSave().left(size));
        const int object = size < 4 ? 0 : 17;
        QCOMPARE(said, QByteArrayList{savedCard(object)});
        QCOMPARE(records(), QByteArrayList{"User 'ivanov' save card with id=" + QByteArray::number(object)});
        QCOMPARE(names(17 - object), QStringList{object == 0 ? "old" : "zero"});
        // 8 bytes of head, 4 of id, then the first name of 4 + 10 bytes and later the second of 4 + 12.
        const QStringList first = {size < 26 ? "" : "first", size < 26 + 28 ? "" : "second"};
        if (size < 8)
            QCOMPARE(names(object), QStringList());
        else if (size < 26)
            QCOMPARE(names(object), first);
        else
            QCOMPARE(names(object).first(), first.first());
        QCOMPARE(names(object).size(), size < 8 ? 0 : 2);
    }
}

void TestHostileRequests::shortUpdateLeavesTheMapEmpty()
{
    for (int size = 0; size < wholeUpdate().size(); ++size) {
        QCOMPARE(replies("Update_object_card_field", wholeUpdate().left(size)), QByteArrayList());
        QCOMPARE(records(),
                 QByteArrayList{"User 'ivanov' update card with id=" + QByteArray::number(size < 4 ? 0 : 17)});
        QCOMPARE(
            m_site.database->rows("SELECT \"Id_objects\", \"Value\" FROM \"Objects_property\" ORDER BY \"Id_objects\""),
            QStringList({"0|\\x76", "17|\\x76"}));
    }
    QCOMPARE(replies("Update_object_card_field", wholeUpdate()), QByteArrayList{savedCard(17)});
    QCOMPARE(records().size(), 1);
}

void TestHostileRequests::shortSetReadsAsZerosAndEmpties()
{
    for (int size = 0; size < wholeSet().size(); ++size) {
        init();
        const QByteArrayList said = replies("Fix_property_multi_objs_v2", wholeSet().left(size));
        const QByteArrayList lines = records();
        if (size < 13) {
            QCOMPARE(said, QByteArrayList());
            QVERIFY(lines.isEmpty() || lines == QByteArrayList{"User 'ivanov' save cards with id="});
            QCOMPARE(names(17) + names(18) + names(0), QStringList({"old", "zero"}));
        } else {
            QCOMPARE(said, QByteArrayList({savedCard(17), savedCard(18)}));
            QCOMPARE(lines, QByteArrayList{"User 'ivanov' save cards with id=17,18"});
            const QString name = size < 13 + 18 ? "" : "first";
            QCOMPARE(names(17), QStringList({"old", name}));
            QCOMPARE(names(18), QStringList(name));
        }
    }
}

void TestHostileRequests::shortRemoveReadsAsZerosAndEmpties()
{
    for (int size = 0; size < wholeRemove().size(); ++size) {
        QCOMPARE(replies("Fix_property_multi_objs_v2", wholeRemove().left(size)), QByteArrayList());
        const QByteArrayList lines = records();
        if (size < 13)
            QVERIFY(lines.isEmpty() || lines == QByteArrayList{"User 'ivanov' save cards with id="});
        else
            QCOMPARE(lines, QByteArrayList{"User 'ivanov' save cards with id=17,18"});
        QCOMPARE(names(17), QStringList("old"));
    }
    QCOMPARE(replies("Fix_property_multi_objs_v2", wholeRemove()), QByteArrayList());
    QCOMPARE(records().size(), 1);
    QCOMPARE(names(17), QStringList());
}

void TestHostileRequests::everyCutOfAboutIsAnswered()
{
    for (int size = 0; size < wholeSave().size(); ++size) {
        const QByteArrayList said = replies("About", wholeSave().left(size));
        QCOMPARE(said.size(), 1);
        QVERIFY2(support::isAbout(said[0], kOperator), qPrintable(support::describe(said[0])));
    }
}

void TestHostileRequests::refusesCountBeyondPayload_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<QByteArray>("records");
    QTest::newRow("1025 without a byte") << qint64(1025) << QByteArray();
    QTest::newRow("1025 beyond the bytes") << qint64(twoRecords().size() + 1025) << twoRecords();
    QTest::newRow("a million") << qint64(1000000) << twoRecords();
    QTest::newRow("2^31 - 1") << qint64(0x7FFFFFFF) << twoRecords();
}

void TestHostileRequests::refusesCountBeyondPayload()
{
    QFETCH(qint64, count);
    QFETCH(QByteArray, records);
    const qsizetype lines = m_site.service.log().size();
    QCOMPARE(replies("Save_object_card_v2", i32(17) + i32(count) + records), QByteArrayList());
    QVERIFY(m_client.isSilent());
    QCOMPARE(names(17), QStringList("old"));
    QCOMPARE(m_site.service.log().size(), lines + 1);
    QVERIFY2(m_site.service.logTexts().last().contains("Save_object_card_v2"),
             qPrintable(m_site.service.logTexts().last()));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestHostileRequests::owesEmptyRowsForCountALittleTooLarge_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<QByteArray>("records");
    QTest::addColumn<int>("whole");
    QTest::newRow("one of none") << qint64(1) << QByteArray() << 0;
    QTest::newRow("five of two") << qint64(5) << twoRecords() << 2;
    QTest::newRow("1024 without a byte") << qint64(1024) << QByteArray() << 0;
    QTest::newRow("1024 beyond the bytes") << qint64(twoRecords().size() + 1024) << twoRecords() << 2;
}

void TestHostileRequests::owesEmptyRowsForCountALittleTooLarge()
{
    QFETCH(qint64, count);
    QFETCH(QByteArray, records);
    QFETCH(int, whole);
    const qsizetype lines = m_site.service.log().size();
    QCOMPARE(replies("Save_object_card_v2", i32(17) + i32(count) + records), QByteArrayList{savedCard(17)});
    QCOMPARE(this->records(), QByteArrayList{"User 'ivanov' save card with id=17"});
    QCOMPARE(names(17).mid(0, whole), QStringList({"first", "second"}).mid(0, whole));
    const QString empty =
        "SELECT count(*) FROM \"Objects_property\" WHERE \"Id_objects\" = 17 AND coalesce(\"Name\",'') = '' "
        "AND coalesce(\"Description\",'') = '' AND \"Type\" = 0 AND coalesce(\"Value\",'') = '' AND \"Visible\" IS "
        "NULL";
    QCOMPARE(m_site.database->value(empty).toLongLong(), count - whole);
    QCOMPARE(names(17).size(), count);
    QCOMPARE(m_site.service.log().size(), lines);
}

void TestHostileRequests::negativeCountIsNoRecord_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestHostileRequests::negativeCountIsNoRecord()
{
    QFETCH(qint64, count);
    QCOMPARE(replies("Save_object_card_v2", i32(17) + i32(count) + twoRecords()), QByteArrayList{savedCard(17)});
    QCOMPARE(records(), QByteArrayList{"User 'ivanov' save card with id=17"});
    QCOMPARE(names(17), QStringList());
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestHostileRequests::mapCountBeyondPayloadReadsAsEmpty_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("3 of 2") << qint64(3);
    QTest::newRow("5000 of 2") << qint64(5000);
    QTest::newRow("2^31 - 1") << qint64(0x7FFFFFFF);
    QTest::newRow("2^32 - 2") << qint64(0xFFFFFFFE);
    QTest::newRow("2^32 - 1") << qint64(0xFFFFFFFF);
}

void TestHostileRequests::mapCountBeyondPayloadReadsAsEmpty()
{
    QFETCH(qint64, count);
    QCOMPARE(replies("Update_object_card_field", wholeUpdate().replace(4, 4, i32(count))), QByteArrayList());
    QCOMPARE(records(), QByteArrayList{"User 'ivanov' update card with id=17"});
    QCOMPARE(
        m_site.database->value("SELECT \"Value\" FROM \"Objects_property\" WHERE \"Id_objects\" = 17").toByteArray(),
        QByteArray("v"));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestHostileRequests::listCountBeyondPayloadReadsAsEmpty_data()
{
    QTest::addColumn<qint64>("count");
    QTest::addColumn<bool>("sets");
    for (const bool sets : {true, false}) {
        const QByteArray mode = sets ? "set " : "remove ";
        QTest::newRow((mode + "5000").constData()) << qint64(5000) << sets;
        QTest::newRow((mode + "2^31 - 1").constData()) << qint64(0x7FFFFFFF) << sets;
        QTest::newRow((mode + "2^32 - 2").constData()) << qint64(0xFFFFFFFE) << sets;
        QTest::newRow((mode + "2^32 - 1").constData()) << qint64(0xFFFFFFFF) << sets;
    }
}

void TestHostileRequests::listCountBeyondPayloadReadsAsEmpty()
{
    QFETCH(qint64, count);
    QFETCH(bool, sets);
    QByteArray request = sets ? wholeSet() : wholeRemove();
    QCOMPARE(replies("Fix_property_multi_objs_v2", request.replace(1, 4, i32(count))), QByteArrayList());
    const QByteArrayList lines = records();
    QVERIFY(lines.isEmpty() || lines == QByteArrayList{"User 'ivanov' save cards with id="});
    QCOMPARE(names(17) + names(18) + names(0), QStringList({"old", "zero"}));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestHostileRequests::lyingLengthsInsideRecordsReadAsEmpty_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("name of 2 GiB") << i32(1) + hex("7F FF FF FE 00 61") + i32(0);
    QTest::newRow("name of 4 GiB") << i32(1) + hex("FF FF FF FE 00 61") + i32(0);
    QTest::newRow("name of an odd length") << i32(1) + hex("00 00 00 03 00 61 00");
    QTest::newRow("value of 2 GiB") << i32(1) + support::text("") + support::text("") + i32(0) + hex("7F FF FF FF 61");
    QTest::newRow("value of 4 GiB") << i32(1) + support::text("") + support::text("") + i32(0) + hex("FF FF FF FE 61");
}

void TestHostileRequests::lyingLengthsInsideRecordsReadAsEmpty()
{
    QFETCH(QByteArray, record);
    QCOMPARE(replies("Save_object_card_v2", i32(17) + i32(1) + record), QByteArrayList{savedCard(17)});
    QCOMPARE(records(), QByteArrayList{"User 'ivanov' save card with id=17"});
    QCOMPARE(names(17), QStringList(""));
    QCOMPARE(
        m_site.database->value("SELECT coalesce(\"Value\", '') FROM \"Objects_property\" WHERE \"Id_objects\" = 17")
            .toByteArray(),
        QByteArray(""));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestHostileRequests::survivesNoise()
{
    QRandomGenerator random(20260131);
    const QByteArrayList names = {"Get_object_card_v2", "Save_object_card_v2", "Update_object_card_field",
                                  "Fix_property_multi_objs_v2"};
    const QByteArrayList whole = {i32(17), wholeSave(), wholeUpdate(), wholeSet()};
    for (int round = 0; round < 400; ++round) {
        const int which = round % 4;
        QByteArray request = whole[which];
        for (int change = random.bounded(1, 5); change > 0; --change)
            request[random.bounded(int(request.size()))] = char(random.bounded(256));
        const QByteArrayList said = replies(names[which], request);
        QVERIFY2(!said.contains("no answer to \"About\""), request.toHex(' ').constData());
        records();
    }
}

QTEST_GUILESS_MAIN(TestHostileRequests)
#include "test_hostile_requests.moc"

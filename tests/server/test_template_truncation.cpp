// Requests about templates that end early or promise what they do not hold.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using support::bytes;
using support::cardRecord;
using support::commandData;
using support::commandRecord;
using support::hex;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::parameterData;
using support::parameterRecord;
using support::propertyData;
using support::sensorData;
using support::sensorRecord;
using support::text;

namespace {

constexpr int kOperator = 4;
constexpr qint64 kMiB = 1 << 20;
constexpr int kQuickMs = 5000; // far above what a refusal takes and far below a loop over 2^31 records

QByteArray oneProperty()
{
    return cardRecord({-1, "first", "A", 1, "x", 't'});
}

QByteArray wholeCard()
{
    return i32(5) + i32(2) + oneProperty() + cardRecord({-1, "second", "B", 2, "y", 'f'});
}

QByteArray oneSensor()
{
    return sensorRecord({"sensor", "m", 1, 7, 't', {"on", "off"}, "x+1", "rate"});
}

QByteArray wholeSensors()
{
    return i32(5) + i32(2) + oneSensor() + oneSensor();
}

QByteArray wholeControls()
{
    return i32(5) + i32(2) +
           commandRecord({.name = "first", .description = "d", .operation = 1, .execBy = "e", .numParams = 1}) +
           parameterRecord({"p", "v", "q", 2}) + commandRecord({.name = "second", .numParams = 2}) +
           parameterRecord({"r"}) + parameterRecord({"s"});
}

QByteArray wholeCreation()
{
    return i32(5) + i32(3) + text("modem") + text("1") + text("name") + text("a") + text("subdivision") + text("s");
}

QByteArray wholeCopy()
{
    return i32(5) + text("copy");
}

} // namespace

class TestTemplateTruncation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void everyBeginningIsSurvived_data();
    void everyBeginningIsSurvived();
    void shortReadsAskForTemplateZero();
    void shortSelectorCreatesATemplateWithoutTitle_data();
    void shortSelectorCreatesATemplateWithoutTitle();
    void shortTitleRenamesToNothing();
    void shortCardOwesEmptyProperties();
    void shortSensorsOweEmptySensors();
    void shortControlsOweEmptyCommands();
    void shortIdentityCreatesNothing();
    void shortTitleCopiesUnderNone();
    void refusesCountBeyondPayload_data();
    void refusesCountBeyondPayload();
    void owesRecordsForCountALittleTooLarge_data();
    void owesRecordsForCountALittleTooLarge();
    void negativeCountIsNoRecord_data();
    void negativeCountIsNoRecord();
    void identityCountBeyondPayloadReadsAsEmpty_data();
    void identityCountBeyondPayloadReadsAsEmpty();
    void lyingLengthsInsideRecordsReadAsEmpty_data();
    void lyingLengthsInsideRecordsReadAsEmpty();
    void survivesNoise();

private:
    /// The one frame that answers the command; something else where there is not just one.
    QByteArray reply(const QByteArray &name, const QByteArray &request);
    QString ofClass(char kind, int owner, const QString &more = QStringLiteral("true"));
    /// Nothing when the supplied templates and template 6 are as they were and every parameter has a command.
    QString inconsistency();

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    QStringList m_untouched;
    qint64 m_residentBefore = 0;
    QElapsedTimer m_clock;
};

void TestTemplateTruncation::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateTruncation::init()
{
    m_site.beginFunction();
    for (const QString &table : {kOwn, kSupplied}) {
        for (const int number : {0, 5, 6}) {
            const int id = number * 10 + 1;
            const QString name = "old " + QString::number(number);
            m_site.give(table, id, {number, 't', {}, name, {}});
            m_site.give(table, id + 1, {number, 'p', name, "", propertyData(1, "v", 't')});
            m_site.give(table, id + 2, {number, 's', "", name, sensorData({})});
            m_site.give(table, id + 3, {number, 'c', name, "", commandData(1, "")});
            m_site.give(table, id + 4, {id + 3, 'd', "p", "", parameterData("", 1)});
        }
    }
    m_untouched = m_site.written(kSupplied) + m_site.written(kOwn).filter("old 6");
    m_residentBefore = m_site.service.residentBytes();
    m_clock.start();
}

void TestTemplateTruncation::cleanup()
{
    const QString broken = inconsistency();
    QVERIFY2(broken.isEmpty(), qPrintable(broken));
    const QString leftover = m_site.leftover(int(m_site.newLogLines().size()));
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
    const qint64 growth = m_site.service.residentBytes() - m_residentBefore;
    QVERIFY2(growth < 16 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

QByteArray TestTemplateTruncation::reply(const QByteArray &name, const QByteArray &request)
{
    const QByteArrayList said = m_site.replies(name, request);
    return said.size() == 1 ? said[0] : QByteArray::number(said.size()) + " frames: " + said.join().toHex(' ');
}

QString TestTemplateTruncation::ofClass(char kind, int owner, const QString &more)
{
    return m_site.count(kOwn, QStringLiteral("\"Class\" = '%1' AND \"Owner\" = %2 AND %3")
                                  .arg(QString(QChar::fromLatin1(kind)), QString::number(owner), more));
}

QString TestTemplateTruncation::inconsistency()
{
    if (m_site.written(kSupplied) + m_site.written(kOwn).filter("old 6") != m_untouched)
        return "somebody else's rows were changed";
    const QString orphans = m_site.count(kOwn, "\"Class\" = 'd' AND \"Owner\" NOT IN (SELECT \"Id\" FROM \"Templates\" "
                                               "WHERE \"Class\" = 'c')");
    return orphans == "0" ? QString() : orphans + " parameters of no command";
}

void TestTemplateTruncation::everyBeginningIsSurvived_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    const auto row = [](const char *title, const char *name, const QByteArray &request) {
        QTest::newRow(title) << QByteArray(name) << request;
    };
    row("list", "Get_template_list_v2", i32(5));
    row("create", "Fix_template_desc_v2", i32(0) + bytes("title"));
    row("rename", "Fix_template_desc_v2", i32(5) + bytes("title"));
    row("delete", "Fix_template_desc_v2", i32(-5));
    row("read card", "Get_template_card_v2", i32(5));
    row("read supplied card", "Get_template_card_v2", i32(-5));
    row("save card", "Save_template_card_v2", wholeCard());
    row("read sensors", "Get_template_sensors_v2", i32(5));
    row("read supplied sensors", "Get_template_sensors_v2", i32(-5));
    row("save sensors", "Save_template_sensors_v2", wholeSensors());
    row("read controls", "Get_template_controls_v2", i32(5));
    row("read supplied controls", "Get_template_controls_v2", i32(-5));
    row("save controls", "Save_template_controls_v2", wholeControls());
    row("create object", "Create_obj_by_template_v2", wholeCreation());
    row("copy", "Copy_template_v2", wholeCopy());
    row("copy supplied", "Copy_template_v2", i32(-5) + text("copy"));
}

void TestTemplateTruncation::everyBeginningIsSurvived()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    for (int size = 0; size <= request.size(); ++size) {
        // The next command works, and its template is as it was.
        m_admin.send(support::command(name, request.left(size), kOperator) +
                     support::command("Get_template_card_v2", i32(6), 77));
        const QByteArray said = m_admin.nextFrame();
        QVERIFY2(said.mid(4).startsWith(hex("CA") + bytes(name) + bytes(name)), qPrintable(support::describe(said)));
        if (name == "Create_obj_by_template_v2" && size == request.size())
            SAYS(m_admin, support::savedCard(1000));
        SAYS(m_admin,
             support::answer("Get_template_card_v2", i32(6) + i32(1) + cardRecord({62, "old 6", "", 1, "v", 't'}), 77));
        SAYS_NOTHING_MORE(m_admin);
        QCOMPARE(m_site.recordedLines(), QByteArrayList());
        QCOMPARE(inconsistency(), QString());
    }
    // None of them is an error to the database.
    QCOMPARE(m_site.newLogLines(), QStringList());
}

void TestTemplateTruncation::shortReadsAskForTemplateZero()
{
    for (int size = 0; size < 4; ++size) {
        const QByteArray request = i32(-5).left(size);
        QCOMPARE(reply("Get_template_card_v2", request),
                 support::answer("Get_template_card_v2", i32(0) + i32(1) + cardRecord({2, "old 0", "", 1, "v", 't'}),
                                 kOperator));
        QCOMPARE(
            reply("Get_template_sensors_v2", request),
            support::answer("Get_template_sensors_v2", i32(0) + i32(1) + sensorRecord({.name = "old 0"}), kOperator));
        QCOMPARE(reply("Get_template_controls_v2", request),
                 support::answer("Get_template_controls_v2",
                                 i32(0) + i32(1) +
                                     commandRecord({.name = "old 0", .operation = 1, .numParams = 1, .id = 4}) +
                                     parameterRecord({.name = "p", .type = 1, .id = 5}),
                                 kOperator));
    }
}

void TestTemplateTruncation::shortSelectorCreatesATemplateWithoutTitle_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("rename") << i32(5) + bytes("title");
    QTest::newRow("delete") << i32(-5);
    QTest::newRow("no byte is zero") << hex("7F FF FF FF");
}

void TestTemplateTruncation::shortSelectorCreatesATemplateWithoutTitle()
{
    QFETCH(QByteArray, request);
    for (int size = 0; size < 4; ++size) {
        init();
        QCOMPARE(reply("Fix_template_desc_v2", request.left(size)),
                 support::emptyAnswer("Fix_template_desc_v2", kOperator));
        QCOMPARE(ofClass('t', 7, "coalesce(\"Description\", '') = ''"), "1");
        QCOMPARE(m_site.count(kOwn), "16");
    }
}

void TestTemplateTruncation::shortTitleRenamesToNothing()
{
    const QByteArray whole = i32(5) + bytes("title");
    for (int size = 4; size <= whole.size(); ++size) {
        init();
        QCOMPARE(reply("Fix_template_desc_v2", whole.left(size)),
                 support::emptyAnswer("Fix_template_desc_v2", kOperator));
        QCOMPARE(m_site.database
                     ->value("SELECT coalesce(\"Description\", '') FROM \"Templates\" WHERE \"Class\" = 't' "
                             "AND \"Owner\" = 5")
                     .toString(),
                 size < whole.size() ? "" : "title");
        QCOMPARE(m_site.count(kOwn), "15");
    }
}

void TestTemplateTruncation::shortCardOwesEmptyProperties()
{
    const QByteArray whole = wholeCard();
    // Eight bytes of head, then a record that begins with an id and a name of 4 + 10 or 4 + 12 bytes.
    const int firstName = 8 + 4 + 4 + 10;
    const int secondName = int(8 + oneProperty().size()) + 4 + 4 + 12;
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(reply("Save_template_card_v2", whole.left(size)),
                 support::emptyAnswer("Save_template_card_v2", kOperator));
        QCOMPARE(ofClass('p', 0), size < 4 ? "0" : "1");
        QCOMPARE(ofClass('p', 5), size < 4 ? "1" : size < 8 ? "0" : "2");
        QCOMPARE(ofClass('p', 5, "\"Name\" = 'first'"), size < firstName ? "0" : "1");
        QCOMPARE(ofClass('p', 5, "\"Name\" = 'second'"), size < secondName ? "0" : "1");
        QCOMPARE(ofClass('p', 5, "coalesce(\"Name\", '') = ''"),
                 size < 8 ? "0" : QString::number((size < firstName) + (size < secondName)));
        QCOMPARE(m_site.count(kOwn, "\"Class\" <> 'p'"), "12");
    }
}

void TestTemplateTruncation::shortSensorsOweEmptySensors()
{
    const QByteArray whole = wholeSensors();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(reply("Save_template_sensors_v2", whole.left(size)),
                 support::emptyAnswer("Save_template_sensors_v2", kOperator));
        QCOMPARE(ofClass('s', 0), size < 4 ? "0" : "1");
        QCOMPARE(ofClass('s', 5), size < 4 ? "1" : size < 8 ? "0" : "2");
        // A record begins with the sensor's name of 4 + 12 bytes.
        const int named = size < 8 ? 0 : (size >= 8 + 16) + (size >= 8 + oneSensor().size() + 16);
        QCOMPARE(ofClass('s', 5, "\"Description\" = 'sensor' AND \"Name\" = ''"), QString::number(named));
        QCOMPARE(m_site.count(kOwn, "\"Class\" <> 's'"), "12");
    }
}

void TestTemplateTruncation::shortControlsOweEmptyCommands()
{
    const QByteArray whole = wholeControls();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(reply("Save_template_controls_v2", whole.left(size)),
                 support::emptyAnswer("Save_template_controls_v2", kOperator));
        QCOMPARE(ofClass('c', 0), size < 4 ? "0" : "1");
        QCOMPARE(ofClass('c', 5), size < 4 ? "1" : size < 8 ? "0" : "2");
        QCOMPARE(inconsistency(), QString());
        QCOMPARE(m_site.count(kOwn, "\"Class\" NOT IN ('c', 'd')"), "9");
    }
    QCOMPARE(m_site.commandNames(5), QStringList({"first p", "second r s"}));
}

void TestTemplateTruncation::shortIdentityCreatesNothing()
{
    const QByteArray whole = wholeCreation();
    for (int size = 0; size < whole.size(); ++size)
        QCOMPARE(reply("Create_obj_by_template_v2", whole.left(size)),
                 support::answer("Create_obj_by_template_v2", i32(1), kOperator));
    QCOMPARE(m_site.count("Objects") + m_site.count("Objects_property"), "00");
    QCOMPARE(
        m_site.replies("Create_obj_by_template_v2", whole),
        QByteArrayList({support::answer("Create_obj_by_template_v2", i32(0), kOperator), support::savedCard(1000)}));
}

void TestTemplateTruncation::shortTitleCopiesUnderNone()
{
    const QByteArray whole = wholeCopy();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(reply("Copy_template_v2", whole.left(size)), support::answer("Copy_template_v2", i32(0), kOperator));
        QCOMPARE(ofClass('t', 7, "coalesce(\"Description\", '') = ''"), size < whole.size() ? "1" : "0");
        QCOMPARE(ofClass('t', 7, "\"Description\" = 'copy'"), size < whole.size() ? "0" : "1");
        QCOMPARE(m_site.commandNames(7), QStringList(size < 4 ? "old 0 p" : "old 5 p"));
        QCOMPARE(m_site.count(kOwn), "20");
    }
}

void TestTemplateTruncation::refusesCountBeyondPayload_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    const QByteArray good = commandRecord({.name = "good", .numParams = 1}) + parameterRecord({"p"});
    const QByteArray negative = commandRecord({.name = "good", .numParams = -1});
    for (const qint64 count : {qint64(1025), qint64(1000000), qint64(0x7FFFFFFF)}) {
        const auto row = [count](const char *title, const char *name, const QByteArray &request) {
            QTest::addRow("%s, %lld", title, static_cast<long long>(count)) << QByteArray(name) << request;
        };
        const auto behind = [count](const QByteArray &record) {
            return i32(5) + i32(count + (count < 2000 ? record.size() : 0)) + record;
        };
        const QByteArray bad = commandRecord({.name = "bad", .numParams = count});
        row("properties", "Save_template_card_v2", i32(5) + i32(count));
        row("properties behind one", "Save_template_card_v2", behind(oneProperty()));
        row("sensors", "Save_template_sensors_v2", i32(5) + i32(count));
        row("sensors behind one", "Save_template_sensors_v2", behind(oneSensor()));
        row("commands", "Save_template_controls_v2", i32(5) + i32(count));
        row("parameters", "Save_template_controls_v2", i32(5) + i32(1) + bad);
        row("parameters of the second command", "Save_template_controls_v2", i32(5) + i32(2) + good + bad);
        row("parameters behind a negative count", "Save_template_controls_v2", i32(5) + i32(2) + negative + bad);
    }
}

void TestTemplateTruncation::refusesCountBeyondPayload()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    const QStringList before = m_site.written(kOwn);
    const QByteArrayList said = m_site.replies(name, request);
    QVERIFY2(said.isEmpty() || said == QByteArrayList{support::emptyAnswer(name, kOperator)},
             qPrintable(support::describe(said.value(0))));
    QCOMPARE(m_site.written(kOwn), before);
    QCOMPARE(m_site.newLogLines().size(), 1);
    QVERIFY2(m_site.newLogLines().value(0).contains(name), qPrintable(m_site.newLogLines().value(0)));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestTemplateTruncation::owesRecordsForCountALittleTooLarge_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("rows");
    const QByteArray parameter = parameterRecord({"p"});
    // Three rows of every class are there, one of them of template 5.
    QTest::newRow("properties") << QByteArray("Save_template_card_v2") << i32(5) + i32(1024) << "p" << 1024 + 2;
    QTest::newRow("sensors") << QByteArray("Save_template_sensors_v2") << i32(5) + i32(1024) << "s" << 1024 + 2;
    QTest::newRow("commands") << QByteArray("Save_template_controls_v2") << i32(5) + i32(1024) << "c" << 1024 + 2;
    QTest::newRow("parameters") << QByteArray("Save_template_controls_v2")
                                << i32(5) + i32(1) + commandRecord({.name = "c", .numParams = 1024}) << "d" << 1024 + 2;
    QTest::newRow("parameters behind one")
        << QByteArray("Save_template_controls_v2")
        << i32(5) + i32(1) + commandRecord({.name = "c", .numParams = 1024 + parameter.size()}) + parameter << "d"
        << int(1024 + parameter.size()) + 2;
}

void TestTemplateTruncation::owesRecordsForCountALittleTooLarge()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(QString, kind);
    QFETCH(int, rows);
    QCOMPARE(reply(name, request), support::emptyAnswer(name, kOperator));
    QCOMPARE(m_site.count(kOwn, "\"Class\" = '" + kind + "'"), QString::number(rows));
    QCOMPARE(m_site.newLogLines(), QStringList());
}

void TestTemplateTruncation::negativeCountIsNoRecord_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestTemplateTruncation::negativeCountIsNoRecord()
{
    QFETCH(qint64, count);
    const QByteArray head = i32(5) + i32(count);
    for (const auto &[name, request] :
         {std::pair<QByteArray, QByteArray>{"Save_template_card_v2", head + oneProperty()},
          std::pair<QByteArray, QByteArray>{"Save_template_sensors_v2", head + oneSensor()},
          std::pair<QByteArray, QByteArray>{"Save_template_controls_v2", head + commandRecord({.name = "c"})}})
        QCOMPARE(reply(name, request), support::emptyAnswer(name, kOperator));
    QCOMPARE(ofClass('t', 5), "1");
    QCOMPARE(ofClass('p', 5) + ofClass('s', 5) + ofClass('c', 5), "000");
    QCOMPARE(m_site.count(kOwn), "11");
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestTemplateTruncation::identityCountBeyondPayloadReadsAsEmpty_data()
{
    QTest::addColumn<qint64>("count");
    for (const qint64 count : {qint64(4), qint64(5000), qint64(0x7FFFFFFF), qint64(0xFFFFFFFE), qint64(0xFFFFFFFF)})
        QTest::addRow("%lld", static_cast<long long>(count)) << count;
}

void TestTemplateTruncation::identityCountBeyondPayloadReadsAsEmpty()
{
    QFETCH(qint64, count);
    QByteArray request = wholeCreation();
    request.replace(4, 4, i32(count));
    QCOMPARE(reply("Create_obj_by_template_v2", request),
             support::answer("Create_obj_by_template_v2", i32(1), kOperator));
    QCOMPARE(m_site.count("Objects") + m_site.count("Objects_property"), "00");
    QVERIFY(m_site.newLogLines().size() <= 1);
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestTemplateTruncation::lyingLengthsInsideRecordsReadAsEmpty_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QString>("kind");
    const auto rows = [](const char *title, const QByteArray &lie) {
        const QByteArray head = i32(5) + i32(1);
        const auto row = [title](const char *what, const char *name, const QByteArray &request, const char *kind) {
            QTest::addRow("%s of %s", what, title) << QByteArray(name) << request << QString(kind);
        };
        row("property", "Save_template_card_v2", head + i32(0) + lie, "p");
        row("sensor", "Save_template_sensors_v2", head + lie, "s");
        row("command", "Save_template_controls_v2", head + i32(0) + lie, "c");
    };
    rows("2 GiB", hex("7F FF FF FE 00 61"));
    rows("4 GiB", hex("FF FF FF FE 00 61"));
    rows("an odd length", hex("00 00 00 03 00 61 00"));
}

void TestTemplateTruncation::lyingLengthsInsideRecordsReadAsEmpty()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(QString, kind);
    QCOMPARE(reply(name, request), support::emptyAnswer(name, kOperator));
    QCOMPARE(m_site.database->rows("SELECT coalesce(\"Name\", ''), coalesce(\"Description\", '') FROM \"Templates\" "
                                   "WHERE \"Owner\" = 5 AND \"Class\" = '" +
                                   kind + "'"),
             QStringList("|"));
    QCOMPARE(m_site.newLogLines(), QStringList());
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestTemplateTruncation::survivesNoise()
{
    QRandomGenerator random(20260131);
    const QByteArrayList names = {"Fix_template_desc_v2",      "Save_template_card_v2",     "Save_template_sensors_v2",
                                  "Save_template_controls_v2", "Create_obj_by_template_v2", "Copy_template_v2"};
    const QByteArrayList whole = {i32(5) + bytes("title"), wholeCard(),     wholeSensors(),
                                  wholeControls(),         wholeCreation(), wholeCopy()};
    for (int round = 0; round < 600; ++round) {
        const int which = round % int(names.size());
        QByteArray request = whole[which];
        for (int change = random.bounded(1, 5); change > 0; --change)
            request[random.bounded(int(request.size()))] = char(random.bounded(256));
        // The number stays: nobody else's template is meant.
        request.replace(0, 4, whole[which].left(4));
        const QByteArrayList said = m_site.replies(names[which], request);
        QVERIFY2(said.isEmpty() || said[0].mid(4).startsWith(hex("CA") + bytes(names[which])),
                 request.toHex(' ').constData());
        QCOMPARE(m_site.recordedLines(), QByteArrayList());
    }
}

QTEST_GUILESS_MAIN(TestTemplateTruncation)
#include "test_template_truncation.moc"

// Requests about objects, sensors, commands and the tree that end early or promise what they do not hold.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using support::commandRecord;
using support::hex;
using support::i32;
using support::i8;
using support::numbers;
using support::parameterRecord;
using support::savedCard;
using support::sensorRecord;
using support::text;

namespace {

constexpr int kOperator = 4;
constexpr qint64 kMiB = 1 << 20;
constexpr int kQuickMs = 5000; // far above what a refusal takes and far below a loop over 2^31 records

QByteArray oneSensor()
{
    return sensorRecord({"sensor", "m", 1, 7, 't', {"on", "off"}, "x+1", "rate"});
}

QByteArray twoCommands()
{
    return commandRecord({.name = "first", .description = "d", .operation = 1, .execBy = "e", .numParams = 1}) +
           parameterRecord({"p", "v", "q", 2}) + commandRecord({.name = "second", .numParams = 2}) +
           parameterRecord({"r"}) + parameterRecord({"s"});
}

QByteArray wholeTree()
{
    return i32(2) + i32(5) + i32(0) + support::bytes("top") + i32(6) + i32(5) + support::bytes("child") + i32(2) +
           i32(6) + i32(17) + i32(5) + i32(18);
}

QByteArray wholeSensorSave()
{
    return i32(17) + i32(2) + oneSensor() + oneSensor();
}

QByteArray wholeCommandSave()
{
    return i32(17) + i32(2) + twoCommands();
}

QByteArray onBoth(int mode, const QByteArray &rest)
{
    return i8(mode) + numbers({17, 18}) + rest;
}

QByteArray oneCommand(qint64 numParams)
{
    return commandRecord({.name = "old", .numParams = numParams}) + parameterRecord({"p"});
}

} // namespace

class TestRegistryTruncation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void everyBeginningIsSurvived_data();
    void everyBeginningIsSurvived();
    void shortReadsAskForObjectZero();
    void shortSelectorCreatesAnObjectWithoutName_data();
    void shortSelectorCreatesAnObjectWithoutName();
    void shortNameRenamesToNothing();
    void shortSensorSaveOwesEmptySensors();
    void shortCommandSaveOwesEmptyCommands();
    void shortListSetsNothing_data();
    void shortListSetsNothing();
    void shortRemovalRemovesNothing_data();
    void shortRemovalRemovesNothing();
    void shortTreeOwesEmptyGroups();
    void refusesCountBeyondPayload_data();
    void refusesCountBeyondPayload();
    void owesRecordsForCountALittleTooLarge_data();
    void owesRecordsForCountALittleTooLarge();
    void negativeCountIsNoRecord_data();
    void negativeCountIsNoRecord();
    void listCountBeyondPayloadReadsAsEmpty_data();
    void listCountBeyondPayloadReadsAsEmpty();
    void lyingLengthsInsideRecordsReadAsEmpty_data();
    void lyingLengthsInsideRecordsReadAsEmpty();
    void survivesNoise();

private:
    /// Every row that any of these commands may change.
    QStringList everything();
    QString counted(const QString &table, const QString &condition = "true");

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    qint64 m_residentBefore = 0;
    QElapsedTimer m_clock;
};

void TestRegistryTruncation::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestRegistryTruncation::init()
{
    m_site.beginFunction();
    for (const char *statement :
         {"INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES (17,'name','old'), "
          "(0,'name','zero')",
          "INSERT INTO \"Sensors\" (\"Id_objects\",\"Name\",\"Type\",\"Enum\") VALUES (17,'old',7,''), "
          "(18,'old',7,''), (0,'zero',7,'')",
          "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\") VALUES (-1,17,'old',1), "
          "(-2,18,'old',1), (-3,0,'zero',1)",
          "INSERT INTO \"Params\" (\"Id_command\",\"Name\") VALUES (-1,'p'), (-2,'p')",
          "INSERT INTO \"Groups\" VALUES (1,'old',true)", "INSERT INTO \"Groups_groups\" VALUES (1,2)",
          "INSERT INTO \"Groups_objects\" VALUES (1,17)"})
        m_site.database->run(statement);
    m_residentBefore = m_site.service.residentBytes();
    m_clock.start();
}

void TestRegistryTruncation::cleanup()
{
    const QString leftover = m_site.leftover(int(m_site.newLogLines().size()));
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
    const qint64 growth = m_site.service.residentBytes() - m_residentBefore;
    QVERIFY2(growth < 16 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
}

QStringList TestRegistryTruncation::everything()
{
    QStringList result;
    for (const char *table :
         {"Objects", "Objects_property", "Sensors", "Commands", "Params", "Groups", "Groups_groups", "Groups_objects"})
        result +=
            m_site.database->rows(QStringLiteral("SELECT * FROM \"%1\" AS r ORDER BY r::text").arg(table)).join("; ");
    return result;
}

QString TestRegistryTruncation::counted(const QString &table, const QString &condition)
{
    return m_site.database->value(QStringLiteral("SELECT count(*) FROM \"%1\" WHERE %2").arg(table, condition))
        .toString();
}

void TestRegistryTruncation::everyBeginningIsSurvived_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    const auto row = [](const char *title, const char *name, const QByteArray &request) {
        QTest::newRow(title) << QByteArray(name) << request;
    };
    row("create", "Fix_object_v2", i32(0) + support::bytes("name"));
    row("rename", "Fix_object_v2", i32(17) + support::bytes("name"));
    row("delete", "Fix_object_v2", i32(-17));
    row("read sensors", "Get_sensors_v2", i32(17));
    row("save sensors", "Save_sensors_v2", wholeSensorSave());
    row("set sensor", "Fix_sensor_multi_objs_v2", onBoth(1, oneSensor()));
    row("remove sensor", "Fix_sensor_multi_objs_v2", onBoth(0, text("old")));
    row("read commands", "Get_command_desc_v2", i32(17));
    row("save commands", "Save_command_desc_v2", wholeCommandSave());
    row("set command", "Fix_cmd_desc_multi_objs_v2", onBoth(1, oneCommand(1)));
    row("remove command", "Fix_cmd_desc_multi_objs_v2", onBoth(0, text("old")));
    row("tree", "Save_objects_tree", wholeTree());
    row("example properties", "Get_example_objprops_v2", i32(17));
    row("example sensors", "Get_example_sensors_v2", i32(17));
    row("example controls", "Get_example_controls_v2", i32(17));
}

void TestRegistryTruncation::everyBeginningIsSurvived()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    for (int size = 0; size <= request.size(); ++size) {
        const QByteArrayList said = m_site.replies(name, request.left(size));
        QVERIFY2(!said.contains("no answer to \"About\""), qPrintable(QString::number(size)));
        for (const QByteArray &frame : said) {
            const bool isNotice = frame == savedCard(0) || frame == savedCard(17) || frame == savedCard(18);
            QVERIFY2(isNotice || name.startsWith("Get_"), qPrintable(support::describe(frame)));
        }
        if (name.startsWith("Get_"))
            QCOMPARE(said.size(), 1);
        // The next command works.
        m_admin.send(support::command("Get_sensors_v2", i32(4711), kOperator));
        SAYS(m_admin, support::answer("Get_sensors_v2", i32(4711) + i32(0), kOperator));
        static_cast<void>(m_site.recordedLines());
    }
}

void TestRegistryTruncation::shortReadsAskForObjectZero()
{
    for (int size = 0; size < 4; ++size) {
        m_admin.send(support::command("Get_sensors_v2", i32(17).left(size), kOperator) +
                     support::command("Get_command_desc_v2", i32(17).left(size), kOperator));
        SAYS(m_admin, support::answer("Get_sensors_v2",
                                      i32(0) + i32(1) + sensorRecord({"zero", {}, 0, 7, 0, {""}, {}, {}}), kOperator));
        SAYS(m_admin, support::answer("Get_command_desc_v2", i32(0) + i32(1) + commandRecord({"zero", {}, 1, {}, 0}),
                                      kOperator));
    }
}

void TestRegistryTruncation::shortSelectorCreatesAnObjectWithoutName_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("rename") << i32(17) + support::bytes("name");
    QTest::newRow("delete") << i32(-17);
    QTest::newRow("no byte is zero") << hex("7F FF FF FF");
}

void TestRegistryTruncation::shortSelectorCreatesAnObjectWithoutName()
{
    QFETCH(QByteArray, request);
    for (int size = 0; size < 4; ++size) {
        init();
        QCOMPARE(m_site.replies("Fix_object_v2", request.left(size)), QByteArrayList());
        const QByteArray id = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toByteArray();
        QCOMPARE(m_site.recordedLines(), QByteArrayList({"User 'ivanov' create card with id=" + id + ", name=",
                                                         "User 'ivanov' delete card with id=-" + id}));
        QCOMPARE(counted("Objects"), "1");
        QCOMPARE(
            counted("Objects_property",
                    "\"Name\" = 'name' AND \"Description\" = 'Имя' AND coalesce(\"Value\", '') = '' AND \"Visible\""),
            "1");
        QCOMPARE(counted("Objects_property"), "3");
    }
}

void TestRegistryTruncation::shortNameRenamesToNothing()
{
    const QByteArray whole = i32(17) + support::bytes("name");
    for (int size = 4; size < whole.size(); ++size) {
        init();
        QCOMPARE(m_site.replies("Fix_object_v2", whole.left(size)), QByteArrayList{savedCard(17)});
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' update card with id=17, name="});
        QCOMPARE(counted("Objects_property", "\"Id_objects\" = 17 AND coalesce(\"Value\", '') = ''"), "1");
    }
}

void TestRegistryTruncation::shortSensorSaveOwesEmptySensors()
{
    const QByteArray whole = wholeSensorSave();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        const int object = size < 4 ? 0 : 17;
        QCOMPARE(m_site.replies("Save_sensors_v2", whole.left(size)), QByteArrayList{savedCard(object)});
        QCOMPARE(m_site.recordedLines(), QByteArrayList());
        QCOMPARE(counted("Sensors", "\"Id_objects\" = " + QString::number(object)), size < 8 ? "0" : "2");
        QCOMPARE(counted("Sensors", "\"Id_objects\" <> " + QString::number(object)), "2");
        // Eight bytes of head, then a record that begins with the sensor's name of 4 + 12 bytes.
        const int first = size < 8 ? 0 : (size >= 8 + 16) + (size >= 8 + oneSensor().size() + 16);
        QCOMPARE(counted("Sensors", "\"Name\" = 'sensor'"), QString::number(first));
    }
}

void TestRegistryTruncation::shortCommandSaveOwesEmptyCommands()
{
    const QByteArray whole = wholeCommandSave();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        const QByteArrayList said = m_site.replies("Save_command_desc_v2", whole.left(size));
        QCOMPARE(m_site.recordedLines(), QByteArrayList());
        const QString object = size < 4 ? "0" : "17";
        QCOMPARE(said, size < 8 ? QByteArrayList() : QByteArrayList({savedCard(17), savedCard(17)}));
        QCOMPARE(counted("Commands", "\"Id_object\" = " + object), size < 8 ? "0" : "2");
        QCOMPARE(counted("Commands", "\"Id_object\" <> " + object), "2");
        QCOMPARE(counted("Params", "\"Id_command\" = -2"), "1");
    }
    QCOMPARE(counted("Params", "\"Id_command\" > 0"), "3");
}

void TestRegistryTruncation::shortListSetsNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("sensor") << QByteArray("Fix_sensor_multi_objs_v2") << onBoth(1, oneSensor());
    QTest::newRow("command") << QByteArray("Fix_cmd_desc_multi_objs_v2") << onBoth(1, oneCommand(1));
}

void TestRegistryTruncation::shortListSetsNothing()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    const QStringList before = everything();
    const int head = 1 + 4 + 2 * 4;
    for (int size = 0; size < head; ++size) {
        QCOMPARE(m_site.replies(name, request.left(size)), QByteArrayList());
        QCOMPARE(everything(), before);
    }
    for (int size = head; size <= request.size(); ++size)
        QCOMPARE(m_site.replies(name, request.left(size)), QByteArrayList({savedCard(17), savedCard(18)}));
    QCOMPARE(m_site.recordedLines(), QByteArrayList());
}

void TestRegistryTruncation::shortRemovalRemovesNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("table");
    QTest::newRow("sensor") << QByteArray("Fix_sensor_multi_objs_v2") << "Sensors";
    QTest::newRow("command") << QByteArray("Fix_cmd_desc_multi_objs_v2") << "Commands";
}

void TestRegistryTruncation::shortRemovalRemovesNothing()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, table);
    const QStringList before = everything();
    const QByteArray whole = onBoth(0, text("old"));
    for (int size = 0; size < whole.size(); ++size) {
        QCOMPARE(m_site.replies(name, whole.left(size)), QByteArrayList());
        QCOMPARE(everything(), before);
    }
    QCOMPARE(m_site.replies(name, whole), QByteArrayList());
    QCOMPARE(counted(table), "1");
    QCOMPARE(m_site.recordedLines(), QByteArrayList());
}

void TestRegistryTruncation::shortTreeOwesEmptyGroups()
{
    const QByteArray whole = wholeTree();
    // Group count, the head of the first group with its name, the same of the second.
    const int behindFirst = 4 + 8 + 4 + 3;
    const int behindSecond = behindFirst + 8 + 4 + 5;
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(m_site.replies("Save_objects_tree", whole.left(size)), QByteArrayList());
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' modify tree"});
        QCOMPARE(counted("Groups", "\"Name\" = 'old'"), "0");
        QCOMPARE(counted("Groups", "\"Id\" = 5"), size < 8 ? "0" : "1");
        QCOMPARE(counted("Groups", "\"Id\" = 6"), size < behindFirst + 4 ? "0" : "1");
        QCOMPARE(counted("Groups", "\"Id\" = 5 AND \"Name\" = 'top'"), size < behindFirst ? "0" : "1");
        QCOMPARE(counted("Groups", "\"Id\" = 6 AND \"Name\" = 'child'"), size < behindSecond ? "0" : "1");
        QCOMPARE(counted("Groups_groups"), size < behindFirst + 8 ? "0" : "1");
        QCOMPARE(counted("Groups_objects"), size < behindSecond + 8 ? "0" : size < behindSecond + 16 ? "1" : "2");
    }
}

void TestRegistryTruncation::refusesCountBeyondPayload_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    const QByteArray good = commandRecord({.name = "good", .numParams = 1}) + parameterRecord({"p"});
    const QByteArray negative = commandRecord({.name = "good", .numParams = -1});
    for (const qint64 count : {qint64(1025), qint64(1000000), qint64(0x7FFFFFFF)}) {
        const auto row = [count](const char *title, const char *name, const QByteArray &request) {
            QTest::addRow("%s, %lld", title, static_cast<long long>(count)) << QByteArray(name) << request;
        };
        const QByteArray bad = commandRecord({.name = "old", .numParams = count});
        row("sensors", "Save_sensors_v2", i32(17) + i32(count));
        row("sensors behind one", "Save_sensors_v2",
            i32(17) + i32(count + (count < 2000 ? oneSensor().size() : 0)) + oneSensor());
        row("commands", "Save_command_desc_v2", i32(17) + i32(count));
        row("parameters", "Save_command_desc_v2", i32(17) + i32(1) + bad);
        row("parameters of the second command", "Save_command_desc_v2", i32(17) + i32(2) + good + bad);
        row("parameters behind a negative count", "Save_command_desc_v2", i32(17) + i32(2) + negative + bad);
        row("parameters of a command for many", "Fix_cmd_desc_multi_objs_v2", onBoth(1, bad));
        row("groups", "Save_objects_tree", i32(count));
        row("placements", "Save_objects_tree", i32(0) + i32(count));
        row("placements behind a group", "Save_objects_tree",
            i32(1) + i32(5) + i32(0) + support::bytes("g") + i32(count));
    }
}

void TestRegistryTruncation::refusesCountBeyondPayload()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    const QStringList before = everything();
    QCOMPARE(m_site.replies(name, request), QByteArrayList());
    QCOMPARE(m_site.recordedLines(), QByteArrayList());
    QCOMPARE(everything(), before);
    QCOMPARE(m_site.newLogLines().size(), 1);
    QVERIFY2(m_site.newLogLines().value(0).contains(name), qPrintable(m_site.newLogLines().value(0)));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestRegistryTruncation::owesRecordsForCountALittleTooLarge_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("notices");
    QTest::addColumn<QString>("table");
    QTest::addColumn<int>("rows");
    const QByteArray parameter = parameterRecord({"p"});
    QTest::newRow("sensors") << QByteArray("Save_sensors_v2") << i32(17) + i32(1024) << 1 << "Sensors" << 1024 + 2;
    QTest::newRow("commands") << QByteArray("Save_command_desc_v2") << i32(17) + i32(1024) << 1024 << "Commands"
                              << 1024 + 2;
    QTest::newRow("parameters") << QByteArray("Save_command_desc_v2")
                                << i32(17) + i32(1) + commandRecord({.name = "c", .numParams = 1024}) << 1 << "Params"
                                << 1024 + 1;
    QTest::newRow("parameters behind one")
        << QByteArray("Save_command_desc_v2")
        << i32(17) + i32(1) + commandRecord({.name = "c", .numParams = 1024 + parameter.size()}) + parameter << 1
        << "Params" << int(1024 + parameter.size()) + 1;
    QTest::newRow("parameters of a command for many")
        << QByteArray("Fix_cmd_desc_multi_objs_v2")
        << i8(1) + numbers({17}) + commandRecord({.name = "c", .numParams = 1024}) << 1 << "Params" << 1024 + 2;
}

void TestRegistryTruncation::owesRecordsForCountALittleTooLarge()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(int, notices);
    QFETCH(QString, table);
    QFETCH(int, rows);
    QCOMPARE(m_site.replies(name, request), QByteArrayList(notices, savedCard(17)));
    QCOMPARE(counted(table), QString::number(rows));
    QCOMPARE(m_site.newLogLines(), QStringList());
}

void TestRegistryTruncation::negativeCountIsNoRecord_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestRegistryTruncation::negativeCountIsNoRecord()
{
    QFETCH(qint64, count);
    QCOMPARE(m_site.replies("Save_sensors_v2", i32(17) + i32(count) + oneSensor()), QByteArrayList{savedCard(17)});
    QCOMPARE(counted("Sensors", "\"Id_objects\" = 17"), "0");
    QCOMPARE(m_site.replies("Save_command_desc_v2", i32(17) + i32(count) + twoCommands()), QByteArrayList());
    QCOMPARE(counted("Commands", "\"Id_object\" = 17"), "0");
    // No groups are read, so what follows is the count of placements.
    QCOMPARE(m_site.replies("Save_objects_tree", i32(count) + i32(1) + i32(5) + i32(17)), QByteArrayList());
    QCOMPARE(counted("Groups") + counted("Groups_groups") + counted("Groups_objects"), "001");
    QCOMPARE(m_site.replies("Save_objects_tree", i32(0) + i32(count) + i32(5) + i32(17)), QByteArrayList());
    QCOMPARE(counted("Groups") + counted("Groups_groups") + counted("Groups_objects"), "000");
    QCOMPARE(m_site.recordedLines(), QByteArrayList({"User 'ivanov' modify tree", "User 'ivanov' modify tree"}));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestRegistryTruncation::listCountBeyondPayloadReadsAsEmpty_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    for (const qint64 count : {qint64(5000), qint64(0x7FFFFFFF), qint64(0xFFFFFFFE), qint64(0xFFFFFFFF)}) {
        const auto row = [count](const char *title, const char *name, QByteArray request) {
            QTest::addRow("%s, %lld", title, static_cast<long long>(count))
                << QByteArray(name) << request.replace(1, 4, i32(count));
        };
        row("set sensor", "Fix_sensor_multi_objs_v2", onBoth(1, oneSensor()));
        row("remove sensor", "Fix_sensor_multi_objs_v2", onBoth(0, text("old")));
        row("set command", "Fix_cmd_desc_multi_objs_v2", onBoth(1, oneCommand(1)));
        row("remove command", "Fix_cmd_desc_multi_objs_v2", onBoth(0, text("old")));
    }
}

void TestRegistryTruncation::listCountBeyondPayloadReadsAsEmpty()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    const QStringList before = everything();
    QCOMPARE(m_site.replies(name, request), QByteArrayList());
    QCOMPARE(everything(), before);
    QVERIFY(m_site.newLogLines().size() <= 1);
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestRegistryTruncation::lyingLengthsInsideRecordsReadAsEmpty_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("name of 2 GiB") << hex("7F FF FF FE 00 61") + i32(0);
    QTest::newRow("name of 4 GiB") << hex("FF FF FF FE 00 61") + i32(0);
    QTest::newRow("name of an odd length") << hex("00 00 00 03 00 61 00");
    const QByteArray head = text("") + text("") + i32(0) + support::i16(0) + support::i16('t');
    QTest::newRow("2^32 - 1 labels") << head + hex("FF FF FF FF") + text("a");
    QTest::newRow("2^31 - 1 labels") << head + hex("7F FF FF FF") + text("a");
    QTest::newRow("5000 labels") << head + i32(5000) + text("a");
    QTest::newRow("a label of 4 GiB") << head + i32(2) + text("a") + hex("FF FF FF FE 00 61");
    QTest::newRow("rate of 2 GiB") << head + i32(0) + text("") + hex("7F FF FF FF 61");
    QTest::newRow("rate of 4 GiB") << head + i32(0) + text("") + hex("FF FF FF FE 61");
}

void TestRegistryTruncation::lyingLengthsInsideRecordsReadAsEmpty()
{
    QFETCH(QByteArray, record);
    QCOMPARE(m_site.replies("Save_sensors_v2", i32(17) + i32(1) + record), QByteArrayList{savedCard(17)});
    QCOMPARE(m_site.database->rows("SELECT coalesce(\"Name\", ''), \"Enum\", coalesce(\"Calculate\", ''), "
                                   "coalesce(\"Rate\", '') FROM \"Sensors\" WHERE \"Id_objects\" = 17"),
             QStringList("|||\\x"));
    QCOMPARE(m_site.newLogLines(), QStringList());
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestRegistryTruncation::survivesNoise()
{
    QRandomGenerator random(20260131);
    const QByteArrayList names = {"Fix_object_v2",
                                  "Save_sensors_v2",
                                  "Fix_sensor_multi_objs_v2",
                                  "Save_command_desc_v2",
                                  "Fix_cmd_desc_multi_objs_v2",
                                  "Save_objects_tree"};
    const QByteArrayList whole = {i32(17) + support::bytes("name"), wholeSensorSave(),
                                  onBoth(1, oneSensor()),           wholeCommandSave(),
                                  onBoth(1, oneCommand(1)),         wholeTree()};
    for (int round = 0; round < 600; ++round) {
        const int which = round % int(names.size());
        QByteArray request = whole[which];
        for (int change = random.bounded(1, 5); change > 0; --change)
            request[random.bounded(int(request.size()))] = char(random.bounded(256));
        const QByteArrayList said = m_site.replies(names[which], request);
        QVERIFY2(!said.contains("no answer to \"About\""), request.toHex(' ').constData());
        static_cast<void>(m_site.recordedLines());
    }
}

QTEST_GUILESS_MAIN(TestRegistryTruncation)
#include "test_registry_truncation.moc"

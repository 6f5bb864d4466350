// The three sensor commands: what they answer, announce and leave in the database.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::hex;
using support::i32;
using support::i8;
using support::numbers;
using support::savedCard;
using support::sensorRecord;

namespace {

constexpr int kOperator = 4;
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray get(int object)
{
    return support::command("Get_sensors_v2", i32(object), kOperator);
}

QByteArray sensors(int object, const QByteArrayList &records)
{
    return support::answer("Get_sensors_v2", i32(object) + i32(records.size()) + records.join(), kOperator);
}

QByteArray save(int object, const QByteArrayList &records)
{
    return support::command("Save_sensors_v2", i32(object) + i32(records.size()) + records.join(), kOperator);
}

QByteArray setOnMany(const QList<int> &objects, const QByteArray &record, int mode = 1)
{
    return support::command("Fix_sensor_multi_objs_v2", i8(mode) + numbers(objects) + record, kOperator);
}

} // namespace

class TestObjectSensors : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersSensorsWithKnownBytes();
    void answersSensorsInOrderOfRows();
    void answersObjectWithoutSensorsWithCountZero();
    void answersNullColumnsAsNullAndEmptyOnesAsEmpty();
    void answersCodeOfKind_data();
    void answersCodeOfKind();
    void answersLabels_data();
    void answersLabels();
    void answersCountZeroWhenTheDatabaseRefuses();

    void savesSensorsInOrderOfRequest();
    void savesEveryFieldInItsColumn();
    void savingNoSensorsLeavesNone();
    void valuesComeBackAsTheyWent_data();
    void valuesComeBackAsTheyWent();
    void savesNullAsNullAndEmptyAsEmpty();
    void savesCodeOfKind_data();
    void savesCodeOfKind();
    void savesLabelsAsOneText_data();
    void savesLabelsAsOneText();
    void savesTheOtherRecordsWhenOneFails();
    void savesBehindAFailedDelete();
    void nulInATextFailsThatRecordOnly_data();
    void nulInATextFailsThatRecordOnly();

private:
    /// Object, type and name of every sensor in the order of their rows.
    QStringList sensorRows();
    void give(int object, int type, const QString &name);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestObjectSensors::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectSensors::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectSensors::cleanup()
{
    // None of these commands writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestObjectSensors::sensorRows()
{
    return m_site.database->rows("SELECT \"Id_objects\", \"Type\", \"Name\" FROM \"Sensors\" ORDER BY \"Id\"");
}

void TestObjectSensors::give(int object, int type, const QString &name)
{
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Sensors\" (\"Id_objects\",\"Type\",\"Name\") VALUES (%1,%2,'%3')")
            .arg(QString::number(object), QString::number(type), name));
}

void TestObjectSensors::answersSensorsWithKnownBytes()
{
    m_site.database->run(
        "INSERT INTO \"Sensors\" "
        "(\"Id_objects\",\"Name\",\"Measure\",\"Type\",\"Calculate\",\"Vid\",\"Quality\",\"Enum\",\"Rate\") VALUES "
        "(17,'T','°',2,'','t',1,'a;b','\\x00ff')");
    m_admin.send(hex(
        "00 00 00 1F CB 00 00 00 0E 47 65 74 5F 73 65 6E 73 6F 72 73 5F 76 32 00 00 00 04 00 00 00 11 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 6E CA 00 00 00 0E 47 65 74 5F 73 65 6E 73 6F 72 73 5F 76 32 00 00 00 0E 47 65 74 5F 73 "
                      "65 6E 73 6F 72 73 5F 76 32"
                      "00 00 00 36 00 00 00 11 00 00 00 01"
                      "00 00 00 02 00 54 00 00 00 02 00 B0 00 00 00 01 00 02 00 74 00 00 00 02 00 00 00 02 00 61 00 00 "
                      "00 02 00 62"
                      "00 00 00 00 00 00 00 02 00 FF"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectSensors::answersSensorsInOrderOfRows()
{
    m_site.database->run(
        "INSERT INTO \"Sensors\" "
        "(\"Id\",\"Id_objects\",\"Name\",\"Measure\",\"Type\",\"Calculate\",\"Vid\",\"Quality\",\"Enum\",\"Rate\") "
        "VALUES "
        "(903,17,'third','c',-32768,'3','d',2147483647,'x',''), (901,17,'first','a',32767,'1','d',-2147483648,'y','r'),"
        "(902,18,'other','b',2,'2','d',2,'z',''), (-5,17,'zero','m',0,'0','d',0,'','')");
    m_admin.send(get(17));
    SAYS(m_admin, sensors(17, {sensorRecord({"zero", "m", 0, 0, 'd', {""}, "0", ""}),
                               sensorRecord({"first", "a", int(0x80000000), 32767, 'd', {"y"}, "1", "r"}),
                               sensorRecord({"third", "c", 2147483647, -32768, 'd', {"x"}, "3", ""})}));
}

void TestObjectSensors::answersObjectWithoutSensorsWithCountZero()
{
    give(18, 1, "other");
    m_admin.send(get(17) + get(-17) + get(0));
    SAYS(m_admin, sensors(17, {}));
    SAYS(m_admin, sensors(-17, {}));
    SAYS(m_admin, sensors(0, {}));
}

void TestObjectSensors::answersNullColumnsAsNullAndEmptyOnesAsEmpty()
{
    m_site.database->run(
        "INSERT INTO \"Sensors\" "
        "(\"Id_objects\",\"Name\",\"Measure\",\"Type\",\"Calculate\",\"Vid\",\"Quality\",\"Enum\",\"Rate\") VALUES "
        "(17,NULL,NULL,NULL,NULL,NULL,NULL,'',NULL), (17,'','',0,'','',0,'','')");
    m_admin.send(get(17));
    SAYS(m_admin,
         sensors(17, {sensorRecord({{}, {}, 0, 0, 0, {""}, {}, {}}), sensorRecord({"", "", 0, 0, 0, {""}, "", ""})}));
}

void TestObjectSensors::answersCodeOfKind_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("code");
    QTest::newRow("NULL") << "NULL" << 0;
    QTest::newRow("empty") << "''" << 0;
    QTest::newRow("t") << "'t'" << 116;
    QTest::newRow("blank") << "' '" << 32;
    QTest::newRow("first code") << "chr(1)" << 1;
    QTest::newRow("last code") << "'ÿ'" << 255;
    QTest::newRow("beyond the last code") << "'Ā'" << 0;
    QTest::newRow("Russian") << "'я'" << 0;
    QTest::newRow("emoji") << "'😀'" << 0;
}

void TestObjectSensors::answersCodeOfKind()
{
    QFETCH(QString, stored);
    QFETCH(int, code);
    m_site.database->run(
        "INSERT INTO \"Sensors\" (\"Id_objects\",\"Name\",\"Measure\",\"Calculate\",\"Vid\",\"Enum\",\"Rate\") VALUES "
        "(17,'s','',''," +
        stored + ",'','')");
    m_admin.send(get(17));
    SAYS(m_admin, sensors(17, {sensorRecord({"s", "", 0, 0, code, {""}, "", ""})}));
}

void TestObjectSensors::answersLabels_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("empty") << "" << QStringList({""});
    QTest::newRow("one") << "a" << QStringList({"a"});
    QTest::newRow("two") << "Вкл;Выкл" << QStringList({"Вкл", "Выкл"});
    QTest::newRow("only a separator") << ";" << QStringList({"", ""});
    QTest::newRow("empty parts") << ";a;;b;" << QStringList({"", "a", "", "b", ""});
    QTest::newRow("blanks and commas") << " a , b ; c " << QStringList({" a , b ", " c "});
}

void TestObjectSensors::answersLabels()
{
    QFETCH(QString, stored);
    QFETCH(QStringList, labels);
    m_site.database->run(
        "INSERT INTO \"Sensors\" (\"Id_objects\",\"Name\",\"Measure\",\"Calculate\",\"Vid\",\"Enum\",\"Rate\") VALUES "
        "(17,'s','','','d','" +
        stored + "','')");
    m_admin.send(get(17));
    SAYS(m_admin, sensors(17, {sensorRecord({"s", "", 0, 0, 'd', labels, "", ""})}));
}

void TestObjectSensors::answersCountZeroWhenTheDatabaseRefuses()
{
    give(17, 1, "s");
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Sensors\"");
    m_admin.send(get(17));
    SAYS(m_admin, sensors(17, {}));
    m_failedStatements = 1;
}

void TestObjectSensors::savesSensorsInOrderOfRequest()
{
    give(17, 1, "old");
    give(18, 1, "stays");
    m_admin.send(save(17, {sensorRecord({.name = "b", .type = 2}), sensorRecord({.name = "a", .type = 1}),
                           sensorRecord({.name = "b", .type = 2})}));
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList({"18|1|stays", "17|2|b", "17|1|a", "17|2|b"}));
}

void TestObjectSensors::savesEveryFieldInItsColumn()
{
    m_admin.send(
        save(17, {sensorRecord({"the name", "the measure", 11, 22, 'v', {"first", "second"}, "the formula", "rate"})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\", \"Name\", \"Measure\", \"Type\", \"Calculate\", \"Vid\", "
                                   "\"Quality\", \"Enum\", \"Rate\" FROM \"Sensors\""),
             QStringList("17|the name|the measure|22|the formula|v|11|first;second|\\x72617465"));
}

void TestObjectSensors::savingNoSensorsLeavesNone()
{
    give(17, 1, "a");
    give(17, 2, "b");
    give(18, 1, "stays");
    m_admin.send(save(17, {}));
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(sensorRows(), QStringList("18|1|stays"));
}

void TestObjectSensors::valuesComeBackAsTheyWent_data()
{
    QTest::addColumn<QByteArray>("record");
    const QString texts = QString::fromUtf8("it's \"q\" %1 %2 ? :x \\ \\x41 😀 я\n\t--");
    QTest::newRow("texts") << sensorRecord({texts, texts, 1, 2, 'd', {texts, texts}, texts, "r"});
    QTest::newRow("nulls") << sensorRecord({{}, {}, 1, 2, 'd', {"a"}, {}, {}});
    QTest::newRow("empties") << sensorRecord({"", "", 0, 0, 0, {""}, "", ""});
    QTest::newRow("every byte") << sensorRecord({"s", "m", 1, 2, 'd', {"a"}, "c", support::everyByte()});
    QTest::newRow("zero bytes") << sensorRecord({"s", "m", 1, 2, 'd', {"a"}, "c", QByteArray(3, '\0')});
    QTest::newRow("400 KB") << sensorRecord({"s", "m", 1, 2, 'd', {"a"}, "c", support::everyByte().repeated(1600)});
    QTest::newRow("5 KB of text") << sensorRecord(
        {QString(5000, 'n'), QString(5000, 'm'), 1, 2, 'd', {QString(5000, 'e')}, QString(5000, 'c'), "r"});
    QTest::newRow("greatest codes") << sensorRecord({"s", "m", 2147483647, 32767, 255, {"a"}, "c", "r"});
    QTest::newRow("smallest codes") << sensorRecord({"s", "m", int(0x80000000), -32768, 1, {"a"}, "c", "r"});
    QTest::newRow("empty labels") << sensorRecord({"s", "m", 1, 2, 'd', {"", "", ""}, "c", "r"});
    QTest::newRow("a thousand labels") << sensorRecord(
        {"s", "m", 1, 2, 'd', QString("x;").repeated(999).split(';'), "c", "r"});
}

void TestObjectSensors::valuesComeBackAsTheyWent()
{
    QFETCH(QByteArray, record);
    m_admin.send(save(17, {record, record}) + get(17));
    SAYS(m_admin, savedCard(17));
    SAYS(m_admin, sensors(17, {record, record}));
    m_admin.send(setOnMany({18}, record) + get(18));
    SAYS(m_admin, savedCard(18));
    SAYS(m_admin, sensors(18, {record}));
}

void TestObjectSensors::savesNullAsNullAndEmptyAsEmpty()
{
    m_admin.send(
        save(17, {sensorRecord({{}, {}, 0, 0, 'd', {"a"}, {}, {}}), sensorRecord({"", "", 0, 0, 'd', {"a"}, "", ""})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(
        m_site.database->rows("SELECT \"Name\", \"Measure\", \"Calculate\", \"Rate\" FROM \"Sensors\" ORDER BY \"Id\""),
        QStringList({"NULL|NULL|NULL|NULL", "|||\\x"}));
}

void TestObjectSensors::savesCodeOfKind_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("stored");
    QTest::addColumn<int>("answered");
    QTest::newRow("0 is the empty text") << 0 << 0 << 0;
    QTest::newRow("1") << 1 << 1 << 1;
    QTest::newRow("a quote") << 39 << 39 << 39;
    QTest::newRow("a backslash") << 92 << 92 << 92;
    QTest::newRow("t") << 116 << 116 << 116;
    QTest::newRow("255") << 255 << 255 << 255;
    QTest::newRow("256 is one character, beyond Latin-1") << 256 << 256 << 0;
    QTest::newRow("greatest") << 32767 << 32767 << 0;
    QTest::newRow("-1 is character 65535") << -1 << 65535 << 0;
}

void TestObjectSensors::savesCodeOfKind()
{
    QFETCH(int, code);
    QFETCH(int, stored);
    QFETCH(int, answered);
    m_admin.send(save(17, {sensorRecord({.name = "s", .vid = code})}) + get(17));
    SAYS(m_admin, savedCard(17));
    SAYS(m_admin, sensors(17, {sensorRecord({.name = "s", .vid = answered})}));
    QCOMPARE(m_site.database->rows("SELECT length(\"Vid\"), ascii(\"Vid\") FROM \"Sensors\""),
             QStringList(QStringLiteral("%1|%2").arg(stored == 0 ? 0 : 1).arg(stored)));
}

void TestObjectSensors::savesLabelsAsOneText_data()
{
    QTest::addColumn<QStringList>("labels");
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("answered");
    QTest::newRow("two") << QStringList({"A", "B"}) << "A;B" << QStringList({"A", "B"});
    QTest::newRow("none") << QStringList() << "" << QStringList({""});
    QTest::newRow("one empty") << QStringList({""}) << "" << QStringList({""});
    QTest::newRow("one null") << QStringList({QString()}) << "" << QStringList({""});
    QTest::newRow("a null among others") << QStringList({"a", QString(), "b"}) << "a;;b" << QStringList({"a", "", "b"});
    QTest::newRow("one that holds a separator") << QStringList({"a;b", "c"}) << "a;b;c" << QStringList({"a", "b", "c"});
    QTest::newRow("one that is a separator") << QStringList({";"}) << ";" << QStringList({"", ""});
}

void TestObjectSensors::savesLabelsAsOneText()
{
    QFETCH(QStringList, labels);
    QFETCH(QString, stored);
    QFETCH(QStringList, answered);
    m_admin.send(save(17, {sensorRecord({.name = "s", .enumeration = labels})}) + get(17));
    SAYS(m_admin, savedCard(17));
    SAYS(m_admin, sensors(17, {sensorRecord({.name = "s", .enumeration = answered})}));
    QCOMPARE(m_site.database->rows("SELECT \"Enum\" FROM \"Sensors\""), QStringList(stored));
    m_admin.send(setOnMany({18}, sensorRecord({.name = "s", .enumeration = labels})));
    SAYS(m_admin, savedCard(18));
    QCOMPARE(m_site.database->rows("SELECT \"Enum\" FROM \"Sensors\" ORDER BY \"Id\""), QStringList({stored, stored}));
}

void TestObjectSensors::savesTheOtherRecordsWhenOneFails()
{
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "INSERT", "NEW.\"Name\" IN ('b', 'd')");
    m_admin.send(save(
        17, {sensorRecord({"a"}), sensorRecord({"b"}), sensorRecord({"c"}), sensorRecord({"d"}), sensorRecord({"e"})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(sensorRows(), QStringList({"17|0|a", "17|0|c", "17|0|e"}));
    m_failedStatements = 2;
}

void TestObjectSensors::savesBehindAFailedDelete()
{
    give(17, 1, "old");
    const support::StatementFault fault(*m_site.database, "\"Sensors\"", "DELETE");
    m_admin.send(save(17, {sensorRecord({"a"})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(sensorRows(), QStringList({"17|1|old", "17|0|a"}));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_sensors_v2"));
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestObjectSensors::nulInATextFailsThatRecordOnly_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("name") << sensorRecord({.name = kNul});
    QTest::newRow("measure") << sensorRecord({.name = "b", .measure = kNul});
    QTest::newRow("label") << sensorRecord({.name = "b", .enumeration = {"x", kNul}});
    QTest::newRow("formula") << sensorRecord({.name = "b", .calculate = kNul});
    QTest::newRow("at the end") << sensorRecord({.name = QStringLiteral("b") + QChar(0)});
}

void TestObjectSensors::nulInATextFailsThatRecordOnly()
{
    QFETCH(QByteArray, record);
    give(17, 1, "old");
    m_admin.send(save(17, {sensorRecord({"a"}), record, sensorRecord({"c"})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(sensorRows(), QStringList({"17|0|a", "17|0|c"}));
    m_failedStatements = 1;
}

QTEST_GUILESS_MAIN(TestObjectSensors)
#include "test_object_sensors.moc"

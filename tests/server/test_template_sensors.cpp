// The two commands on the sensors of a template.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::Field;
using support::hex;
using support::i16;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::labels;
using support::said;
using support::sensorData;
using support::SensorFields;
using support::sensorRecord;
using support::text;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray get(qint64 number)
{
    return support::command("Get_template_sensors_v2", i32(number), kOperator);
}

/// `number` is the one answered, which has no sign.
QByteArray sensors(int number, int count, const QByteArrayList &records)
{
    return support::answer("Get_template_sensors_v2", i32(number) + i32(count) + records.join(), kOperator);
}

QByteArray save(int number, const QByteArrayList &records)
{
    return support::command("Save_template_sensors_v2", i32(number) + i32(records.size()) + records.join(), kOperator);
}

QByteArray saved()
{
    return support::emptyAnswer("Save_template_sensors_v2", kOperator);
}

QByteArray plain(const QString &name)
{
    return sensorRecord({.name = name});
}

} // namespace

class TestTemplateSensors : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersSensorsWithKnownBytes();
    void answersTemplateWithoutSensorsWithCountZero();
    void answersSensorsInTheOrderOfTheirRows();
    void rowNamesMeanNothing();
    void answersSuppliedSensorsUnderTheNumberWithoutSign();
    void answersMinusOneWhenTheReadFails_data();
    void answersMinusOneWhenTheReadFails();
    void answersNulls();
    void unpacksEveryBeginning();
    void unpacksWhatItCan_data();
    void unpacksWhatItCan();

    void savesEveryFieldInItsColumn();
    void savesTwoSensorsOfOneName();
    void valuesComeBackAsTheyWent_data();
    void valuesComeBackAsTheyWent();
    void savesNullAsNullAndEmptyAsEmpty();
    void saveReplacesTheSensorsAlone();
    void savingNothingOnlyDeletes();
    void savesWithoutHead_data();
    void savesWithoutHead();
    void savesManyInTheirOrder();
    void failedInsertLosesThatSensorAlone();
    void nulInANameLosesThatSensorAlone();
    void failedDeletionKeepsTheOldSensorsInFront();

private:
    /// The names of the sensors of template `number` in the order of their rows.
    QStringList names(int number);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestTemplateSensors::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateSensors::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestTemplateSensors::cleanup()
{
    // None of these commands announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestTemplateSensors::names(int number)
{
    return m_site.database->rows(QStringLiteral("SELECT \"Description\" FROM \"Templates\" WHERE \"Class\" = 's' AND "
                                                "\"Owner\" = %1 ORDER BY \"Id\"")
                                     .arg(number));
}

void TestTemplateSensors::answersSensorsWithKnownBytes()
{
    m_site.give(kSupplied, 7,
                {3, 's', "", "S",
                 hex("00 00 00 02 00 6D 00 00 00 01 00 02 00 64 00 00 00 02 00 00 00 02 00 78 00 00 00 02 00 79 "
                     "00 00 00 02 00 63 00 00 00 02 FF 00")});
    m_admin.send(hex("00 00 00 28 CB 00 00 00 17 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 73 65 6E 73 6F 72 73 5F 76 32 "
                     "00 00 00 04 FF FF FF FD 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 82 CA 00 00 00 17 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 73 65 6E 73 6F 72 73 5F 76 32"
                      "00 00 00 17 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 73 65 6E 73 6F 72 73 5F 76 32"
                      "00 00 00 38 00 00 00 03 00 00 00 01"
                      "00 00 00 02 00 53 00 00 00 02 00 6D 00 00 00 01 00 02 00 64"
                      "00 00 00 02 00 00 00 02 00 78 00 00 00 02 00 79 00 00 00 02 00 63 00 00 00 02 FF 00"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestTemplateSensors::answersTemplateWithoutSensorsWithCountZero()
{
    for (const QString &table : {kOwn, kSupplied}) {
        m_site.give(table, 500, {5, 't', {}, "title", {}});
        for (const char kind : {'p', 'c', 'd'})
            m_site.give(table, kind, {5, kind, "name", "", {}});
        m_site.give(table, 600, {6, 's', "", "of another", {}});
    }
    m_admin.send(get(5) + get(-5) + get(0) + get(4711) + get(-4711));
    for (const int number : {5, 5, 0, 4711, 4711})
        SAYS(m_admin, sensors(number, 0, {}));
}

void TestTemplateSensors::answersSensorsInTheOrderOfTheirRows()
{
    const SensorFields first = {"x", "°C", 2147483647, -32768, 32767, {"Вкл", "Выкл"}, "f(x)", support::everyByte()};
    const SensorFields second = {"x", "", int(0x80000000), 32767, -32768, {}, "", ""};
    const SensorFields third = {"a", "km", 1, 2, 't', {""}, "x", "r"};
    m_site.give(kOwn, 30, {5, 's', "", "a", sensorData(third)});
    m_site.give(kOwn, -10, {5, 's', "", "x", sensorData(first)});
    m_site.give(kOwn, 25, {6, 's', "", "of another", sensorData(first)});
    m_site.give(kOwn, 20, {5, 's', "", "x", sensorData(second)});
    m_admin.send(get(5));
    SAYS(m_admin, sensors(5, 3, {sensorRecord(first), sensorRecord(second), sensorRecord(third)}));
}

void TestTemplateSensors::rowNamesMeanNothing()
{
    int id = 0;
    QByteArrayList records;
    for (const QString name : {"name", "subdivision", "modem", "other", ""}) {
        m_site.give(kOwn, ++id, {5, 's', name, "of " + name, sensorData({})});
        records += plain("of " + name);
    }
    m_site.give(kOwn, ++id, {5, 's', {}, "modem", sensorData({})});
    m_admin.send(get(5));
    SAYS(m_admin, sensors(5, 6, records << plain("modem")));
}

void TestTemplateSensors::answersSuppliedSensorsUnderTheNumberWithoutSign()
{
    m_site.give(kOwn, 1, {3, 's', "", "own", sensorData({})});
    m_site.give(kSupplied, 1, {3, 's', "", "supplied", sensorData({})});
    m_admin.send(get(-3) + get(3));
    SAYS(m_admin, sensors(3, 1, {plain("supplied")}));
    SAYS(m_admin, sensors(3, 1, {plain("own")}));
}

void TestTemplateSensors::answersMinusOneWhenTheReadFails_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<int>("number");
    QTest::newRow("own") << kOwn << 3;
    QTest::newRow("supplied") << kSupplied << -3;
}

void TestTemplateSensors::answersMinusOneWhenTheReadFails()
{
    QFETCH(QString, table);
    QFETCH(int, number);
    for (const QString &each : {kOwn, kSupplied})
        m_site.give(each, 1, {3, 's', "", "a", sensorData({})});
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"" + table + "\"");
        m_admin.send(get(number) + get(-number));
        SAYS(m_admin, sensors(3, -1, {}));
        SAYS(m_admin, sensors(3, 1, {plain("a")}));
    }
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_template_sensors_v2"));
    m_admin.send(get(number));
    SAYS(m_admin, sensors(3, 1, {plain("a")}));
}

void TestTemplateSensors::answersNulls()
{
    const SensorFields nulls = {{}, {}, 0, 0, 0, {QString(), "a", QString()}, {}, {}};
    m_site.give(kOwn, 1, {5, 's', {}, {}, sensorData(nulls)});
    m_site.give(kOwn, 2, {5, 's', {}, "", sensorData({})});
    m_admin.send(get(5));
    SAYS(m_admin, sensors(5, 2, {sensorRecord(nulls), plain("")}));
}

void TestTemplateSensors::unpacksEveryBeginning()
{
    const QByteArray whole = sensorData({"", "mm", 0x01020304, 0x0506, 't', {"on", "off"}, "x+1", "rate"});
    // Where each field ends.
    const int measure = 4 + 4;
    const int quality = measure + 4;
    const int type = quality + 2;
    const int vid = type + 2;
    const int enumeration = vid + 4 + (4 + 4) + (4 + 6);
    const int calculate = enumeration + 4 + 6;
    const int rate = calculate + 4 + 4;
    QCOMPARE(whole.size(), rate);
    const SensorFields before = {"before", "before", -1, -1, -1, {"before", "before"}, "before", "before"};
    m_site.give(kSupplied, 1, {5, 's', "", "before", sensorData(before)});
    m_site.give(kSupplied, 2, {5, 's', "", "a", {}});
    for (int size = -1; size <= whole.size(); ++size) {
        m_site.database->run(size < 0 ? QStringLiteral("UPDATE \"TemplatesFirm\" SET \"SpecificData\" = NULL "
                                                       "WHERE \"Id\" = 2")
                                      : QStringLiteral("UPDATE \"TemplatesFirm\" SET \"SpecificData\" = '\\x%1' "
                                                       "WHERE \"Id\" = 2")
                                            .arg(QString::fromLatin1(whole.left(size).toHex())));
        m_admin.send(get(-5));
        QByteArrayList expected;
        // What is missing is zero or empty, and nothing of the row before. A list that ends early is empty.
        for (const QByteArray &record : support::spellings(
                 {text("a"), size < measure ? Field() : Field(text("mm")), i32(size < quality ? 0 : 0x01020304),
                  i16(size < type ? 0 : 0x0506), i16(size < vid ? 0 : 't'),
                  labels(size < enumeration ? QStringList() : QStringList({"on", "off"})),
                  size < calculate ? Field() : Field(text("x+1")),
                  size < rate ? Field() : Field(support::bytes("rate"))}))
            expected += sensors(5, 2, {sensorRecord(before), record});
        SAYS_ONE_OF(m_admin, expected);
    }
}

void TestTemplateSensors::unpacksWhatItCan_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArrayList>("records");
    const QByteArray head = text("m") + i32(1) + i16(2) + i16('t');
    const auto row = [&](const char *title, const QByteArray &data, const QList<Field> &rest) {
        QTest::newRow(title) << data << support::spellings(QList<Field>{text("a")} + rest);
    };
    row("bytes behind", sensorData({"", "m", 1, 2, 't', {}, "c", "r"}) + "more",
        {head, i32(0), text("c"), support::bytes("r")});
    row("measure of 2 GiB", hex("7F FF FF FE 00 6D") + head, {{}, i32(0), i16(0), i16(0), i32(0), {}, {}});
    row("measure of 4 GiB", hex("FF FF FF FE 00 6D") + head, {{}, i32(0), i16(0), i16(0), i32(0), {}, {}});
    row("2^32 - 1 labels", head + hex("FF FF FF FF") + text("x"), {head, i32(0), {}, {}});
    row("2^31 - 1 labels", head + hex("7F FF FF FF") + text("x"), {head, i32(0), {}, {}});
    row("5000 labels", head + i32(5000) + text("x"), {head, i32(0), {}, {}});
    row("rate of 4 GiB", head + i32(0) + text("c") + hex("FF FF FF FE 61"), {head, i32(0), text("c"), {}});
}

void TestTemplateSensors::unpacksWhatItCan()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArrayList, records);
    const qint64 residentBefore = m_site.service.residentBytes();
    m_site.give(kOwn, 1, {5, 's', "", "a", data});
    m_site.give(kOwn, 2, {5, 's', "", "b", sensorData({})});
    m_admin.send(get(5));
    QByteArrayList expected;
    for (const QByteArray &record : records)
        expected += sensors(5, 2, {record, plain("b")});
    SAYS_ONE_OF(m_admin, expected);
    QVERIFY(m_site.service.residentBytes() - residentBefore < (16 << 20) + support::kSanitizerBytes);
}

void TestTemplateSensors::savesEveryFieldInItsColumn()
{
    m_admin.send(save(5, {sensorRecord({"S", "m", 1, 2, 'd', {"x", "y"}, "c", hex("FF 00")})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.stored(kOwn), QStringList("5|s||S|\\x00000002006d00000001000200640000000200000002007800000002007900"
                                              "000002006300000002ff00"));
}

void TestTemplateSensors::savesTwoSensorsOfOneName()
{
    const QByteArrayList records = {sensorRecord({.name = "b", .type = 1}), sensorRecord({.name = "a", .type = 2}),
                                    sensorRecord({.name = "b", .type = 1})};
    m_admin.send(save(5, records) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, sensors(5, 3, records));
    QCOMPARE(names(5), QStringList({"b", "a", "b"}));
}

void TestTemplateSensors::valuesComeBackAsTheyWent_data()
{
    QTest::addColumn<SensorFields>("sensor");
    QTest::newRow("texts") << SensorFields{kTexts, kTexts, 1, 2, 't', {kTexts, "", kTexts}, kTexts, kTexts.toUtf8()};
    QTest::newRow("hexadecimal look") << SensorFields{"\\x41", "\\x42", 1, 2, 'd', {"\\x43"}, "\\x44", "\\x45"};
    QTest::newRow("empties") << SensorFields{"", "", 0, 0, 0, {}, "", ""};
    QTest::newRow("nulls") << SensorFields{{}, {}, 0, 0, 0, {}, {}, {}};
    QTest::newRow("one empty label") << SensorFields{"s", "", 0, 0, 'd', {""}, "", ""};
    QTest::newRow("null labels") << SensorFields{"s", "", 0, 0, 'd', {QString(), "", QString()}, "", ""};
    QTest::newRow("separators") << SensorFields{"s", "", 0, 0, 'd', {"a;b", ";"}, "", ""};
    QTest::newRow("no character where it is packed")
        << SensorFields{"s", kNul, 0, 0, 'd', {kNul}, kNul, QByteArray("a\0b", 3)};
    QTest::newRow("every byte") << SensorFields{"s", "m", 1, 2, 255, {"a"}, "c", support::everyByte()};
    QTest::newRow("greatest codes") << SensorFields{"s", "m", 2147483647, 32767, 32767, {"a"}, "c", "r"};
    QTest::newRow("smallest codes") << SensorFields{"s", "m", int(0x80000000), -32768, -32768, {"a"}, "c", "r"};
    QTest::newRow("100 KB") << SensorFields{QString(5000, 'n'),
                                            QString(5000, 'm'),
                                            1,
                                            2,
                                            'd',
                                            QStringList(3000, "label"),
                                            QString(5000, 'c'),
                                            support::everyByte().repeated(400)};
}

void TestTemplateSensors::valuesComeBackAsTheyWent()
{
    QFETCH(SensorFields, sensor);
    m_admin.send(save(5, {sensorRecord(sensor)}) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, sensors(5, 1, {sensorRecord(sensor)}));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({5, 's', "", sensor.name, sensorData(sensor)})));
}

void TestTemplateSensors::savesNullAsNullAndEmptyAsEmpty()
{
    m_admin.send(save(5, {sensorRecord({{}, {}, 0, 0, 0, {}, {}, {}}), sensorRecord({"", "", 0, 0, 0, {}, "", ""})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.stored(kOwn), QStringList({"5|s||NULL|\\xffffffff000000000000000000000000ffffffffffffffff",
                                               "5|s|||\\x000000000000000000000000000000000000000000000000"}));
}

void TestTemplateSensors::saveReplacesTheSensorsAlone()
{
    for (const QString &table : {kOwn, kSupplied}) {
        m_site.give(table, 1, {5, 's', "", "old", "x"});
        m_site.give(table, 2, {5, 's', "modem", "old too", "x"});
        m_site.give(table, 3, {5, 't', {}, "title", "x"});
        m_site.give(table, 4, {5, 'p', "property", "", "x"});
        m_site.give(table, 5, {5, 'c', "command", "", "x"});
        m_site.give(table, 6, {5, 'd', "parameter", "", "x"});
        m_site.give(table, 7, {6, 's', "", "of another", "x"});
    }
    const QStringList others = m_site.written(kOwn).mid(2);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(save(5, {plain("b"), plain("a")}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.written(kOwn).mid(0, 5), others);
    QCOMPARE(names(5), QStringList({"b", "a"}));
    QCOMPARE(m_site.count(kOwn), "7");
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateSensors::savingNothingOnlyDeletes()
{
    m_site.give(kOwn, 1, {5, 's', "", "old", {}});
    m_site.give(kOwn, 2, {5, 'p', "property", "", {}});
    // What follows the last record is nobody's.
    m_admin.send(support::command("Save_template_sensors_v2", i32(5) + i32(0) + plain("a"), kOperator) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, sensors(5, 0, {}));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({5, 'p', "property", "", {}})));
}

void TestTemplateSensors::savesWithoutHead_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("of no template") << 4711;
    QTest::newRow("0") << 0;
    QTest::newRow("greatest") << 2147483647;
}

void TestTemplateSensors::savesWithoutHead()
{
    QFETCH(int, number);
    m_admin.send(save(number, {plain("a")}) + get(number));
    SAYS(m_admin, saved());
    SAYS(m_admin, sensors(number, 1, {plain("a")}));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({number, 's', "", "a", sensorData({})})));
}

void TestTemplateSensors::savesManyInTheirOrder()
{
    QByteArrayList records;
    for (int i = 0; i < 300; ++i)
        records += plain(QString::number(i * 7919 % 300));
    m_admin.send(save(5, records) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, sensors(5, 300, records));
}

void TestTemplateSensors::failedInsertLosesThatSensorAlone()
{
    m_site.give(kOwn, 1, {5, 's', "", "old", {}});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Description\" = 'bad'");
    m_admin.send(save(5, {plain("bad"), plain("a"), plain("bad"), plain("b"), plain("bad")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"a", "b"}));
    m_failedStatements = 3;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_template_sensors_v2"));
}

void TestTemplateSensors::nulInANameLosesThatSensorAlone()
{
    m_admin.send(save(5, {plain("a"), plain(kNul), plain("b")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"a", "b"}));
    m_failedStatements = 1;
}

void TestTemplateSensors::failedDeletionKeepsTheOldSensorsInFront()
{
    m_site.give(kOwn, 1, {5, 's', "", "old", {}});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "DELETE");
    m_admin.send(save(5, {plain("a")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"old", "a"}));
    m_failedStatements = 1;
}

QTEST_GUILESS_MAIN(TestTemplateSensors)
#include "test_template_sensors.moc"

#include "ctl/sensor_records.h"

#include <QTest>

using ctl::Sensors;

/// Sensors in their forms: the service's answer, JSON, and what counts as stored.
class TestCtlSensors : public QObject
{
    Q_OBJECT

private slots:
    void readsAnAnswer();
    void refusesEveryPrefixOfAnAnswer();
    void refusesLyingAnswers_data();
    void refusesLyingAnswers();
    void writesTheJsonThatPeopleExpect();
    void bringsEveryValueBackThroughJson_data();
    void bringsEveryValueBackThroughJson();
    void bringsLabelsBackThroughJson_data();
    void bringsLabelsBackThroughJson();
    void namesTheWrongField_data();
    void namesTheWrongField();
    void readsOneSensorByItself();
    void comparesWhatWasSentWithWhatIsStored();
    void takesNoLabelsForOneEmptyLabel();

private:
    static QByteArray answer();
    static SensorInfoX door();
};

/// Object 17 with one sensor: "D", measure null, quality 2, type 8, kind 'D', labels "a" and "", calculate empty, rate
/// "r".
QByteArray TestCtlSensors::answer()
{
    return QByteArray::fromHex("00000011 00000001"
                               "00000002 0044 FFFFFFFF 00000002 0008 0044 00000002 00000002 0061 00000000"
                               "00000000 00000001 72");
}

SensorInfoX TestCtlSensors::door()
{
    return {u"Дверь"_qs, u""_qs, 1, 8, 'D', {u"закрыта"_qs, u"открыта"_qs}, u"x * 2"_qs, "0.5"};
}

void TestCtlSensors::readsAnAnswer()
{
    ctl::Result<Sensors> sensors = ctl::decodeSensors(answer(), 17);
    QVERIFY(sensors);
    QCOMPARE(sensors->size(), 1);
    const SensorInfoX &sensor = sensors->first();
    QCOMPARE(sensor.name, u"D"_qs);
    QVERIFY(sensor.measure.isNull());
    QCOMPARE(sensor.quality, 2);
    QCOMPARE(sensor.type, qint16(8));
    QCOMPARE(sensor.vid, qint16('D'));
    QCOMPARE(sensor.enumeration, (QStringList{u"a"_qs, u""_qs}));
    QVERIFY(sensor.calculate.isEmpty() && !sensor.calculate.isNull());
    QCOMPARE(sensor.rate, "r");
    QVERIFY(ctl::decodeSensors(QByteArray::fromHex("00000011 00000000"), 17)->isEmpty());
}

void TestCtlSensors::refusesEveryPrefixOfAnAnswer()
{
    for (qsizetype length = 0; length < answer().size(); ++length) {
        const auto sensors = ctl::decodeSensors(answer().first(length), 17);
        QVERIFY2(!sensors, qPrintable(QString::number(length)));
        QVERIFY(sensors.failure().message.startsWith(u"the service's answer cannot be read: "));
    }
}

void TestCtlSensors::refusesLyingAnswers_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("reason");
    const auto bytes = [](const char *hex) { return QByteArray::fromHex(hex); };
    QTest::newRow("another object") << bytes("00000012 00000000") << u"it is about object 18, not 17"_qs;
    QTest::newRow("endless count") << bytes("00000011 7FFFFFFF 0000")
                                   << u"it promises 2147483647 sensors in 2 bytes"_qs;
    QTest::newRow("bytes left") << answer() + 'x' << u"1 bytes are left after its end"_qs;
}

void TestCtlSensors::refusesLyingAnswers()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, reason);
    const auto sensors = ctl::decodeSensors(reply, 17);
    QVERIFY(!sensors);
    QCOMPARE(sensors.failure().message, u"the service's answer cannot be read: "_qs + reason);
}

void TestCtlSensors::writesTheJsonThatPeopleExpect()
{
    QCOMPARE(ctl::sensorsJson(17, {door(), {}}),
             u"{\"object\": 17, \"sensors\": [\n"
             "  {\"name\": \"Дверь\", \"measure\": \"\", \"quality\": 1, \"type\": 8, \"vid\": \"D\", "
             "\"labels\": [\"закрыта\", \"открыта\"], \"calculate\": \"x * 2\", \"rate\": \"0.5\"},\n"
             "  {\"name\": null, \"measure\": null, \"quality\": 0, \"type\": 0, \"vid\": \"\", "
             "\"labels\": [], \"calculate\": null, \"rate\": null}\n]}"_qs);
    QCOMPARE(ctl::sensorsJson(17, {}), u"{\"object\": 17, \"sensors\": []}"_qs);
}

void TestCtlSensors::bringsEveryValueBackThroughJson_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("quality");
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("vid");
    QTest::addColumn<QByteArray>("rate");
    QByteArray everyByte;
    for (int code = 0; code < 256; ++code)
        everyByte.append(char(code));
    QTest::newRow("null") << QString() << 0 << 0 << 0 << QByteArray();
    QTest::newRow("empty") << u""_qs << 1 << 1 << int('t') << QByteArray("");
    QTest::newRow("lowest codes") << u"x"_qs << INT_MIN << -32768 << 1 << "x"_qba;
    QTest::newRow("highest codes") << u"x"_qs << INT_MAX << 32767 << 255 << "x"_qba;
    QTest::newRow("quotes, lines, emoji") << u"\"\\/\n\r\t\b\f'🚗%1;"_qs << 0 << 0 << int('"') << "\"\\\n🚗"_qba;
    QTest::newRow("every byte") << u"x"_qs << 0 << 0 << 127 << everyByte;
    QTest::newRow("NUL") << u"x"_qs << 0 << 0 << 32 << QByteArray("a\0b", 3);
}

void TestCtlSensors::bringsEveryValueBackThroughJson()
{
    QFETCH(QString, text);
    QFETCH(int, quality);
    QFETCH(int, type);
    QFETCH(int, vid);
    QFETCH(QByteArray, rate);
    const SensorInfoX sensor = {text, text, quality, qint16(type), qint16(vid), {}, text, rate};
    ctl::Result<Sensors> sensors = ctl::readSensorsJson(ctl::sensorsJson(17, {sensor}).toUtf8(), 17);
    QVERIFY2(sensors, sensors ? "" : qPrintable(sensors.failure().message));
    QCOMPARE(sensors->size(), 1);
    const SensorInfoX &back = sensors->first();
    for (const QString &one : {back.name, back.measure, back.calculate}) {
        QCOMPARE(one, text);
        QCOMPARE(one.isNull(), text.isNull());
    }
    QCOMPARE(back.quality, quality);
    QCOMPARE(back.type, qint16(type));
    QCOMPARE(back.vid, qint16(vid));
    QCOMPARE(back.enumeration, QStringList());
    QCOMPARE(back.rate, rate);
    QCOMPARE(back.rate.isNull(), rate.isNull());
}

void TestCtlSensors::bringsLabelsBackThroughJson_data()
{
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("none") << QStringList();
    QTest::newRow("one empty") << QStringList{u""_qs};
    QTest::newRow("one null") << QStringList{QString()};
    QTest::newRow("empty among others") << QStringList{u""_qs, u"a, \"b\""_qs, u""_qs, u"🚗\n"_qs, u""_qs};
}

void TestCtlSensors::bringsLabelsBackThroughJson()
{
    QFETCH(QStringList, labels);
    SensorInfoX sensor = door();
    sensor.enumeration = labels;
    ctl::Result<Sensors> sensors = ctl::readSensorsJson(ctl::sensorsJson(17, {sensor}).toUtf8(), 17);
    QVERIFY(sensors);
    QCOMPARE(sensors->first().enumeration, labels);
    for (qsizetype index = 0; index < labels.size(); ++index)
        QCOMPARE(sensors->first().enumeration[index].isNull(), labels[index].isNull());
}

void TestCtlSensors::namesTheWrongField_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const auto row = [](const char *name, const QByteArray &json, const QString &message) {
        QTest::newRow(name) << json << message;
    };
    const QByteArray good = ctl::jsonObject(ctl::sensorMembers(door())).toUtf8();
    const auto changed = [&](const char *name, const QByteArray &from, const QByteArray &to, const QString &message) {
        QVERIFY2(good.contains(from), name);
        row(name, R"({"sensors": [)" + good + ", " + QByteArray(good).replace(from, to) + "]}",
            u"sensors[1]."_qs + message);
    };
    const QString small = u"expected an integer from -32768 to 32767"_qs;
    const QString nul = u"holds the character U+0000, which the registry cannot keep"_qs;
    row("no sensors", "{}", u"sensors: is missing"_qs);
    row("sensors are no array", R"({"sensors": {}})", u"sensors: expected an array ([...])"_qs);
    row("another object", R"({"object": 18, "sensors": []})",
        u"object: expected 17, as on the command line; leave the field out to save the sensors of one object to "
        "another"_qs);
    row("unknown field", R"({"sensors": [], "card": []})", u"card: there is no such field"_qs);
    row("sensor is no object", R"({"sensors": [3]})", u"sensors[0]: expected an object ({...})"_qs);
    changed("measure missing", R"("measure": "", )", "", u"measure: is missing"_qs);
    changed("name as number", R"("name": "Дверь")", R"("name": 1)", u"name: expected a string or null"_qs);
    changed("quality with a fraction", R"("quality": 1)", R"("quality": 1.5)",
            u"quality: expected an integer from -2147483648 to 2147483647"_qs);
    changed("type too high", R"("type": 8)", R"("type": 32768)", u"type: "_qs + small);
    changed("type too low", R"("type": 8)", R"("type": -32769)", u"type: "_qs + small);
    changed("kind of two characters", R"("vid": "D")", R"("vid": "DD")",
            u"vid: expected a string of at most one character, or an integer from -32768 to 32767"_qs);
    changed("kind 256", R"("vid": "D")", R"("vid": 256)",
            u"vid: objects keep only the codes 0 to 255: others come back as 0"_qs);
    changed("kind below 0", R"("vid": "D")", R"("vid": -1)",
            u"vid: objects keep only the codes 0 to 255: others come back as 0"_qs);
    changed("labels as a text", R"(["закрыта", "открыта"])", R"("закрыта;открыта")",
            u"labels: expected an array ([...])"_qs);
    changed("label as number", R"("открыта")", "7", u"labels[1]: expected a string or null"_qs);
    changed("label with a separator", R"("открыта")", R"("от;крыта")",
            u"labels[1]: holds \";\", at which the registry would cut it into several labels"_qs);
    changed("NUL in a label", R"("открыта")", R"("\u0000")", u"labels[1]: "_qs + nul);
    changed("NUL in a text", R"("x * 2")", R"("x\u0000")", u"calculate: "_qs + nul);
    changed("rate as number", R"("rate": "0.5")", R"("rate": 0.5)",
            u"rate: expected a string, null or {\"base64\": \"...\"}"_qs);
    changed("bad base64", R"("rate": "0.5")", R"("rate": {"base64": "!"})", u"rate.base64: this is not base64"_qs);
    changed("misspelt field", R"("rate")", R"("rates")", u"rate: is missing"_qs);
    changed("field of the catalogue", R"("rate")", R"("may_edit": true, "rate")",
            u"may_edit: there is no such field"_qs);
}

void TestCtlSensors::namesTheWrongField()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    const auto sensors = ctl::readSensorsJson(json, 17);
    QVERIFY(!sensors);
    QCOMPARE(sensors.failure().message, message);
    QVERIFY(sensors.failure().wrongUsage);
}

void TestCtlSensors::readsOneSensorByItself()
{
    const QByteArray good = ctl::jsonObject(ctl::sensorMembers(door())).toUtf8();
    ctl::Result<SensorInfoX> sensor = ctl::readSensorJson(good);
    QVERIFY(sensor);
    QVERIFY(ctl::isStored(door(), *sensor));
    const auto wrong = ctl::readSensorJson(QByteArray(good).replace("открыта", ";"));
    QVERIFY(!wrong);
    QCOMPARE(wrong.failure().message,
             u"labels[1]: holds \";\", at which the registry would cut it into several labels"_qs);
    const auto whole = ctl::readSensorJson(ctl::sensorsJson(17, {door()}).toUtf8());
    QVERIFY(!whole);
    QCOMPARE(whole.failure().message, u"name: is missing"_qs);
}

void TestCtlSensors::comparesWhatWasSentWithWhatIsStored()
{
    const SensorInfoX sent = door();
    QVERIFY(ctl::isStored(sent, sent));
    const auto differs = [&sent](auto change) {
        SensorInfoX stored = sent;
        change(stored);
        return !ctl::isStored(sent, stored);
    };
    QVERIFY(differs([](SensorInfoX &stored) { stored.name = u"door"_qs; }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.measure = QString(); }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.quality = 2; }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.type = 9; }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.vid = 0; }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.enumeration.removeLast(); }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.calculate.clear(); }));
    QVERIFY(differs([](SensorInfoX &stored) { stored.rate = "0.50"; }));
    SensorInfoX empty = sent;
    empty.rate = "";
    SensorInfoX null = sent;
    null.rate = QByteArray();
    QVERIFY(!ctl::isStored(empty, null));
}

void TestCtlSensors::takesNoLabelsForOneEmptyLabel()
{
    SensorInfoX sent = door();
    sent.enumeration.clear();
    SensorInfoX stored = sent;
    stored.enumeration = QStringList{u""_qs};
    QVERIFY(ctl::isStored(sent, stored));
    sent.enumeration = QStringList{QString()};
    QVERIFY(ctl::isStored(sent, stored));
    stored.enumeration = QStringList{u""_qs, u""_qs};
    QVERIFY(!ctl::isStored(sent, stored));
}

QTEST_GUILESS_MAIN(TestCtlSensors)
#include "test_ctl_sensors.moc"

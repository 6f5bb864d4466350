#include "ctl/sensor_records.h"
#include "tests/ctl/fake_registry.h"
#include "tests/ctl/program_run.h"

#include <QTemporaryFile>
#include <QTest>

using ctl::RemoteCommand;
using testing::FakeRegistry;
using testing::ProgramRun;

/// Command lines that read and change sensors and remote-control commands.
class TestCtlRegistryCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void showsSensorsAsATable();
    void savesTheSensorsThatItShows();
    void takesNoLabelsAsStored();
    void refusesWrongSensorsBeforeAnythingIsSent();
    void saysThatSensorsWereNotStored();
    void doesNotTakeAMissingDatabaseForSuccess();
    void setsASensorOnManyObjects();
    void removesASensorFromManyObjects();
    void savesTheCommandsThatItShows();
    void savesCommandsInAnyOrder();
    void saysThatCommandsWereNotStored();
    void setsACommandOnManyObjects();
    void removesACommandFromManyObjects();
    void refusesWrongUsageBeforeAnythingIsSent_data();
    void refusesWrongUsageBeforeAnythingIsSent();
    void saysThatTheOutcomeIsNotKnown();

private:
    [[nodiscard]] QByteArrayList requestNames() const;
    /// Runs `words` with `--file` naming a file that holds `json`.
    int runWith(const QByteArray &json, std::vector<std::string> words);
    static SensorInfoX door();
    static RemoteCommand arm();

    std::unique_ptr<ProgramRun> m_run;
    std::unique_ptr<FakeRegistry> m_registry;
};

void TestCtlRegistryCommands::init()
{
    m_run = std::make_unique<ProgramRun>();
    m_registry = std::make_unique<FakeRegistry>(*m_run->service);
}

void TestCtlRegistryCommands::cleanup()
{
    m_run.reset();
    m_registry.reset();
}

QByteArrayList TestCtlRegistryCommands::requestNames() const
{
    QByteArrayList names;
    for (const bus::Command &command : m_run->service->requests)
        names.append(command.name);
    return names;
}

int TestCtlRegistryCommands::runWith(const QByteArray &json, std::vector<std::string> words)
{
    QTemporaryFile file;
    if (!file.open() || file.write(json) != json.size() || !file.flush())
        return -1;
    words.push_back("--file");
    words.push_back(file.fileName().toStdString());
    return m_run->run(words);
}

SensorInfoX TestCtlRegistryCommands::door()
{
    return {u"Дверь"_qs, QString(), 1, 8, 'D', {u"закрыта"_qs, u"открыта"_qs}, u""_qs, QByteArray::fromHex("00FF")};
}

RemoteCommand TestCtlRegistryCommands::arm()
{
    return {{0, u"arm"_qs, u"Взять"_qs, 3, "server", 0},
            {{"zones", "1,2", u"Зоны"_qs, 10, 5}, {"delay", QByteArray(), u""_qs, 1, 6}}};
}

void TestCtlRegistryCommands::showsSensorsAsATable()
{
    SensorInfoX odd = door();
    odd.vid = 7;
    odd.enumeration.clear();
    odd.calculate = u"\x1b"_qs;
    m_registry->sensors[3] = {door(), odd};
    QCOMPARE(m_run->run({"sensors", "show", "3", "--operator", "7"}), 0);
    QCOMPARE(m_run->out, u"object 3, 2 sensors\n"
                         "name   measure  quality  type  vid  labels           calculate  rate\n"
                         "-----  -------  -------  ----  ---  ---------------  ---------  ----------------\n"
                         "Дверь  (null)   1        8     D    закрыта;открыта             0x00ff (2 bytes)\n"
                         "Дверь  (null)   1        8     7                     \\x1b       0x00ff (2 bytes)\n"_qs);
    QCOMPARE(m_run->service->requests.first().idConnection, 7);
    QCOMPARE(m_run->service->requests.first().data, QByteArray::fromHex("00000003"));
    QCOMPARE(m_run->run({"sensors", "show", "4"}), 0);
    QCOMPARE(m_run->out, u"object 4 has no sensors\n"_qs);
}

void TestCtlRegistryCommands::savesTheSensorsThatItShows()
{
    SensorInfoX empty;
    empty.enumeration = QStringList{u""_qs};
    m_registry->sensors[3] = {door(), empty, door()};
    QCOMPARE(m_run->run({"sensors", "show", "3", "--json"}), 0);
    const QString shown = m_run->out;
    m_registry->sensors[3].clear();
    QCOMPARE(runWith(shown.toUtf8(), {"sensors", "save", "3"}), 0);
    QCOMPARE(m_run->out, u"object 3: 3 sensors saved\n"_qs);
    QCOMPARE(m_run->run({"sensors", "show", "3", "--json"}), 0);
    QCOMPARE(m_run->out, shown);
    QCOMPARE(requestNames(), (QByteArrayList{"Get_sensors_v2", "Save_sensors_v2", "Get_sensors_v2", "Get_sensors_v2"}));
}

void TestCtlRegistryCommands::takesNoLabelsAsStored()
{
    const QByteArray json = R"({"sensors": [{"name": "a", "measure": "", "quality": 0, "type": 1, "vid": "",
                                              "labels": [], "calculate": "", "rate": null}]})";
    QCOMPARE(runWith(json, {"sensors", "save", "3", "--json"}), 0);
    QCOMPARE(m_run->out, QString());
    QCOMPARE(m_registry->sensors[3].first().enumeration, QStringList{u""_qs});
    QCOMPARE(runWith(R"({"sensors": []})", {"sensors", "save", "3"}), 0);
    QCOMPARE(m_run->out, u"object 3: 0 sensors saved\n"_qs);
    QVERIFY(m_registry->sensors[3].isEmpty());
}

void TestCtlRegistryCommands::refusesWrongSensorsBeforeAnythingIsSent()
{
    QByteArray json = ctl::sensorsJson(3, {door()}).toUtf8();
    json.replace("открыта", "от;крыта");
    QCOMPARE(runWith(json, {"sensors", "save", "3"}), 2);
    QCOMPARE(m_run->err, u"objectsctl: sensors[0].labels[1]: holds \";\", at which the registry would cut it into "
                         "several labels\n"_qs);
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlRegistryCommands::saysThatSensorsWereNotStored()
{
    m_run->service->refusesChanges = true;
    SensorInfoX old = door();
    old.calculate = u"x"_qs;
    m_registry->sensors[3] = {old};
    const QByteArray json = ctl::sensorsJson(3, {door()}).toUtf8();
    QCOMPARE(runWith(json, {"sensors", "save", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store sensors[0] (\"Дверь\") as it was sent\n"_qs);
    m_registry->sensors[3].clear();
    QCOMPARE(runWith(json, {"sensors", "save", "3"}), 1);
    QCOMPARE(m_run->err,
             u"objectsctl: the service did not store the sensors as sent: it has 0 sensors instead of 1\n"_qs);
}

void TestCtlRegistryCommands::doesNotTakeAMissingDatabaseForSuccess()
{
    m_registry->hasDatabase = false;
    const QString message = u"objectsctl: the service cannot read from its database, so that the change cannot be "
                            "confirmed: its log says why\n"_qs;
    QCOMPARE(runWith(R"({"sensors": []})", {"sensors", "save", "3"}), 1);
    QCOMPARE(m_run->err, message);
    QCOMPARE(m_run->run({"sensors", "fix", "remove", "--objects", "3", "--name", "a"}), 1);
    QCOMPARE(m_run->err, message);
}

void TestCtlRegistryCommands::setsASensorOnManyObjects()
{
    SensorInfoX sameType = door();
    sameType.name = u"другой"_qs;
    SensorInfoX otherType = door();
    otherType.type = 9;
    m_registry->sensors[3] = {sameType, otherType, sameType};
    const QByteArray json = ctl::jsonObject(ctl::sensorMembers(door())).toUtf8();
    QCOMPARE(runWith(json, {"sensors", "fix", "set", "--objects", "3,7"}), 0);
    QCOMPARE(m_run->out, u"\"Дверь\" set on 2 objects\n"_qs);
    QCOMPARE(requestNames(), (QByteArrayList{"Fix_sensor_multi_objs_v2", "Get_sensors_v2", "Get_sensors_v2"}));
    QCOMPARE(m_registry->sensors[3].size(), 2);
    QCOMPARE(m_registry->sensors[3].last().name, door().name);
    QCOMPARE(m_registry->sensors[7].size(), 1);
    QVERIFY(m_run->service->requests.first().data.startsWith(
        QByteArray::fromHex("01 00000002 00000003 00000007 0000000A 0414 0432")));

    m_run->service->refusesChanges = true;
    m_registry->sensors[7].first().rate = "other";
    QCOMPARE(runWith(json, {"sensors", "fix", "set", "--objects", "3,7"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change on object 7\n"_qs);
    m_registry->sensors[3].append(door());
    QCOMPARE(runWith(json, {"sensors", "fix", "set", "--objects", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change on object 3\n"_qs);
}

void TestCtlRegistryCommands::removesASensorFromManyObjects()
{
    SensorInfoX kept = door();
    kept.name = u"D"_qs;
    m_registry->sensors[3] = {door(), kept};
    m_registry->sensors[7] = {door()};
    QCOMPARE(m_run->run({"sensors", "fix", "remove", "--objects", "3,7", "--name", "Дверь"}), 0);
    QCOMPARE(m_run->out, u"\"Дверь\" removed from 2 objects\n"_qs);
    QCOMPARE(m_registry->sensors[3].size(), 1);
    QVERIFY(m_registry->sensors[7].isEmpty());
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"sensors", "fix", "remove", "--objects", "7,3", "--name", "D"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change on object 3\n"_qs);
    QCOMPARE(m_run->service->requests.last().name, "Get_sensors_v2");
    QCOMPARE(requestNames().count("Fix_sensor_multi_objs_v2"), 2);
    QCOMPARE(m_run->service->requests[m_run->service->requests.size() - 3].data,
             QByteArray::fromHex("00 00000002 00000007 00000003 00000002 0044"));
}

void TestCtlRegistryCommands::savesTheCommandsThatItShows()
{
    m_registry->commands[3] = {arm(), RemoteCommand{{0, QString(), u""_qs, 4, QByteArray(), 0}, {}}};
    QCOMPARE(m_run->run({"commands", "show", "3"}), 0);
    QVERIFY2(m_run->out.startsWith(u"object 3, 2 commands\nname "), qPrintable(m_run->out));
    QCOMPARE(m_run->run({"commands", "show", "4"}), 0);
    QCOMPARE(m_run->out, u"object 4 has no commands\n"_qs);
    QCOMPARE(m_run->run({"commands", "show", "3", "--json"}), 0);
    QString shown = m_run->out;
    m_registry->commands[3].clear();
    QCOMPARE(runWith(shown.toUtf8(), {"commands", "save", "3"}), 0);
    QCOMPARE(m_run->out, u"object 3: 2 commands saved\n"_qs);
    for (int index = 0; index < 2; ++index) {
        ParamDesc &param = m_registry->commands[3].first().params[index];
        QVERIFY(param.id > 100);
        param.id = 5 + index;
    }
    QCOMPARE(m_run->run({"commands", "show", "3", "--json"}), 0);
    QCOMPARE(m_run->out, shown);
    QCOMPARE(runWith(R"({"object": 3, "commands": []})", {"commands", "save", "3"}), 0);
    QVERIFY(m_registry->commands[3].isEmpty());
}

void TestCtlRegistryCommands::savesCommandsInAnyOrder()
{
    RemoteCommand first = arm();
    first.head.operation = 1;
    RemoteCommand second = arm();
    second.head.operation = 1;
    second.head.name = u"b"_qs;
    QCOMPARE(runWith(ctl::commandsJson(3, {arm(), first, second}).toUtf8(), {"commands", "save", "3"}), 0);
    QCOMPARE(m_registry->commands[3].last().head.operation, 3);
    // Those of one operation keep the order in which they were sent.
    m_run->service->refusesChanges = true;
    QCOMPARE(runWith(ctl::commandsJson(3, {second, first, arm()}).toUtf8(), {"commands", "save", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store commands[0] (\"b\") as it was sent\n"_qs);
}

void TestCtlRegistryCommands::saysThatCommandsWereNotStored()
{
    m_run->service->refusesChanges = true;
    QCOMPARE(runWith(ctl::commandsJson(3, {arm()}).toUtf8(), {"commands", "save", "3"}), 1);
    QCOMPARE(m_run->err,
             u"objectsctl: the service did not store the commands as sent: it has 0 commands instead of 1\n"_qs);
}

void TestCtlRegistryCommands::setsACommandOnManyObjects()
{
    RemoteCommand old = arm();
    old.params.clear();
    RemoteCommand other = arm();
    other.head.name = u"disarm"_qs;
    m_registry->commands[3] = {old, other, old};
    const QByteArray json = ctl::jsonObject(ctl::commandMembers(arm())).toUtf8();
    QCOMPARE(runWith(json, {"commands", "fix", "set", "--objects", "3,7"}), 0);
    QCOMPARE(m_run->out, u"\"arm\" set on 2 objects\n"_qs);
    QCOMPARE(m_registry->commands[3].size(), 2);
    QCOMPARE(m_registry->commands[7].first().params.size(), 2);
    QVERIFY(m_run->service->requests.first().data.startsWith(
        QByteArray::fromHex("01 00000002 00000003 00000007 00000000 00000006 00610072006D")));

    m_run->service->refusesChanges = true;
    m_registry->commands[7].first().params.removeLast();
    QCOMPARE(runWith(json, {"commands", "fix", "set", "--objects", "3,7"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change on object 7\n"_qs);
}

void TestCtlRegistryCommands::removesACommandFromManyObjects()
{
    RemoteCommand kept = arm();
    kept.head.name = u"disarm"_qs;
    m_registry->commands[3] = {arm(), kept};
    m_registry->commands[7] = {arm()};
    QCOMPARE(m_run->run({"commands", "fix", "remove", "--objects", "3,7", "--name", "arm"}), 0);
    QCOMPARE(m_run->service->requests.first().data,
             QByteArray::fromHex("00 00000002 00000003 00000007 00000006 00610072006D"));
    QCOMPARE(m_registry->commands[3].size(), 1);
    QVERIFY(m_registry->commands[7].isEmpty());
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"commands", "fix", "remove", "--objects", "3", "--name", "disarm"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change on object 3\n"_qs);
}

void TestCtlRegistryCommands::refusesWrongUsageBeforeAnythingIsSent_data()
{
    using Words = std::vector<std::string>;
    QTest::addColumn<Words>("words");
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const QByteArray sensor = ctl::jsonObject(ctl::sensorMembers(door())).toUtf8();
    const QByteArray command = ctl::jsonObject(ctl::commandMembers(arm())).toUtf8();
    const Words setSensor = {"sensors", "fix", "set", "--objects", "3"};
    const Words setCommand = {"commands", "fix", "set", "--objects", "3"};
    QTest::newRow("wrong sensor") << setSensor << QByteArray(sensor).replace("\"type\": 8", "\"type\": \"8\"")
                                  << u"type: expected an integer from -32768 to 32767"_qs;
    QTest::newRow("no objects") << Words{"sensors", "fix", "set", "--objects", "x"} << sensor
                                << u"--objects: expected object numbers like 3,7,12, not \"x\""_qs;
    QTest::newRow("wrong command") << setCommand << QByteArray(command).replace("\"type\": 1,", "")
                                   << u"params[1].type: is missing"_qs;
    QTest::newRow("wrong commands") << Words{"commands", "save", "3"} << R"({"commands": [1]})"_qba
                                    << u"commands[0]: expected an object ({...})"_qs;
    QTest::newRow("command without a name")
        << setCommand << QByteArray(command).replace("\"arm\"", "null")
        << u"name: expected a string: the command takes the place of those of its name"_qs;
    QTest::newRow("command with a quote")
        << setCommand << QByteArray(command).replace("arm", "a'rm")
        << u"name: the service cannot look for a name that holds a single quote; \"commands save\" replaces all "
           "commands of an object"_qs;
    QTest::newRow("no JSON") << Words{"sensors", "save", "3"} << "{"_qba << u"this is not JSON: line 1, byte 2"_qs;
}

void TestCtlRegistryCommands::refusesWrongUsageBeforeAnythingIsSent()
{
    QFETCH(std::vector<std::string>, words);
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    QCOMPARE(runWith(json, words), 2);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: "_qs + message), qPrintable(m_run->err));
    QCOMPARE(m_run->out, QString());
    // A name on the command line is refused as well.
    const QString quote = u"objectsctl: --name: the service cannot look for a name that holds a single quote; \""_qs;
    for (const std::string noun : {"sensors", "commands"}) {
        QCOMPARE(m_run->run({noun, "fix", "remove", "--objects", "3", "--name", "a'b"}), 2);
        QVERIFY2(m_run->err.startsWith(quote + QString::fromStdString(noun) + u" save\""_qs), qPrintable(m_run->err));
    }
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlRegistryCommands::saysThatTheOutcomeIsNotKnown()
{
    m_run->service->silent = true;
    const QString message = u"objectsctl: no answer within 0.1 s; whether the change was made is not known\n"_qs;
    QCOMPARE(runWith(R"({"sensors": []})", {"--timeout", "0.1", "sensors", "save", "3"}), 1);
    QCOMPARE(m_run->err, message);
    QCOMPARE(runWith(R"({"commands": []})", {"--timeout", "0.1", "commands", "save", "3"}), 1);
    QCOMPARE(m_run->err, message);
    QCOMPARE(m_run->run({"--timeout", "0.1", "commands", "fix", "remove", "--objects", "3", "--name", "a"}), 1);
    QCOMPARE(m_run->err, message);
    QCOMPARE(m_run->run({"--timeout", "0.1", "sensors", "show", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: no answer within 0.1 s\n"_qs);
}

QTEST_GUILESS_MAIN(TestCtlRegistryCommands)
#include "test_ctl_registry_commands.moc"

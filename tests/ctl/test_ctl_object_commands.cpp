#include "tests/ctl/fake_registry.h"
#include "tests/ctl/program_run.h"

#include <QTemporaryFile>
#include <QTest>

using testing::FakeRegistry;
using testing::ProgramRun;

/// Command lines that create, rename and delete objects, save the tree of groups and show the catalogues.
class TestCtlObjectCommands : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void createsAnObjectAndPrintsItsNumber();
    void saysThatNoObjectWasCreated();
    void saysThatSeveralObjectsCameAtOnce();
    void renamesAnObject();
    void saysThatAnObjectWasNotRenamed();
    void deletesObjects();
    void stopsAtTheFirstObjectThatStays();
    void saysThatThereWasNoObjectToDelete();
    void doesNotTakeAMissingDatabaseForADeletion();
    void savesTheTree();
    void saysThatTheTreeWasNotStored_data();
    void saysThatTheTreeWasNotStored();
    void refusesWrongUsageBeforeAnythingIsSent_data();
    void refusesWrongUsageBeforeAnythingIsSent();
    void showsPropertiesToPickFrom();
    void showsSensorsToPickFrom();
    void showsControlsToPickFrom();
    void readsControlsUntilTheAnswerEnds();
    void saysThatACatalogueCannotBeRead_data();
    void saysThatACatalogueCannotBeRead();

private:
    [[nodiscard]] QByteArrayList requestNames() const;
    int saveTree(const QByteArray &json);
    static CardsProperty nameProperty(const QByteArray &value);

    std::unique_ptr<ProgramRun> m_run;
    std::unique_ptr<FakeRegistry> m_registry;
};

void TestCtlObjectCommands::init()
{
    m_run = std::make_unique<ProgramRun>();
    m_registry = std::make_unique<FakeRegistry>(*m_run->service);
}

void TestCtlObjectCommands::cleanup()
{
    m_run.reset();
    m_registry.reset();
}

QByteArrayList TestCtlObjectCommands::requestNames() const
{
    QByteArrayList names;
    for (const bus::Command &command : m_run->service->requests)
        names.append(command.name);
    return names;
}

int TestCtlObjectCommands::saveTree(const QByteArray &json)
{
    QTemporaryFile file;
    if (!file.open() || file.write(json) != json.size() || !file.flush())
        return -1;
    return m_run->run({"tree", "save", "--file", file.fileName().toStdString()});
}

CardsProperty TestCtlObjectCommands::nameProperty(const QByteArray &value)
{
    return {5, u"name"_qs, u"Имя"_qs, 10, value, 't'};
}

void TestCtlObjectCommands::createsAnObjectAndPrintsItsNumber()
{
    m_registry->names = {{3, "Газель"}, {90, "Газель"}};
    QCOMPARE(m_run->run({"object", "create", "--name", "Газель"}), 0);
    QCOMPARE(m_run->out, u"object 101 created\n"_qs);
    QCOMPARE(requestNames(), (QByteArrayList{"Get_objects", "Fix_object_v2", "Get_objects"}));
    QCOMPARE(m_run->service->requests[1].data, QByteArray::fromHex("00000000 0000000C D093D0B0D0B7D0B5D0BBD18C"));
    QCOMPARE(m_run->run({"object", "create", "--name", "", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"object\": 102}\n"_qs);
    QCOMPARE(m_registry->names[102], "");
    m_registry->createdBesides = QStringList{u"x"_qs};
    QCOMPARE(m_run->run({"object", "create", "--name", "y"}), 0);
    QCOMPARE(m_run->out, u"object 103 created\n"_qs);
}

void TestCtlObjectCommands::saysThatNoObjectWasCreated()
{
    m_registry->names = {{3, "a"}};
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"object", "create", "--name", "a"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not create the object: its log says why\n"_qs);
}

void TestCtlObjectCommands::saysThatSeveralObjectsCameAtOnce()
{
    m_registry->createdBesides = QStringList{u"a"_qs};
    QCOMPARE(m_run->run({"object", "create", "--name", "a"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the object was created, and others of its name at the same time; one of 102, "
                         "101 is it\n"_qs);
    QCOMPARE(m_run->out, QString());
}

void TestCtlObjectCommands::renamesAnObject()
{
    m_run->service->cards[3] = {nameProperty("old")};
    QCOMPARE(m_run->run({"object", "rename", "3", "Волга"}), 0);
    QCOMPARE(m_run->out, u"object 3 is now called \"Волга\"\n"_qs);
    QCOMPARE(m_run->service->requests.first().data, QByteArray::fromHex("00000003 0000000A D092D0BED0BBD0B3D0B0"));
    QCOMPARE(m_run->service->cards[3].first().value, "Волга");
}

void TestCtlObjectCommands::saysThatAnObjectWasNotRenamed()
{
    QCOMPARE(m_run->run({"object", "rename", "3", "a"}), 1);
    QCOMPARE(m_run->err,
             u"objectsctl: there is no object 3, or its card has no property \"name\" (\"card fix set\" adds "
             "one)\n"_qs);
    m_run->service->refusesChanges = true;
    m_run->service->cards[3] = {nameProperty("old")};
    QCOMPARE(m_run->run({"object", "rename", "3", "a"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the name of object 3\n"_qs);
}

void TestCtlObjectCommands::deletesObjects()
{
    m_run->service->cards[3] = {nameProperty("a")};
    m_registry->sensors[7] = {SensorInfoX()};
    m_run->service->cards[8] = {nameProperty("kept")};
    QCOMPARE(m_run->run({"object", "delete", "3", "7"}), 0);
    QCOMPARE(m_run->out, u"object 3 deleted\nobject 7 deleted\n"_qs);
    QList<QByteArray> sent;
    for (const bus::Command &command : m_run->service->requests) {
        if (command.name == "Fix_object_v2")
            sent.append(command.data.toHex());
    }
    QCOMPARE(sent, (QList<QByteArray>{"fffffffd", "fffffff9"}));
    QVERIFY(!m_run->service->cards.value(8).isEmpty());
}

void TestCtlObjectCommands::stopsAtTheFirstObjectThatStays()
{
    m_run->service->refusesChanges = true;
    m_registry->commands[3] = {ctl::RemoteCommand()};
    m_registry->sensors[7] = {SensorInfoX()};
    QCOMPARE(m_run->run({"object", "delete", "3", "7"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not delete object 3: it still has commands\n"_qs);
    QCOMPARE(requestNames().count("Fix_object_v2"), 1);
    QCOMPARE(m_run->run({"object", "delete", "7"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not delete object 7: it still has sensors\n"_qs);
    m_run->service->cards[7] = {nameProperty("a")};
    QCOMPARE(m_run->run({"object", "delete", "7"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not delete object 7: it still has a card\n"_qs);
}

void TestCtlObjectCommands::saysThatThereWasNoObjectToDelete()
{
    QCOMPARE(m_run->run({"object", "delete", "2147483647"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there was no object 2147483647: nothing was known of it before its deletion was "
                         "sent\n"_qs);
    QCOMPARE(requestNames().count("Fix_object_v2"), 1);
}

void TestCtlObjectCommands::doesNotTakeAMissingDatabaseForADeletion()
{
    m_run->service->cards[3] = {nameProperty("a")};
    m_registry->hasDatabase = false;
    QCOMPARE(m_run->run({"object", "delete", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service cannot read from its database, so that the change cannot be "
                         "confirmed: its log says why\n"_qs);
}

void TestCtlObjectCommands::savesTheTree()
{
    // No objects, the group 1 "A", no nesting, no placements.
    m_registry->tree = QByteArray::fromHex("00000000 00000001 00000001 00000001 41 00000000 00000000");
    QCOMPARE(saveTree(R"({"groups": [{"id": 1, "parent": 0, "name": "A"}], "placements": []})"), 0);
    QCOMPARE(m_run->out, u"tree saved: 1 group, 0 placements\n"_qs);
    QCOMPARE(m_run->err, QString());
    QCOMPARE(requestNames(), (QByteArrayList{"Save_objects_tree", "Get_full_objects_tree"}));
    QCOMPARE(m_run->service->requests.first().data,
             QByteArray::fromHex("00000001 00000001 00000000 00000001 41 00000000"));
    QByteArray placements;
    for (int object = 20; object < 32; ++object)
        placements += QStringLiteral(R"({"group": 1, "object": %1}, )").arg(object).toUtf8();
    QCOMPARE(
        saveTree(R"({"groups": [{"id": 1, "parent": 0, "name": "A"}], "placements": [)" + placements.chopped(2) + "]}"),
        0);
    QCOMPARE(m_run->err,
             u"objectsctl: the places of objects without a name are not shown, and not confirmed: 20, 21, 22, "
             "23, 24, 25, 26, 27, 28, 29 and 2 more\n"_qs);
}

void TestCtlObjectCommands::saysThatTheTreeWasNotStored_data()
{
    QTest::addColumn<QByteArray>("tree");
    QTest::addColumn<QString>("message");
    const auto bytes = [](const char *hex) { return QByteArray::fromHex(hex); };
    QTest::newRow("no group") << bytes("00000000 00000000 00000000 00000000")
                              << u"the service did not store group 1 (\"A\") as it was sent"_qs;
    QTest::newRow("groups cannot be read")
        << bytes("00000000 FFFFFFFF 00000000 00000000")
        << u"the service could not read the groups (its log says why); whether the change was made is not known"_qs;
    QTest::newRow("answer too short")
        << bytes("00000000 00000000 00000000")
        << u"the service's answer cannot be read: it ends too early, after 12 bytes (a picture or colour "
           "that is stored wrongly leads to this, too); whether the change was made is not known"_qs;
}

void TestCtlObjectCommands::saysThatTheTreeWasNotStored()
{
    QFETCH(QByteArray, tree);
    QFETCH(QString, message);
    m_registry->tree = tree;
    QCOMPARE(saveTree(R"({"groups": [{"id": 1, "parent": 0, "name": "A"}], "placements": []})"), 1);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
}

void TestCtlObjectCommands::refusesWrongUsageBeforeAnythingIsSent_data()
{
    using Words = std::vector<std::string>;
    QTest::addColumn<Words>("words");
    QTest::addColumn<QString>("message");
    const QString number = u"OBJECT: expected an integer from 1 to 2147483647, not "_qs;
    QTest::newRow("no name") << Words{"object", "create"} << u"--name is required"_qs;
    QTest::newRow("name not UTF-8") << Words{"object", "create", "--name", "\xff"} << u"the name is not UTF-8 text"_qs;
    QTest::newRow("new name not UTF-8") << Words{"object", "rename", "3", "\xff"} << u"the name is not UTF-8 text"_qs;
    QTest::newRow("rename object 0") << Words{"object", "rename", "0", "a"} << number + u"\"0\""_qs;
    QTest::newRow("delete object 0") << Words{"object", "delete", "3", "0"} << number + u"\"0\""_qs;
    QTest::newRow("delete a negative number") << Words{"object", "delete", "--", "-3"} << number + u"\"-3\""_qs;
    QTest::newRow("delete nothing") << Words{"object", "delete"} << u"OBJECT is required"_qs;
    QTest::newRow("delete twice") << Words{"object", "delete", "3", "7", "3"} << u"OBJECT: object 3 is given twice"_qs;
    QTest::newRow("no tree") << Words{"tree", "save", "--file", "/no/such"} << u"cannot read /no/such: "_qs;
    QTest::newRow("examples alone") << Words{"examples"} << u"a command is missing: see objectsctl examples --help"_qs;
}

void TestCtlObjectCommands::refusesWrongUsageBeforeAnythingIsSent()
{
    QFETCH(std::vector<std::string>, words);
    QFETCH(QString, message);
    QCOMPARE(m_run->run(words), 2);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: "_qs + message), qPrintable(m_run->err));
    QCOMPARE(saveTree(R"({"groups": [{"id": 1, "parent": 2, "name": "A"}], "placements": []})"), 2);
    QCOMPARE(m_run->err, u"objectsctl: groups[0].parent: there is no group 2\n"_qs);
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlObjectCommands::showsPropertiesToPickFrom()
{
    m_registry->catalogues["Get_example_objprops_v2"] =
        QByteArray::fromHex("00000001 FFFFFFFF 00000008 006E0061006D0065 FFFFFFFF 0000000A 00000002 4162 0074");
    QCOMPARE(m_run->run({"examples", "props", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"card\": [\n  {\"id\": -1, \"name\": \"name\", \"description\": null, \"type\": 10, "
                         "\"value\": \"Ab\", \"visible\": \"t\"}\n]}\n"_qs);
    QCOMPARE(m_run->run({"examples", "props"}), 0);
    QVERIFY2(m_run->out.contains(u"\n-1  name  (null)       10    yes      Ab\n"), qPrintable(m_run->out));
    QCOMPARE(m_run->service->requests.first().data, QByteArray());
}

void TestCtlObjectCommands::showsSensorsToPickFrom()
{
    m_registry->catalogues["Get_example_sensors_v2"] = QByteArray::fromHex(
        "00000001 00000002 0044 00000000 00000002 0008 0044 00000001 00000002 0061 00000000 00000001 72"
        "01 00");
    QCOMPARE(m_run->run({"examples", "sensors", "--json"}), 0);
    QCOMPARE(
        m_run->out,
        u"{\"sensors\": [\n  {\"name\": \"D\", \"measure\": \"\", \"quality\": 2, \"type\": 8, \"vid\": \"D\", "
        "\"labels\": [\"a\"], \"calculate\": \"\", \"rate\": \"r\", \"may_edit\": true, \"may_delete\": false}\n]}\n"_qs);
    QCOMPARE(m_run->run({"examples", "sensors"}), 0);
    QVERIFY2(m_run->out.endsWith(u"D              2        8     D    a                  r     yes       no\n"),
             qPrintable(m_run->out));
}

void TestCtlObjectCommands::showsControlsToPickFrom()
{
    // Two rows: one control with two parameters.
    m_registry->catalogues["Get_example_controls_v2"] =
        QByteArray::fromHex("00000002 0000000B 00000002 0041 00000000 00000004 00000000 00000002 00000002"
                            "00000001 70 00000000 00000000 00000001 00000000"
                            "00000001 71 00000000 00000000 0000000A 00000000"
                            "00000002 0048");
    QCOMPARE(m_run->run({"examples", "controls", "--json"}), 0);
    QCOMPARE(m_run->out,
             u"{\"controls\": [\n  {\"id\": 11, \"name\": \"A\", \"description\": \"\", \"operation\": 4, \"exec_by\": "
             u"\"\", "
             "\"params\": [{\"name\": \"p\", \"description\": \"\", \"type\": 1, \"value\": \"\"}, "
             "{\"name\": \"q\", \"description\": \"\", \"type\": 10, \"value\": \"\"}], \"hardware\": \"H\"}\n]}\n"_qs);
    QCOMPARE(m_run->run({"examples", "controls"}), 0);
    QCOMPARE(m_run->out, u"hardware  name  description  operation        parameters\n"
                         "--------  ----  -----------  ---------------  ----------\n"
                         "H         A                  4 configuration  p, q\n"_qs);
}

void TestCtlObjectCommands::readsControlsUntilTheAnswerEnds()
{
    const QByteArray control =
        QByteArray::fromHex("0000000B FFFFFFFF FFFFFFFF 00000000 FFFFFFFF 00000000 00000000 FFFFFFFF");
    m_registry->catalogues["Get_example_controls_v2"] = QByteArray::fromHex("00000005") + control + control;
    QCOMPARE(m_run->run({"examples", "controls", "--json"}), 0);
    QCOMPARE(m_run->out.count(u"\"hardware\""), 2);
    m_registry->catalogues["Get_example_controls_v2"] = QByteArray::fromHex("00000005") + control + control.chopped(1);
    QCOMPARE(m_run->run({"examples", "controls"}), 1);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: the service's answer cannot be read: "), qPrintable(m_run->err));
}

void TestCtlObjectCommands::saysThatACatalogueCannotBeRead_data()
{
    QTest::addColumn<std::string>("catalogue");
    QTest::newRow("props") << std::string("props");
    QTest::newRow("sensors") << std::string("sensors");
    QTest::newRow("controls") << std::string("controls");
}

void TestCtlObjectCommands::saysThatACatalogueCannotBeRead()
{
    QFETCH(std::string, catalogue);
    QCOMPARE(m_run->run({"examples", catalogue}), 0);
    QCOMPARE(m_run->out, u"the catalogue is empty\n"_qs);
    m_registry->hasDatabase = false;
    QCOMPARE(m_run->run({"examples", catalogue}), 1);
    QCOMPARE(m_run->err,
             u"objectsctl: the service could not read the examples from the registry: its log says why\n"_qs);
}

QTEST_GUILESS_MAIN(TestCtlObjectCommands)
#include "test_ctl_object_commands.moc"

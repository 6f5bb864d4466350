#include "bytes.h"
#include "pg_server.h"
#include "registry_site.h"
#include "service_process.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

using support::PgServer;
using support::ServiceProcess;
using support::StatementFault;
using support::TestDatabase;

/// objectsctl, the hub, the service and the sample registry together: an administrator at work.
class TestCtlRegistry : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void createsRenamesAndDeletesAnObject();
    void deletesAllThatBelongsToAnObject();
    void copiesSensorsFromOneObjectToAnother();
    void keepsEveryValueOfASensor();
    void setsAndRemovesASensorOnManyObjects();
    void saysThatAFailedInsertWasNotStored();
    void copiesCommandsFromOneObjectToAnother();
    void keepsEveryValueOfACommand();
    void setsAndRemovesACommandOnManyObjects();
    void writesNothingThatWasRefused();
    void showsTheCatalogues();
    void savesTheTree();
    void saysThatTheDatabaseIsAway();

private:
    /// Runs objectsctl to its end; its exit code, with its output in m_out and m_err.
    int run(const QStringList &words, const QByteArray &input = {});
    [[nodiscard]] QJsonObject json() const { return QJsonDocument::fromJson(m_out.toUtf8()).object(); }
    [[nodiscard]] qint64 count(const QString &from) const;
    void loadSampleRegistry() const;

    std::unique_ptr<TestDatabase> m_database;
    std::unique_ptr<ServiceProcess> m_service;
    QProcess m_hub;
    QString m_out;
    QString m_err;
};

int TestCtlRegistry::run(const QStringList &words, const QByteArray &input)
{
    QProcess process;
    process.start(QStringLiteral(OBJECTSCTL_PATH),
                  QStringList{"--hub", m_service->path("clients"), "--server", m_service->serverPath()} + words);
    process.write(input);
    process.closeWriteChannel();
    const bool ended = process.waitForFinished();
    m_out = QString::fromUtf8(process.readAllStandardOutput());
    m_err = QString::fromUtf8(process.readAllStandardError());
    return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

qint64 TestCtlRegistry::count(const QString &from) const
{
    return m_database->value("SELECT count(*) FROM " + from).toLongLong();
}

void TestCtlRegistry::loadSampleRegistry() const
{
    QProcess psql;
    psql.setProcessChannelMode(QProcess::MergedChannels);
    psql.start("psql",
               {"-X", "-q", "-h", PgServer::shared().socketFolder(), "-p", QString::number(PgServer::shared().port()),
                "-U", "objects", "-d", m_database->name(), "-v", "ON_ERROR_STOP=1", "-f", QStringLiteral(DEMO_PATH)});
    QVERIFY(psql.waitForFinished());
    QVERIFY2(psql.exitCode() == 0, psql.readAll().constData());
}

void TestCtlRegistry::initTestCase()
{
    m_database = PgServer::shared().cloneDatabase();
    loadSampleRegistry();
    m_service = std::make_unique<ServiceProcess>();
    m_hub.start(QStringLiteral(ADMIN_HUB_PATH),
                {"--services", m_service->adminPath(), "--clients", m_service->path("clients")});
    QVERIFY(m_hub.waitForReadyRead());
    m_service->start(m_database->settings());
    QVERIFY2(ServiceProcess::waitUntil([this] { return run({"about"}) == 0; }), qPrintable(m_service->story()));
}

void TestCtlRegistry::cleanupTestCase()
{
    m_hub.terminate();
    m_hub.waitForFinished();
    m_service.reset();
    m_database.reset();
}

void TestCtlRegistry::createsRenamesAndDeletesAnObject()
{
    const qint64 greatest = m_database->value(R"(SELECT max("Id") FROM "Objects")").toLongLong();
    QCOMPARE(run({"object", "create", "--name", "Снегоход 'Буран' %1", "--json"}), 0);
    const int object = json()["object"].toInt();
    QVERIFY(object > greatest);
    const QString property = QStringLiteral(R"(SELECT "Description", "Type", convert_from("Value", 'utf8') AS value,
        "Visible" FROM "Objects_property" WHERE "Id_objects" = %1)")
                                 .arg(object);
    QCOMPARE(m_database->rows(property), QStringList{"Имя|10|Снегоход 'Буран' %1|true"});
    const QString number = QString::number(object);
    QCOMPARE(run({"object", "rename", number, "Волга"}), 0);
    QCOMPARE(m_database->rows(property), QStringList{"Имя|10|Волга|true"});
    QCOMPARE(run({"object", "delete", number}), 0);
    QCOMPARE(m_out, QStringLiteral("object %1 deleted\n").arg(number));
    QCOMPARE(count(R"("Objects" WHERE "Id" = )" + number), 0);
    QCOMPARE(run({"object", "delete", number}), 1);
    QVERIFY2(m_err.contains("there was no object " + number), qPrintable(m_err));
    QCOMPARE(run({"object", "rename", number, "x"}), 1);
    {
        const StatementFault fault(*m_database, R"("Objects")", "INSERT");
        QCOMPARE(run({"object", "create", "--name", "x"}), 1);
        QVERIFY2(m_err.contains("did not create the object"), qPrintable(m_err));
    }
}

void TestCtlRegistry::deletesAllThatBelongsToAnObject()
{
    const QStringList places = {R"("Objects" WHERE "Id" = 41)",
                                R"("Objects_property" WHERE "Id_objects" = 41)",
                                R"("Groups_objects" WHERE "Id_object" = 41)",
                                R"("Commands" WHERE "Id_object" = 41)",
                                R"("Sensors" WHERE "Id_objects" = 41)",
                                R"(archive.lastdata WHERE id_object = 41)"};
    for (const QString &place : places)
        QVERIFY2(count(place) > 0, qPrintable(place));
    {
        const StatementFault fault(*m_database, "archive.lastdata", "DELETE");
        QCOMPARE(run({"object", "delete", "41", "40"}), 1);
        QVERIFY2(m_err.contains("did not delete object 41: it still has a card"), qPrintable(m_err));
    }
    QCOMPARE(count(R"("Objects" WHERE "Id" IN (40, 41))"), 2);
    QCOMPARE(run({"object", "delete", "41"}), 0);
    for (const QString &place : places)
        QVERIFY2(count(place) == 0, qPrintable(place));
}

void TestCtlRegistry::copiesSensorsFromOneObjectToAnother()
{
    QCOMPARE(run({"sensors", "show", "1"}), 0);
    QVERIFY2(m_out.startsWith("object 1, 7 sensors\nname ") && m_out.contains("выключено;включено"), qPrintable(m_out));
    QCOMPARE(run({"sensors", "show", "1", "--json"}), 0);
    const QString shown = m_out;
    QCOMPARE(run({"sensors", "save", "30"}, shown.toUtf8()), 2);
    QVERIFY2(m_err.startsWith("objectsctl: object: expected 30, as on the command line"), qPrintable(m_err));
    QCOMPARE(run({"sensors", "save", "30"}, QString(shown).replace("{\"object\": 1, ", "{").toUtf8()), 0);
    QCOMPARE(m_out, "object 30: 7 sensors saved\n");
    const QString rows =
        R"(SELECT "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate" FROM "Sensors"
        WHERE "Id_objects" = %1 ORDER BY "Id")";
    QCOMPARE(m_database->rows(rows.arg(30)), m_database->rows(rows.arg(1)));
    QCOMPARE(run({"sensors", "show", "30", "--json"}), 0);
    QCOMPARE(QString(m_out).replace("\"object\": 30", "\"object\": 1"), shown);
    QCOMPARE(run({"sensors", "save", "30"}, R"({"sensors": []})"), 0);
    QCOMPARE(count(R"("Sensors" WHERE "Id_objects" = 30)"), 0);
}

void TestCtlRegistry::keepsEveryValueOfASensor()
{
    const QByteArray everyByte = "\"rate\": {\"base64\": \"AAECAwQFBgcICf/+wIA=\"}}";
    const QByteArray sensors =
        R"({"object": 31, "sensors": [
  {"name": null, "measure": null, "quality": -2147483648, "type": -32768, "vid": "", "labels": [""], "calculate": null, "rate": null},
  {"name": "", "measure": "", "quality": 2147483647, "type": 32767, "vid": 255, "labels": ["", "a", ""], "calculate": "", "rate": ""},
  {"name": "'; \\ \"%1\" 🚗", "measure": "\n", "quality": 0, "type": 0, "vid": "'", "labels": ["\\", "'"], "calculate": "{}\t", )" +
        everyByte + "\n]}\n";
    QCOMPARE(run({"sensors", "save", "31"}, sensors), 0);
    QCOMPARE(run({"sensors", "show", "31", "--json"}), 0);
    QCOMPARE(m_out, QString::fromUtf8(sensors));
    QCOMPARE(m_database->value(R"(SELECT "Rate" FROM "Sensors" WHERE "Id_objects" = 31 AND "Type" = 0)").toByteArray(),
             QByteArray::fromHex("00010203040506070809fffec080"));
    QCOMPARE(count(R"("Sensors" WHERE "Id_objects" = 31 AND "Name" IS NULL AND "Rate" IS NULL)"), 1);
    QCOMPARE(run({"sensors", "save", "31"}, QByteArray(sensors).replace("[\"\"]", "[]")), 0);
    QCOMPARE(run({"sensors", "show", "31", "--json"}), 0);
    QCOMPARE(m_out, QString::fromUtf8(sensors));
}

void TestCtlRegistry::setsAndRemovesASensorOnManyObjects()
{
    const QString ofType = R"("Sensors" WHERE "Id_objects" IN (2, 3) AND "Type" = 3)";
    QCOMPARE(count(ofType), 2);
    const QByteArray fuel = R"({"name": "Топливо %1", "measure": "л", "quality": 1, "type": 3, "vid": "A", "labels": [],
                                "calculate": "x", "rate": "0.2"})";
    QCOMPARE(run({"sensors", "fix", "set", "--objects", "2,3"}, fuel), 0);
    QCOMPARE(m_out, "\"Топливо %1\" set on 2 objects\n");
    QCOMPARE(count(ofType + R"( AND "Name" = 'Топливо %1')"), 2);
    QCOMPARE(count(ofType), 2);
    QCOMPARE(run({"sensors", "fix", "remove", "--objects", "2,3", "--name", "Топливо %1"}), 0);
    QCOMPARE(count(ofType), 0);
    QCOMPARE(count(R"("Sensors" WHERE "Id_objects" IN (2, 3))"), 12);
}

void TestCtlRegistry::saysThatAFailedInsertWasNotStored()
{
    const StatementFault fault(*m_database, R"("Sensors")", "INSERT", "NEW.\"Id_objects\" = 5");
    const QByteArray sensor = R"({"name": "a", "measure": "", "quality": 1, "type": 3, "vid": "A", "labels": [],
                                  "calculate": "x", "rate": null})";
    QCOMPARE(run({"sensors", "fix", "set", "--objects", "4,5"}, sensor), 1);
    QCOMPARE(m_err, "objectsctl: the service did not store the change on object 5\n");
    QCOMPARE(run({"sensors", "save", "5"}, "{\"sensors\": [" + sensor + "]}"), 1);
    QCOMPARE(m_err, "objectsctl: the service did not store the sensors as sent: it has 0 sensors instead of 1\n");
}

void TestCtlRegistry::copiesCommandsFromOneObjectToAnother()
{
    QCOMPARE(run({"commands", "show", "1"}), 0);
    QVERIFY2(m_out.startsWith("object 1, 6 commands\nname ") && m_out.contains("4 configuration"), qPrintable(m_out));
    QCOMPARE(run({"commands", "show", "1", "--json"}), 0);
    QCOMPARE(run({"commands", "save", "30"}, QString(m_out).replace("{\"object\": 1, ", "{").toUtf8()), 0);
    QCOMPARE(m_out, "object 30: 6 commands saved\n");
    const QString rows = R"(SELECT c."Name", "Operation", c."Description", "ExecBy", p."Name" AS param,
        p."Description" AS caption, p."Value", p."Type" FROM "Commands" c LEFT JOIN "Params" p ON p."Id_command" = c."Id"
        WHERE "Id_object" = %1 ORDER BY "Operation", c."Id", p."Id")";
    QCOMPARE(m_database->rows(rows.arg(30)), m_database->rows(rows.arg(1)));
    QCOMPARE(m_database->rows(rows.arg(30)).size(), 9);
    QCOMPARE(run({"commands", "save", "30"}, R"({"commands": []})"), 0);
    QCOMPARE(count(R"("Commands" WHERE "Id_object" = 30)"), 0);
}

void TestCtlRegistry::keepsEveryValueOfACommand()
{
    const QByteArray commands = R"({"object": 31, "commands": [
  {"name": null, "description": null, "operation": -2147483648, "exec_by": null, "params": []},
  {"name": "", "description": "", "operation": 2147483647, "exec_by": "", "params": []},
  {"name": "'; %1 🚗", "description": "\\\n", "operation": 2147483647, "exec_by": {"base64": "AP8="}, "params": [{"name": null, "description": null, "type": -2147483648, "value": null}, {"name": "", "description": "", "type": 2147483647, "value": ""}, {"name": "имя '%1\n", "description": "\"", "type": 0, "value": {"base64": "AP8="}}]}
]}
)";
    QCOMPARE(run({"commands", "save", "31"}, commands), 0);
    QCOMPARE(run({"commands", "show", "31", "--json"}), 0);
    QCOMPARE(QString(m_out).replace(QRegularExpression(R"("id": \d+, )"), QString()), QString::fromUtf8(commands));
    QCOMPARE(run({"commands", "save", "31"}, m_out.toUtf8()), 0); // with the row keys that it shows
}

void TestCtlRegistry::setsAndRemovesACommandOnManyObjects()
{
    const QByteArray sleep = R"({"name": "sleep", "description": "Спать", "operation": 3, "exec_by": "block",
        "params": [{"name": "a", "description": "", "type": 1, "value": "1"},
                   {"name": "b", "description": "", "type": 1, "value": null}]})";
    const QString called = R"("Commands" WHERE "Id_object" IN (2, 10) AND "Name" = 'sleep')";
    QCOMPARE(count(called), 1); // object 10 has none
    QCOMPARE(run({"commands", "fix", "set", "--objects", "2,10"}, sleep), 0);
    QCOMPARE(m_out, "\"sleep\" set on 2 objects\n");
    QCOMPARE(count(called), 2);
    QCOMPARE(count(R"("Params" WHERE "Id_command" IN (SELECT "Id" FROM )" + called + ')'), 4);
    QCOMPARE(run({"commands", "fix", "remove", "--objects", "2,10", "--name", "sleep"}), 0);
    QCOMPARE(count(called), 0);
    const StatementFault fault(*m_database, R"("Params")", "INSERT", "NEW.\"Name\" = 'b'");
    QCOMPARE(run({"commands", "fix", "set", "--objects", "2,10"}, sleep), 1);
    QCOMPARE(m_err, "objectsctl: the service did not store the change on object 2\n");
    QCOMPARE(run({"commands", "save", "2"}, "{\"commands\": [" + sleep + "]}"), 1);
    QCOMPARE(m_err, "objectsctl: the service did not store commands[0] (\"sleep\") as it was sent\n");
}

void TestCtlRegistry::writesNothingThatWasRefused()
{
    const auto all = [this] {
        return m_database->rows(R"(SELECT * FROM "Sensors")") + m_database->rows(R"(SELECT * FROM "Commands")") +
               m_database->rows(R"(SELECT * FROM "Groups_objects")");
    };
    const QStringList before = all();
    QCOMPARE(run({"sensors", "save", "1"}, R"({"sensors": [{"name": "a", "measure": "", "quality": 0, "type": 1,
        "vid": "", "labels": ["a;b"], "calculate": "", "rate": null}]})"),
             2);
    QVERIFY2(m_err.startsWith("objectsctl: sensors[0].labels[0]: holds \";\""), qPrintable(m_err));
    QCOMPARE(run({"commands", "save", "1"}, R"({"commands": [{"name": "a"}]})"), 2);
    QCOMPARE(m_err, "objectsctl: commands[0].description: is missing\n");
    QCOMPARE(run({"commands", "fix", "remove", "--objects", "1", "--name", "'; DELETE FROM \"Sensors\" --"}), 2);
    QCOMPARE(run({"tree", "save"}, R"({"groups": [{"id": 1, "parent": 1, "name": ""}], "placements": []})"), 2);
    QCOMPARE(m_err, "objectsctl: groups[0].parent: group 1 would stand below itself\n");
    QCOMPARE(all(), before);
}

void TestCtlRegistry::showsTheCatalogues()
{
    QCOMPARE(run({"examples", "props", "--json"}), 0);
    QCOMPARE(json()["card"].toArray().size(), 19);
    QCOMPARE(json()["card"][3].toObject(), (QJsonObject{{"id", -1},
                                                        {"name", "phone"},
                                                        {"description", "Телефон SIM-карты блока"},
                                                        {"type", 10},
                                                        {"value", "+7 000 000-00-00"},
                                                        {"visible", "f"}}));
    QCOMPARE(run({"examples", "sensors", "--json"}), 0);
    QCOMPARE(json()["sensors"].toArray().size(), 15);
    QCOMPARE(json()["sensors"][3].toObject(), (QJsonObject{{"name", "Внешнее электропитание"},
                                                           {"measure", "В"},
                                                           {"quality", 1},
                                                           {"type", 4},
                                                           {"vid", ""},
                                                           {"labels", QJsonArray{""}},
                                                           {"calculate", "x / 10"},
                                                           {"rate", "0.1"},
                                                           {"may_edit", false},
                                                           {"may_delete", true}}));
    QCOMPARE(run({"examples", "controls", "--json"}), 0);
    const QJsonArray controls = json()["controls"].toArray();
    QCOMPARE(controls.size(), 14); // six of the truck's block, five of the site's, three of the tracker
    QCOMPARE(controls[8]["name"], "arm");
    QCOMPARE(controls[8]["hardware"], "Охранный блок КД-3");
    QCOMPARE(controls[8]["params"].toArray().size(), 2);
    for (const char *catalogue : {"props", "sensors", "controls"}) {
        QCOMPARE(run({"examples", catalogue}), 0);
        QVERIFY2(m_out.count('\n') > 14, qPrintable(m_out));
    }
    // What is shown can be given to an object at once.
    QCOMPARE(run({"examples", "props", "--json"}), 0);
    QCOMPARE(run({"card", "save", "29"}, m_out.toUtf8()), 0);
}

void TestCtlRegistry::savesTheTree()
{
    const auto stored = [this] {
        return m_database->rows(R"(SELECT "Id", "Name", "IsRoot" FROM "Groups" ORDER BY "Id")") +
               m_database->rows(R"(SELECT "Id_owner_group", "Id_qroup" FROM "Groups_groups" ORDER BY 1, 2)") +
               m_database->rows(R"(SELECT "Id_group", "Id_object" FROM "Groups_objects" ORDER BY 1, 2)");
    };
    const QStringList before = stored();
    QCOMPARE(run({"tree", "show", "--full", "--json"}), 0);
    const QString shown = m_out;
    QCOMPARE(run({"tree", "save"}, R"({"groups": [], "placements": []})"), 0);
    QCOMPARE(stored(), QStringList());
    QCOMPARE(run({"tree", "save"}, shown.toUtf8()), 0);
    QCOMPARE(stored(), before);

    const QByteArray tree = R"({"groups": [{"id": 7, "parent": 3, "name": "Внутри '%1'"},
                                           {"id": 3, "parent": 0, "name": "A"}, {"id": -2, "parent": 3, "name": null}],
                                "placements": [{"group": 7, "object": 1}, {"group": 3, "object": 1},
                                               {"group": 7, "object": 100000}, {"group": -2, "object": 2}]})";
    QCOMPARE(run({"tree", "save"}, tree), 0);
    QCOMPARE(m_out, "tree saved: 3 groups, 4 placements\n");
    QCOMPARE(m_err, "objectsctl: the places of objects without a name are not shown, and not confirmed: 100000\n");
    QCOMPARE(stored(), (QStringList{"-2|NULL|false", "3|A|true", "7|Внутри '%1'|false", "3|-2", "3|7", "-2|2", "3|1",
                                    "7|1", "7|100000"}));
    const StatementFault fault(*m_database, R"("Groups_objects")", "INSERT", "NEW.\"Id_group\" = 3");
    QCOMPARE(run({"tree", "save"}, tree), 1);
    QCOMPARE(m_err, "objectsctl: the service did not store the place of object 1 in group 3\n");
}

void TestCtlRegistry::saysThatTheDatabaseIsAway()
{
    QVERIFY(count(R"("Sensors" WHERE "Id_objects" = 1)") > 0); // opens the connection of the test itself
    PgServer::shared().administer("ALTER DATABASE " + m_database->name() + " ALLOW_CONNECTIONS false");
    m_database->endSessions();
    const QString message = "objectsctl: the service cannot read from its database, so that the change cannot be "
                            "confirmed: its log says why\n";
    QCOMPARE(run({"sensors", "save", "1"}, R"({"sensors": []})"), 1);
    QCOMPARE(m_err, message);
    QCOMPARE(run({"sensors", "fix", "remove", "--objects", "1", "--name", "Скорость"}), 1);
    QCOMPARE(m_err, message);
    QCOMPARE(run({"object", "create", "--name", "x"}), 1);
    QVERIFY2(m_err.contains("did not create the object"), qPrintable(m_err));
    QCOMPARE(run({"examples", "props"}), 1);
    QCOMPARE(run({"tree", "save"}, R"({"groups": [], "placements": []})"), 1);
    QVERIFY2(m_err.contains("whether the change was made is not known"), qPrintable(m_err));
    QCOMPARE(run({"--timeout", "1", "object", "delete", "1"}), 1);
    QCOMPARE(run({"--timeout", "1", "commands", "save", "1"}, R"({"commands": []})"), 1);
    QVERIFY2(m_err.contains("whether the change was made is not known"), qPrintable(m_err));
    QVERIFY(count(R"("Sensors" WHERE "Id_objects" = 1)") > 0);
    QVERIFY(count(R"("Commands" WHERE "Id_object" = 1)") > 0);
}

QTEST_GUILESS_MAIN(TestCtlRegistry)
#include "test_ctl_registry.moc"

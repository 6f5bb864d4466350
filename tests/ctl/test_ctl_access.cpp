#include "registry_site.h"
#include "tests/ctl/sample_registry.h"

#include <QJsonArray>

using support::StatementFault;
using testing::SampleRegistry;

/// Accounts, setup, search, the tree and templates through objectsctl, the hub, the service and its database.
class TestCtlAccess : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_site.reset(); }
    void keepsAccounts();
    void storesTextsThatLookLikeSql();
    void switchesTheSetupOfAnOperator();
    void copiesTheSetupOfAnOperator();
    void showsTheCatalogueOfProperties();
    void searchesTheOperatorsObjects();
    void findsObjectsByTheirProperties();
    void answersAnyStatement();
    void listsWhatAnOperatorMaySend();
    void savesValuesOfParameters();
    void drawsTheTreeOfAnOperator();
    void namesAWrongPicture();
    void savesTheTreeThatItShows();
    void keepsTemplates();
    void bringsEveryPartOfATemplateBack_data();
    void bringsEveryPartOfATemplateBack();
    void createsAnObjectFromATemplate();
    void saysThatStatementsFailed();

private:
    [[nodiscard]] QStringList rows(const QString &query) const { return m_site->database->rows(query); }

    std::unique_ptr<SampleRegistry> m_site;
};

void TestCtlAccess::initTestCase()
{
    m_site = std::make_unique<SampleRegistry>();
    const QString failure = m_site->begin();
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
}

void TestCtlAccess::keepsAccounts()
{
    const int id = m_site
                       ->json({"user", "add", "--login", "nina", "--password", "p w", "--phone", "1234567890",
                               "--email", "n@example.org", "--admin", "yes"})["id"]
                       .toInt();
    QVERIFY(id > 5);
    const QString number = QString::number(id);
    const QString account = R"(SELECT "Login", "Password", "Description", "Email", "Phone", "Admin" FROM "Connections"
        WHERE "Id" = )" + number;
    QCOMPARE(rows(account), QStringList{"nina|p w||n@example.org|1234567890|true"});
    QCOMPARE(m_site->run({"user", "set", number, "--admin", "no", "--description", "Нина"}), 0);
    QCOMPARE(rows(account), QStringList{"nina|p w|Нина|n@example.org|1234567890|false"});
    QCOMPARE(m_site->run({"user", "set", number, "--phone", "12345678901"}), 2);
    QCOMPARE(m_site->run({"user", "list"}), 0);
    QVERIFY(m_site->out.contains("nina") && !m_site->out.contains("p w"));
    QCOMPARE(m_site->run({"user", "list", "--show-passwords"}), 0);
    QVERIFY(m_site->out.contains("p w"));
    QCOMPARE(m_site->run({"user", "delete", number}), 0);
    QCOMPARE(rows(account), QStringList());
}

void TestCtlAccess::storesTextsThatLookLikeSql()
{
    const QString login = "'; DROP TABLE \"Connections\"; -- %1 $1 ?";
    const int id = m_site->json({"user", "add", "--login", login})["id"].toInt();
    QCOMPARE(
        m_site->database->value(R"(SELECT "Login" FROM "Connections" WHERE "Id" = )" + QString::number(id)).toString(),
        login);
    QCOMPARE(m_site->run({"user", "delete", QString::number(id)}), 0);
}

void TestCtlAccess::switchesTheSetupOfAnOperator()
{
    const QString setup = R"(SELECT "Id_object", "Id_PersProp" FROM "Person_Setup" WHERE "Id_connect" = 5 AND "Type" = 4
        ORDER BY 1, 2)";
    QCOMPARE(m_site->run({"setup", "set", "5", "--section", "4", "--objects", "0,7", "--on", "211,212"}), 0);
    QCOMPARE(rows(setup), (QStringList{"0|211", "0|212", "7|211", "7|212"}));
    QCOMPARE(m_site->run({"setup", "set", "5", "--section", "4", "--objects", "7", "--off", "211"}), 0);
    QCOMPARE(m_site->run({"setup", "show", "5"}), 0);
    QVERIFY(m_site->out.contains("section 4:\n"
                                 "object  properties switched on\n"
                                 "------  ----------------------\n"
                                 "0       211 212\n"
                                 "7       212\n"
                                 "nothing is on for 41 lines\n"));
    QCOMPARE(m_site->run({"setup", "set", "5", "--section", "4", "--objects", "999", "--on", "211"}), 1);
    QCOMPARE(m_site->run({"setup", "set", "5", "--section", "4", "--objects", "0,7", "--off", "211,212"}), 0);
    QCOMPARE(rows(setup), QStringList());
    QCOMPARE(m_site->run({"setup", "set", "5", "--section", "2", "--objects", "1", "--on", "64"}), 0);
    QCOMPARE(rows(QString(setup).replace("= 4", "= 2")).contains("1|64"), true);
}

void TestCtlAccess::copiesTheSetupOfAnOperator()
{
    const QString setup =
        R"(SELECT "Id_object", "Id_PersProp" FROM "Person_Setup" WHERE "Id_connect" = %1 AND "Type" = 1
        ORDER BY 1, 2)";
    const QStringList before = rows(setup.arg(3));
    QVERIFY(before.size() > 20);
    QCOMPARE(m_site->run({"setup", "copy", "3", "--section", "1", "--to", "5"}), 0);
    QCOMPARE(rows(setup.arg(5)), before);
    QCOMPARE(rows(setup.arg(3)), before);
}

void TestCtlAccess::showsTheCatalogueOfProperties()
{
    const QJsonArray groups = m_site->json({"props"})["groups"].toArray();
    QCOMPARE(groups.size(), 5);
    int count = 0;
    for (const QJsonValue &group : groups)
        count += int(group.toObject()["properties"].toArray().size());
    QCOMPARE(count, 60);
    QCOMPARE(m_site->run({"props"}), 0);
    QVERIFY(m_site->out.contains("  201  Наблюдение\n"));
}

void TestCtlAccess::searchesTheOperatorsObjects()
{
    const QJsonArray found = m_site->json({"--operator", "3", "search", "Рубин-1"})["found"].toArray();
    QCOMPARE(found.size(), 1);
    QCOMPARE(found[0].toObject()["object"].toInt(), 22);
    QCOMPARE(found[0].toObject()["property"].toString(), "name");
    QCOMPARE(m_site->json({"--operator", "3", "search"})["found"].toArray().size(), 20);
    QCOMPARE(m_site->run({"--operator", "3", "search", "o'x"}), 1);
    QVERIFY2(m_site->err.startsWith("objectsctl: the database refused the search: ERROR:"), qPrintable(m_site->err));
    QCOMPARE(m_site->err.count('\n'), 1);
}

void TestCtlAccess::findsObjectsByTheirProperties()
{
    QCOMPARE(m_site->json({"find", "3100401", "--property", "modem"})["objects"].toArray(), QJsonArray{1});
    QCOMPARE(m_site->run({"find", "%Рубин-1%"}), 0);
    QCOMPARE(m_site->out, "object\n------\n22\n");
    QCOMPARE(m_site->run({"find", "Рубин-1"}), 0);
    QCOMPARE(m_site->out, "nothing found\n");
    QCOMPARE(m_site->json({"objects"})["objects"].toArray().size(), 42);
}

void TestCtlAccess::answersAnyStatement()
{
    QCOMPARE(m_site->json({"query", "SELECT 5 UNION ALL SELECT 3"})["objects"].toArray(), (QJsonArray{5, 3}));
    for (const char *statement :
         {"COPY (SELECT 1) TO STDOUT", "begin; bad", "bad", "SELECT pg_terminate_backend(pg_backend_pid())"}) {
        QCOMPARE(m_site->run({"query", statement}), 0);
        QCOMPARE(m_site->out, "nothing found\n");
        QCOMPARE(m_site->json({"query", "SELECT 7"})["objects"].toArray(), QJsonArray{7});
    }
}

void TestCtlAccess::listsWhatAnOperatorMaySend()
{
    const QJsonArray commands = m_site->json({"--operator", "2", "allowed", "1", "2"})["commands"].toArray();
    QCOMPARE(commands.size(), 1);
    QCOMPARE(commands[0].toObject()["name"].toString(), "engine_block");
    QCOMPARE(m_site->run({"--operator", "3", "allowed", "1", "2"}), 0);
    QCOMPARE(m_site->out, "operator 3 may send object 1 no command of kind 2\n");
}

void TestCtlAccess::savesValuesOfParameters()
{
    const QString command =
        m_site->database->value(R"(SELECT "Id" FROM "Commands" WHERE "Id_object" = 1 AND "Name" = 'engine_block')")
            .toString();
    QCOMPARE(m_site->run({"--json", "params", "show", command}), 0);
    const QByteArray document = m_site->out.toUtf8().replace("\"value\": \"10\"", R"("value": {"base64": "AP8="})");
    QCOMPARE(m_site->run({"params", "save", command}, document), 0);
    QCOMPARE(m_site->out, QString("command %1: 2 values saved\n").arg(command));
    QCOMPARE(
        rows(uR"(SELECT "Name", encode("Value", 'hex') FROM "Params" WHERE "Id_command" = %1 ORDER BY "Id")"_qs.arg(
            command)),
        (QStringList{"delay|00ff", "reason|NULL"}));
}

void TestCtlAccess::drawsTheTreeOfAnOperator()
{
    QCOMPARE(m_site->run({"--operator", "3", "tree", "show"}), 0);
    QVERIFY2(m_site->out.contains("│   │   └── Экипаж «Рубин-2» (object 23, #ffffff on #2e7d32)\n") ||
                 m_site->out.contains("│       └── Экипаж «Рубин-2» (object 23, #ffffff on #2e7d32)\n"),
             qPrintable(m_site->out));
    QCOMPARE(m_site->out.count("(object 22, "), 2); // it stands in two groups
    QVERIFY(!m_site->out.contains("(object 1, "));
    QVERIFY(m_site->out.contains("Резерв (group 19)\n"));
    QCOMPARE(m_site->run({"--operator", "3", "tree", "show", "--full"}), 0);
    QVERIFY(m_site->out.contains("(object 1, #000000 on #ffe9c7)"));
    QVERIFY(m_site->out.endsWith("In no group:\n└── Пост на карьере (снят) (object 42)\n"));
}

void TestCtlAccess::namesAWrongPicture()
{
    QCOMPARE(m_site->run({"--json", "card", "show", "12"}), 0);
    const QByteArray card = m_site->out.toUtf8();
    QCOMPARE(m_site->run({"card", "set", "12", "pic", "bus.png"}), 0);
    QCOMPARE(m_site->run({"tree", "show", "--full"}), 1);
    QVERIFY2(m_site->err.contains("after object 11 (entry 12)"), qPrintable(m_site->err));
    QCOMPARE(m_site->out, "");
    QCOMPARE(m_site->run({"card", "save", "12"}, card), 0);
    QCOMPARE(m_site->run({"tree", "show", "--full"}), 0);
}

void TestCtlAccess::savesTheTreeThatItShows()
{
    QCOMPARE(m_site->run({"--json", "tree", "show", "--full"}), 0);
    const QString shown = m_site->out;
    m_site->database->run(R"(DELETE FROM "Groups_objects")");
    QCOMPARE(m_site->run({"tree", "save"}, shown.toUtf8()), 0);
    QCOMPARE(m_site->run({"--json", "tree", "show", "--full"}), 0);
    QCOMPARE(m_site->out, shown);
}

void TestCtlAccess::keepsTemplates()
{
    const QString head = R"(SELECT "Description" FROM "Templates" WHERE "Class" = 't' AND "Owner" = %1)";
    const int made = m_site->json({"template", "create", "Новый"})["template"].toInt();
    QCOMPARE(made, 5);
    QCOMPARE(m_site->run({"template", "rename", "5", "Новее"}), 0);
    QCOMPARE(rows(head.arg(5)), QStringList{"Новее"});
    QCOMPARE(m_site->json({"template", "copy", "-1", "Копия"})["template"].toInt(), 6);
    QCOMPARE(m_site->run({"--json", "template", "controls", "show", "-1"}), 0);
    QCOMPARE(m_site->json({"template", "controls", "show", "6"})["controls"].toArray().size(), 6);
    QCOMPARE(m_site->run({"template", "delete", "5"}), 0);
    QCOMPARE(m_site->run({"template", "delete", "6"}), 0);
    QCOMPARE(rows(R"(SELECT "Owner" FROM "Templates" WHERE "Class" = 't' ORDER BY 1)"),
             (QStringList{"1", "2", "3", "4"}));
    QCOMPARE(m_site->json({"template", "list"})["templates"].toArray().size(), 7);
}

void TestCtlAccess::bringsEveryPartOfATemplateBack_data()
{
    QTest::addColumn<QString>("part");
    for (const char *part : {"card", "sensors", "controls"})
        QTest::newRow(part) << QString(part);
}

void TestCtlAccess::bringsEveryPartOfATemplateBack()
{
    QFETCH(QString, part);
    const auto withoutKeys = [this](const QString &number) {
        QString text = m_site->out;
        text.replace("\"template\": " + number, "\"template\": 4");
        return text.replace(QRegularExpression("\"id\": [0-9]+, "), "");
    };
    for (const QString number : {"-1", "-2", "1", "2"}) {
        QCOMPARE(m_site->run({"--json", "template", part, "show", number}), 0);
        const QString shown = withoutKeys(number);
        QVERIFY(shown.count('\n') > 2);
        QCOMPARE(m_site->run({"template", part, "save", "4"}, shown.toUtf8()), 0);
        QCOMPARE(m_site->run({"--json", "template", part, "show", "4"}), 0);
        QCOMPARE(withoutKeys("4"), shown);
    }
    QCOMPARE(m_site->run({"template", part, "save", "4"}, "{\"" + part.toUtf8() + "\": []}"), 0);
}

void TestCtlAccess::createsAnObjectFromATemplate()
{
    const QStringList create = {"object", "create", "--template", "-2", "--name", "Пост 9", "--modem", "777"};
    const int object = m_site->json(create + QStringList{"--subdivision", "Реки"})["object"].toInt();
    QVERIFY(object > 42);
    QCOMPARE(rows(uR"(SELECT "Name", convert_from("Value", 'utf8') FROM "Objects_property" WHERE "Id_objects" = %1
        AND "Name" IN ('name', 'subdivision', 'modem') ORDER BY "Id")"_qs.arg(object)),
             (QStringList{"name|Пост 9", "subdivision|Реки", "modem|777"}));
    QCOMPARE(rows(uR"(SELECT count(*) FROM "Sensors" WHERE "Id_objects" = %1)"_qs.arg(object)), QStringList{"8"});
    QCOMPARE(m_site->run(create + QStringList{"--subdivision", "Реки"}), 1);
    QCOMPARE(m_site->err,
             "objectsctl: there is an object with the navigation block \"777\" in the subdivision \"Реки\"\n");
    QCOMPARE(m_site->run({"object", "create", "--template", "99", "--name", "x", "--modem", "y"}), 1);
    QCOMPARE(m_site->run({"object", "delete", QString::number(object)}), 0);
}

void TestCtlAccess::saysThatStatementsFailed()
{
    {
        const StatementFault fault(*m_site->database, R"("Connections")", "UPDATE");
        QCOMPARE(m_site->run({"user", "set", "5", "--email", "x"}), 1);
        QCOMPARE(m_site->err, "objectsctl: the service did not store the change of account 5\n");
    }
    {
        const StatementFault fault(*m_site->database, R"("Templates")", "INSERT");
        QCOMPARE(m_site->run({"template", "copy", "1", "x"}), 1);
        QCOMPARE(m_site->err, "objectsctl: the service could not write the copy (code 2): its log says why\n");
        QCOMPARE(m_site->run({"template", "card", "save", "4"},
                             R"({"card": [{"name": "a", "description": "", "type": 1, "value": "", "visible": "t"}]})"),
                 1);
    }
    const StatementFault fault(*m_site->database, R"("Objects_property")", "INSERT", R"(NEW."Name" = 'modem')");
    QCOMPARE(m_site->run({"object", "create", "--template", "1", "--name", "x", "--modem", "y"}), 1);
    QVERIFY(m_site->err.contains("A part of it may be in the registry"));
}

QTEST_GUILESS_MAIN(TestCtlAccess)
#include "test_ctl_access.moc"

#include "keystone/records.h"
#include "tests/ctl/program_run.h"

#include <QJsonDocument>
#include <QMap>
#include <QTemporaryFile>
#include <QTest>

using testing::ProgramRun;

/// Command lines about templates, and objects made from them.
class TestCtlTemplates : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_run.reset(); }
    void listsTemplates();
    void createsATemplate();
    void renamesATemplate();
    void deletesATemplate();
    void confirmsNoDeletionWithoutADatabase();
    void copiesATemplate();
    void saysThatACopyFailed();
    void saysThatChangesWereNotStored();
    void refusesToChangeSuppliedTemplates();
    void showsThePartsOfATemplate();
    void savesWhatItShows_data();
    void savesWhatItShows();
    void refusesWhatATemplateCannotKeep_data();
    void refusesWhatATemplateCannotKeep();
    void saysThatAPartWasNotStored();
    void refusesEveryPrefixOfAnAnswer_data();
    void refusesEveryPrefixOfAnAnswer();
    void createsAnObject();
    void findsItsObjectAmongOtherNotices();
    void saysWhyNoObjectWasCreated_data();
    void saysWhyNoObjectWasCreated();
    void refusesAnObjectWithoutIdentity_data();
    void refusesAnObjectWithoutIdentity();

private:
    static QByteArray bytes(const char *hex) { return QByteArray::fromHex(hex); }
    void handle(const bus::Command &command);
    void fix(keystone::ByteReader &in);
    void copy(keystone::ByteReader &in, QByteArray &reply);
    void create(keystone::ByteReader &in, const bus::Command &command);
    [[nodiscard]] QByteArrayList requestNames() const;
    [[nodiscard]] QByteArray lastRequest(const QByteArray &name) const;
    int saveDocument(const char *part, const QByteArray &document);

    std::unique_ptr<ProgramRun> m_run;
    QMap<qint32, QByteArray> m_titles;                  ///< the store of templates
    QMap<QByteArray, QMap<qint32, QByteArray>> m_parts; ///< by "card" and template: the records behind the number
    qint32 m_code = 0;                                  ///< answer to copies and creations
    QList<qint32> m_announced;                          ///< objects, after a creation
    bool m_hasDatabase = true;
};

/// One property: id 5, "a", null description, type 10, value "v", visible 't'.
const char kCard[] = "00000001 00000005 00000002 0061 FFFFFFFF 0000000A 00000001 76 0074";
/// One sensor: "s", no measure, quality 1, type 2, kind 'D', labels "x" and "", no formula, no rate.
const char kSensors[] = "00000001 00000002 0073 FFFFFFFF 00000001 0002 0044 00000002 00000002 0078 00000000"
                        "FFFFFFFF FFFFFFFF";
/// One command: id 6, "c", no description, operation 2, by "b", with one parameter: "p", value "1", type 3, id 7.
const char kControls[] = "00000001 00000006 00000002 0063 FFFFFFFF 00000002 00000001 62 00000001"
                         "00000001 70 00000001 31 FFFFFFFF 00000003 00000007";

void TestCtlTemplates::init()
{
    m_run = std::make_unique<ProgramRun>();
    m_titles = {{-1, "Firm"}, {1, "Own"}, {4, "Больше"}};
    m_parts.clear();
    for (const qint32 number : {-1, 1}) {
        m_parts["card"][number] = bytes(kCard);
        m_parts["sensors"][number] = bytes(kSensors);
        m_parts["controls"][number] = bytes(kControls);
    }
    m_code = 0;
    m_announced.clear();
    m_hasDatabase = true;
    m_run->service->other = [this](const bus::Command &command) { handle(command); };
}

void TestCtlTemplates::handle(const bus::Command &command)
{
    keystone::ByteReader in(command.data);
    QByteArray reply;
    keystone::ByteWriter out(&reply);
    const QByteArray part = command.name.split('_').value(2); // Get_template_card_v2
    if (command.name == "Get_template_list_v2") {
        out << qint32(m_titles.size());
        for (auto one = m_titles.cbegin(); one != m_titles.cend(); ++one)
            out << one.key() << one.value();
    } else if (command.name == "Fix_template_desc_v2") {
        fix(in);
    } else if (command.name == "Copy_template_v2") {
        copy(in, reply);
    } else if (command.name == "Create_obj_by_template_v2") {
        create(in, command);
        return;
    } else if (command.name.startsWith("Get_template_")) {
        qint32 number = 0;
        in >> number;
        out << std::abs(number);
        reply += m_parts[part].value(number, bytes("00000000"));
    } else if (command.name.startsWith("Save_template_")) {
        qint32 number = 0;
        in >> number;
        if (number > 0 && !m_run->service->refusesChanges)
            m_parts[part][number] = command.data.mid(sizeof(qint32));
    } else if (command.name == "Get_example_objprops_v2") {
        out << (m_hasDatabase ? 0 : -1);
    }
    m_run->service->peer.action(command.name, command.idConnection, reply);
}

void TestCtlTemplates::fix(keystone::ByteReader &in)
{
    qint32 number = 0;
    in >> number;
    if (m_run->service->refusesChanges)
        return;
    if (number < 0)
        m_titles.remove(-number);
    else
        in >> m_titles[number == 0 ? m_titles.lastKey() + 1 : number];
}

void TestCtlTemplates::copy(keystone::ByteReader &in, QByteArray &reply)
{
    qint32 source = 0;
    QString title;
    in >> source >> title;
    if (m_code == 0 && !m_run->service->refusesChanges)
        m_titles[m_titles.lastKey() + 1] = title.toUtf8();
    keystone::ByteWriter(&reply) << m_code;
}

void TestCtlTemplates::create(keystone::ByteReader &in, const bus::Command &command)
{
    qint32 number = 0;
    QMap<QString, QString> identity;
    in >> number >> identity;
    QByteArray reply;
    keystone::ByteWriter(&reply) << m_code;
    m_run->service->peer.action(command.name, command.idConnection, reply);
    for (const qint32 object : m_announced) {
        QByteArray data;
        keystone::ByteWriter(&data) << object;
        m_run->service->peer.socket.write(
            bus::encode(bus::Action{"ServerMessage", "SavedCard", data, QColor(Qt::red), -1}));
    }
    if (m_announced.isEmpty())
        return;
    for (auto one = identity.cbegin(); one != identity.cend(); ++one) {
        CardsProperty property;
        property.name = one.key();
        property.value = one.value().toUtf8();
        m_run->service->cards[m_announced.last()].append(property);
    }
}

QByteArrayList TestCtlTemplates::requestNames() const
{
    QByteArrayList names;
    for (const bus::Command &command : m_run->service->requests)
        names.append(command.name);
    return names;
}

QByteArray TestCtlTemplates::lastRequest(const QByteArray &name) const
{
    QByteArray data("not sent");
    for (const bus::Command &command : m_run->service->requests) {
        if (command.name == name)
            data = command.data;
    }
    return data;
}

int TestCtlTemplates::saveDocument(const char *part, const QByteArray &document)
{
    QTemporaryFile file;
    if (!file.open() || file.write(document) != document.size() || !file.flush())
        return -1;
    return m_run->run({"template", part, "save", "4", "--file", file.fileName().toStdString()});
}

void TestCtlTemplates::listsTemplates()
{
    QCOMPARE(m_run->run({"template", "list"}), 0);
    QCOMPARE(m_run->out, u"template  kind      title\n"
                         "--------  --------  ------\n"
                         "-1        supplied  Firm\n"
                         "1         own       Own\n"
                         "4         own       Больше\n"_qs);
    m_titles = {{-1, "Firm"}};
    QCOMPARE(m_run->run({"template", "list", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"templates\": [\n  {\"template\": -1, \"supplied\": true, \"title\": \"Firm\"}\n]}\n"_qs);
    m_titles.clear();
    QCOMPARE(m_run->run({"template", "list"}), 0);
    QCOMPARE(m_run->out, u"there are no templates\n"_qs);
}

void TestCtlTemplates::createsATemplate()
{
    QCOMPARE(m_run->run({"template", "create", "Ян"}), 0);
    QCOMPARE(m_run->out, u"template 5 (\"Ян\") created\n"_qs);
    QCOMPARE(lastRequest("Fix_template_desc_v2"), bytes("00000000 00000004 D0AFD0BD"));
    QCOMPARE(m_run->run({"template", "create", "Ян", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"template\": 6}\n"_qs);
}

void TestCtlTemplates::renamesATemplate()
{
    QCOMPARE(m_run->run({"template", "rename", "4", "Ян"}), 0);
    QCOMPARE(m_run->out, u"template 4 is now \"Ян\"\n"_qs);
    QCOMPARE(lastRequest("Fix_template_desc_v2"), bytes("00000004 00000004 D0AFD0BD"));
    QCOMPARE(m_run->run({"template", "rename", "7", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no template 7 (\"template list\" shows all)\n"_qs);
}

void TestCtlTemplates::deletesATemplate()
{
    QCOMPARE(m_run->run({"template", "delete", "4"}), 0);
    QCOMPARE(m_run->out, u"template 4 deleted\n"_qs);
    QCOMPARE(lastRequest("Fix_template_desc_v2"), bytes("FFFFFFFC"));
    QCOMPARE(m_run->run({"template", "delete", "4"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no template 4 (\"template list\" shows all)\n"_qs);
}

void TestCtlTemplates::confirmsNoDeletionWithoutADatabase()
{
    m_hasDatabase = false;
    QCOMPARE(m_run->run({"template", "delete", "4"}), 1);
    QVERIFY(m_run->err.contains(u"cannot read from its database"));
}

void TestCtlTemplates::copiesATemplate()
{
    QCOMPARE(m_run->run({"template", "copy", "-1", "Ян"}), 0);
    QCOMPARE(m_run->out, u"template 5 (\"Ян\") made\n"_qs);
    QCOMPARE(lastRequest("Copy_template_v2"), bytes("FFFFFFFF 00000004 042F043D")); // here the title is a text
    QCOMPARE(m_run->run({"template", "copy", "1", "Ян", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"template\": 6}\n"_qs);
    QCOMPARE(m_run->run({"template", "copy", "-2", "Ян"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no template -2 (\"template list\" shows all)\n"_qs);
}

void TestCtlTemplates::saysThatACopyFailed()
{
    m_code = 2;
    QCOMPARE(m_run->run({"template", "copy", "1", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service could not write the copy (code 2): its log says why\n"_qs);
}

void TestCtlTemplates::saysThatChangesWereNotStored()
{
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"template", "create", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the new template\n"_qs);
    QCOMPARE(m_run->run({"template", "rename", "1", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the title of template 1\n"_qs);
    QCOMPARE(m_run->run({"template", "delete", "1"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not delete template 1\n"_qs);
    QCOMPARE(m_run->run({"template", "copy", "1", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the new template\n"_qs);
}

void TestCtlTemplates::refusesToChangeSuppliedTemplates()
{
    QCOMPARE(m_run->run({"template", "rename", "-1", "x"}), 2);
    QCOMPARE(m_run->run({"template", "delete", "-1"}), 2);
    for (const char *part : {"card", "sensors", "controls"})
        QCOMPARE(m_run->run({"template", part, "save", "-1"}), 2);
    QCOMPARE(m_run->err, u"objectsctl: TEMPLATE: expected an integer from 1 to 2147483647, not \"-1\"\n"_qs);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlTemplates::showsThePartsOfATemplate()
{
    QCOMPARE(m_run->run({"template", "card", "show", "-1"}), 0);
    QCOMPARE(m_run->out, u"template -1, 1 property\n"
                         "id  name  description  type  visible  value\n"
                         "--  ----  -----------  ----  -------  -----\n"
                         "5   a     (null)       10    yes      v\n"_qs);
    QCOMPARE(lastRequest("Get_template_card_v2"), bytes("FFFFFFFF"));
    QCOMPARE(m_run->run({"template", "sensors", "show", "1"}), 0);
    QVERIFY(m_run->out.startsWith(u"template 1, 1 sensor\n"));
    QCOMPARE(m_run->run({"template", "controls", "show", "1"}), 0);
    QVERIFY(m_run->out.startsWith(u"template 1, 1 command\n"));
    QCOMPARE(m_run->run({"template", "controls", "show", "4"}), 0);
    QCOMPARE(m_run->out, u"template 4 has no commands\n"_qs);
    QCOMPARE(m_run->run({"template", "card", "show", "9"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no template 9 (\"template list\" shows all)\n"_qs);
    QCOMPARE(m_run->run({"template", "card", "show", "1", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"template\": 1, \"card\": [\n  {\"id\": 5, \"name\": \"a\", \"description\": null, "
                         "\"type\": 10, \"value\": \"v\", \"visible\": \"t\"}\n]}\n"_qs);
}

void TestCtlTemplates::savesWhatItShows_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QString>("confirmation");
    QTest::newRow("card") << "card"_qba << u"template 4: 1 property saved\n"_qs;
    QTest::newRow("sensors") << "sensors"_qba << u"template 4: 1 sensor saved\n"_qs;
    QTest::newRow("controls") << "controls"_qba << u"template 4: 1 command saved\n"_qs;
}

void TestCtlTemplates::savesWhatItShows()
{
    QFETCH(QByteArray, part);
    QFETCH(QString, confirmation);
    QCOMPARE(m_run->run({"template", part.constData(), "show", "1", "--json"}), 0);
    QByteArray document = m_run->out.toUtf8();
    QCOMPARE(saveDocument(part.constData(), document), 2);
    QVERIFY(m_run->err.startsWith(u"objectsctl: template: expected 4, as on the command line"));
    QVERIFY(!requestNames().contains("Save_template_" + part + "_v2"));
    document.replace("\"template\": 1", "\"template\": 4");
    QCOMPARE(saveDocument(part.constData(), document), 0);
    QCOMPARE(m_run->out, confirmation);
    QCOMPARE(m_parts[part][4], m_parts[part][1]);
    QCOMPARE(saveDocument(part.constData(), "{\"" + part + "\": []}"), 0);
    QCOMPARE(m_parts[part][4], bytes("00000000"));
}

void TestCtlTemplates::refusesWhatATemplateCannotKeep_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QString>("message");
    const QByteArray property = R"("description": "", "type": 1, "value": "", "visible": "t", "name": )";
    for (const char *name : {"name", "subdivision", "modem"}) {
        QTest::newRow(name) << "card"_qba << property + '"' + name + '"'
                            << u"card[0].name: \"%1\" belongs to an object itself, and the cards of templates do not "
                               "show it"_qs.arg(QLatin1String(name));
    }
    QTest::newRow("no name") << "card"_qba << property + "null"
                             << u"card[0].name: a property without a name would never be shown again"_qs;
    QTest::newRow("NUL") << "card"_qba << property + R"("a\u0000")"
                         << u"card[0].name: holds the character U+0000, which the registry cannot keep"_qs;
    QTest::newRow("other field") << "card"_qba << property + R"("a", "colour": 1)"
                                 << u"card[0].colour: there is no such field"_qs;
}

void TestCtlTemplates::refusesWhatATemplateCannotKeep()
{
    QFETCH(QByteArray, part);
    QFETCH(QByteArray, fields);
    QFETCH(QString, message);
    QCOMPARE(saveDocument(part.constData(), "{\"" + part + "\": [{" + fields + "}]}"), 2);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlTemplates::saysThatAPartWasNotStored()
{
    QCOMPARE(m_run->run({"template", "card", "show", "1", "--json"}), 0);
    const QByteArray document = m_run->out.toUtf8().replace("\"template\": 1", "\"template\": 4");
    m_run->service->refusesChanges = true;
    QCOMPARE(saveDocument("card", document), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store all that was sent: the template has 0 properties "
                         "instead of 1\n"_qs);
    m_parts["card"][4] = m_parts["card"][1];
    QCOMPARE(saveDocument("card", QByteArray(document).replace("\"t\"", "116")), 0);   // the same flag
    QCOMPARE(saveDocument("card", QByteArray(document).replace("\"t\"", "\"T\"")), 1); // a template keeps the code
    QCOMPARE(m_run->err, u"objectsctl: the service did not store card[0] as it was sent\n"_qs);
}

void TestCtlTemplates::refusesEveryPrefixOfAnAnswer_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::newRow("card") << "card"_qba;
    QTest::newRow("sensors") << "sensors"_qba;
    QTest::newRow("controls") << "controls"_qba;
}

void TestCtlTemplates::refusesEveryPrefixOfAnAnswer()
{
    QFETCH(QByteArray, part);
    const QByteArray whole = m_parts[part][1];
    const QByteArrayList wrong = {whole + 'x', bytes("7FFFFFFF"), bytes("10000000") + whole.mid(4)};
    const auto refuses = [&](const QByteArray &answer) {
        m_parts[part][1] = answer;
        return m_run->run({"template", part.constData(), "show", "1"}) == 1 && m_run->err.contains(u"cannot be read") &&
               m_run->out.isEmpty();
    };
    for (qsizetype length = 0; length < whole.size(); ++length)
        QVERIFY2(refuses(whole.first(length)), qPrintable(QString::number(length)));
    for (const QByteArray &answer : wrong)
        QVERIFY(refuses(answer));
    QVERIFY(!refuses(whole));
}

void TestCtlTemplates::createsAnObject()
{
    m_announced = {17};
    QCOMPARE(m_run->run({"object", "create", "--template", "-1", "--name", "A", "--modem", "7", "--subdivision", "S"}),
             0);
    QCOMPARE(m_run->out, u"object 17 created from template -1\n"_qs);
    QCOMPARE(lastRequest("Create_obj_by_template_v2"),
             bytes("FFFFFFFF 00000003 0000000A 006D006F00640065006D 00000002 0037"
                   "00000008 006E0061006D0065 00000002 0041"
                   "00000016 00730075006200640069007600690073006900 6F006E 00000002 0053"));
    m_announced = {18};
    QCOMPARE(m_run->run({"--json", "object", "create", "--template", "1", "--name", "B", "--modem", "8"}), 0);
    QCOMPARE(m_run->out, u"{\"object\": 18}\n"_qs);
}

void TestCtlTemplates::findsItsObjectAmongOtherNotices()
{
    m_announced = {3, 4, 17};
    CardsProperty name;
    name.name = u"name"_qs;
    name.value = "A";
    m_run->service->cards[3] = {name}; // of the same name, but with another navigation block
    QCOMPARE(m_run->run({"object", "create", "--template", "1", "--name", "A", "--modem", "7"}), 0);
    QCOMPARE(m_run->out, u"object 17 created from template 1\n"_qs);
    m_announced.clear();
    QCOMPARE(m_run->run({"--timeout", "0.1", "object", "create", "--template", "1", "--name", "A", "--modem", "7"}), 1);
    QVERIFY(m_run->err.startsWith(u"objectsctl: the object is created, but its number was not told: "));
}

void TestCtlTemplates::saysWhyNoObjectWasCreated_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    QTest::newRow("identity") << 1 << u"the service misses the name or the number of the navigation block"_qs;
    QTest::newRow("statement") << 2
                               << u"the service could not write the object: its log says why. A part of it may be in "
                                  "the registry"_qs;
    QTest::newRow("twin") << 3 << u"there is an object with the navigation block \"7\" in the subdivision \"S\""_qs;
    QTest::newRow("unknown") << 9 << u"the service answers with an unknown code: 9"_qs;
}

void TestCtlTemplates::saysWhyNoObjectWasCreated()
{
    QFETCH(int, code);
    QFETCH(QString, message);
    m_code = code;
    QCOMPARE(m_run->run({"object", "create", "--template", "1", "--name", "A", "--modem", "7", "--subdivision", "S"}),
             1);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
}

void TestCtlTemplates::refusesAnObjectWithoutIdentity_data()
{
    QTest::addColumn<QByteArrayList>("words");
    QTest::newRow("no modem") << QByteArrayList{"--template", "1", "--name", "A"};
    QTest::newRow("empty modem") << QByteArrayList{"--template", "1", "--name", "A", "--modem", ""};
    QTest::newRow("empty name") << QByteArrayList{"--template", "1", "--name", "", "--modem", "7"};
    QTest::newRow("modem without template") << QByteArrayList{"--name", "A", "--modem", "7"};
    QTest::newRow("subdivision without template") << QByteArrayList{"--name", "A", "--subdivision", "7"};
}

void TestCtlTemplates::refusesAnObjectWithoutIdentity()
{
    QFETCH(QByteArrayList, words);
    QCOMPARE(m_run->runWords(QByteArrayList{"object", "create"} + words), 2);
    QVERIFY(m_run->service->requests.isEmpty());
}

QTEST_GUILESS_MAIN(TestCtlTemplates)
#include "test_ctl_templates.moc"

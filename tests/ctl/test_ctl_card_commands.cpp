#include "tests/ctl/program_run.h"

#include <QTemporaryFile>
#include <QTest>

using testing::ProgramRun;

/// Command lines that read and change cards.
class TestCtlCardCommands : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_run = std::make_unique<ProgramRun>(); }
    void cleanup() { m_run.reset(); }
    void showsACardAsATable();
    void showsAnEmptyCard();
    void savesWhatItShowsAsJson();
    void refusesAWrongCardBeforeAnythingIsSent();
    void saysThatACardWasNotStored();
    void setsOneValue();
    void saysThatAPropertyIsMissing();
    void fixesAPropertyOnManyObjects();
    void removesAPropertyFromManyObjects();
    void saysThatAFixWasNotStored();
    void saysThatTheOutcomeIsNotKnown();

private:
    [[nodiscard]] QByteArrayList requestNames() const;
    static CardsProperty property(const QString &name, const QByteArray &value);

    std::unique_ptr<ProgramRun> m_run;
};

QByteArrayList TestCtlCardCommands::requestNames() const
{
    QByteArrayList names;
    for (const bus::Command &command : m_run->service->requests)
        names.append(command.name);
    return names;
}

CardsProperty TestCtlCardCommands::property(const QString &name, const QByteArray &value)
{
    CardsProperty property;
    property.id = 5;
    property.name = name;
    property.description = u"Имя"_qs;
    property.type = 10;
    property.value = value;
    property.visible = 't';
    return property;
}

void TestCtlCardCommands::showsACardAsATable()
{
    CardsProperty colour = property(u"font_color"_qs, QByteArray::fromHex("01FFFFFFFF000000000000"));
    colour.visible = 'f';
    colour.description = QString();
    m_run->service->cards[3] = {property(u"name"_qs, "Газель \x1b"), colour};
    QCOMPARE(m_run->run({"card", "show", "3", "--operator", "7"}), 0);
    QCOMPARE(m_run->out,
             u"object 3, 2 properties\n"
             "id  name        description  type  visible  value\n"
             "--  ----------  -----------  ----  -------  ---------------------------------------\n"
             "5   name        Имя          10    yes      0xd093d0b0d0b7d0b5d0bbd18c... (14 bytes)\n"
             "5   font_color  (null)       10    no       #ff0000\n"_qs.replace(
                 u"---------------------------------------\n"_qs, u"----------------------------------------\n"_qs));
    QCOMPARE(m_run->service->requests.first().idConnection, 7);
    QCOMPARE(m_run->service->requests.first().data, QByteArray::fromHex("00000003"));
}

void TestCtlCardCommands::showsAnEmptyCard()
{
    QCOMPARE(m_run->run({"card", "show", "3"}), 0);
    QCOMPARE(m_run->out, u"object 3 has no properties\n"_qs);
}

void TestCtlCardCommands::savesWhatItShowsAsJson()
{
    m_run->service->cards[3] = {property(u"name"_qs, "Газель"), property(QString(), QByteArray()),
                                property(u""_qs, QByteArray::fromHex("00FF"))};
    QCOMPARE(m_run->run({"card", "show", "3", "--json"}), 0);
    const QString shown = m_run->out;
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(shown.toUtf8());
    file.flush();
    m_run->service->cards[3].clear();
    QCOMPARE(m_run->run({"card", "save", "3", "--file", file.fileName().toStdString()}), 0);
    QCOMPARE(m_run->out, u"object 3: 3 properties saved\n"_qs);
    QCOMPARE(m_run->service->cards[3].size(), 3);
    for (CardsProperty &saved : m_run->service->cards[3]) {
        QVERIFY(saved.id > 100);
        saved.id = 5;
    }
    QCOMPARE(m_run->run({"card", "show", "3", "--json"}), 0);
    QCOMPARE(m_run->out, shown);
}

void TestCtlCardCommands::refusesAWrongCardBeforeAnythingIsSent()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(R"({"card": [{"name": "a", "description": "", "type": 1e10, "value": "", "visible": "t"}]})");
    file.flush();
    QCOMPARE(m_run->run({"card", "save", "3", "--file", file.fileName().toStdString()}), 2);
    QCOMPARE(m_run->err, u"objectsctl: card[0].type: expected an integer from -2147483648 to 2147483647\n"_qs);
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlCardCommands::saysThatACardWasNotStored()
{
    m_run->service->refusesChanges = true;
    m_run->service->cards[3] = {property(u"name"_qs, "old")};
    QTemporaryFile file;
    QVERIFY(file.open());
    const QByteArray record = R"({"name": "name", "description": "Имя", "type": 10, "value": "new", "visible": "t"})";
    file.write(R"({"card": [)" + record + "]}");
    file.flush();
    QCOMPARE(m_run->run({"card", "save", "3", "--file", file.fileName().toStdString()}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store card[0] (\"name\") as it was sent\n"_qs);
    m_run->service->cards[3].clear();
    QCOMPARE(m_run->run({"card", "save", "3", "--file", file.fileName().toStdString()}), 1);
    QCOMPARE(m_run->err,
             u"objectsctl: the service did not store the card as it was sent: it has 0 properties instead of 1\n"_qs);
}

void TestCtlCardCommands::setsOneValue()
{
    m_run->service->cards[3] = {property(u"name"_qs, "old"), property(u"about"_qs, "kept")};
    QCOMPARE(m_run->run({"card", "set", "3", "name", "about"}), 0); // words that are commands elsewhere
    QCOMPARE(m_run->service->cards[3][0].value, "about");
    QCOMPARE(m_run->service->cards[3][1].value, "kept");
    QCOMPARE(m_run->service->requests.first().data,
             QByteArray::fromHex("00000003 00000001 00000000"
                                 "FFFFFFFF 00000008 006E0061006D0065 FFFFFFFF 00000000 00000005 61626F7574 0000"));
    QCOMPARE(m_run->run({"card", "set", "3", "name", "--base64", "AP8="}), 0);
    QCOMPARE(m_run->service->cards[3][0].value, QByteArray::fromHex("00FF"));
    QCOMPARE(m_run->run({"card", "set", "3", "name", "--", "-x"}), 0);
    QCOMPARE(m_run->service->cards[3][0].value, "-x");
    QCOMPARE(m_run->run({"card", "set", "3", "name", ""}), 0);
    QCOMPARE(m_run->service->cards[3][0].value, "");
    QCOMPARE(m_run->run({"--json", "card", "set", "3", "name", "x"}), 0);
    QCOMPARE(m_run->out, QString());
}

void TestCtlCardCommands::saysThatAPropertyIsMissing()
{
    m_run->service->cards[3] = {property(u"name"_qs, "old")};
    QCOMPARE(m_run->run({"card", "set", "3", "nmae", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the value: object 3 has no property \"nmae\" "
                         "(\"card fix set\" adds one)\n"_qs);
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"card", "set", "3", "name", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the value of \"name\"\n"_qs);
}

void TestCtlCardCommands::fixesAPropertyOnManyObjects()
{
    m_run->service->cards[3] = {property(u"name"_qs, "kept"), property(u"fuel"_qs, "old")};
    QCOMPARE(m_run->run({"card", "fix", "set", "--objects", "3,7", "--name", "fuel", "--description", "Топливо",
                         "--type", "-2", "--value", "95", "--visible", "f"}),
             0);
    QCOMPARE(m_run->out, u"\"fuel\" set on 2 objects\n"_qs);
    QCOMPARE(requestNames(),
             (QByteArrayList{"Fix_property_multi_objs_v2", "Get_object_card_v2", "Get_object_card_v2"}));
    for (const qint32 object : {3, 7}) {
        const CardsProperty &stored = m_run->service->cards[object].last();
        QCOMPARE(stored.name, u"fuel"_qs);
        QCOMPARE(stored.description, u"Топливо"_qs);
        QCOMPARE(stored.type, -2);
        QCOMPARE(stored.value, "95");
        QCOMPARE(stored.visible, qint16('f'));
    }
    QCOMPARE(m_run->run({"card", "fix", "set", "--objects", "3", "--name", "fuel", "--base64", "AA=="}), 0);
    QCOMPARE(m_run->service->cards[3].last().value, QByteArray(1, '\0'));
    QCOMPARE(m_run->service->cards[3].size(), 2);
}

void TestCtlCardCommands::removesAPropertyFromManyObjects()
{
    m_run->service->cards[3] = {property(u"name"_qs, "kept"), property(u"fuel"_qs, "95")};
    m_run->service->cards[7] = {property(u"fuel"_qs, "95")};
    QCOMPARE(m_run->run({"card", "fix", "remove", "--objects", "3,7", "--name", "fuel"}), 0);
    QCOMPARE(m_run->service->requests.first().data,
             QByteArray::fromHex("00 00000002 00000003 00000007 00000008 006600750065006C"));
    QCOMPARE(m_run->service->cards[3].size(), 1);
    QCOMPARE(m_run->service->cards[7].size(), 0);
}

void TestCtlCardCommands::saysThatAFixWasNotStored()
{
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"card", "fix", "set", "--objects", "3,7", "--name", "fuel"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change of \"fuel\" on object 3\n"_qs);
    m_run->service->cards[7] = {property(u"fuel"_qs, "95")};
    QCOMPARE(m_run->run({"card", "fix", "remove", "--objects", "3,7", "--name", "fuel"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change of \"fuel\" on object 7\n"_qs);
}

void TestCtlCardCommands::saysThatTheOutcomeIsNotKnown()
{
    m_run->service->silent = true;
    QCOMPARE(m_run->run({"--timeout", "0.1", "card", "set", "3", "name", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: no answer within 0.1 s; whether the change was made is not known\n"_qs);
    QCOMPARE(m_run->run({"--timeout", "0.1", "card", "show", "3"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: no answer within 0.1 s\n"_qs);
}

QTEST_GUILESS_MAIN(TestCtlCardCommands)
#include "test_ctl_card_commands.moc"

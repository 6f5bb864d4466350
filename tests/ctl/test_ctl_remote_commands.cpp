#include "ctl/command_records.h"

#include <QTest>

using ctl::RemoteCommand;
using ctl::RemoteCommands;

/// Remote-control commands in their forms: the service's answer, JSON, and what counts as stored.
class TestCtlRemoteCommands : public QObject
{
    Q_OBJECT

private slots:
    void readsAnAnswer();
    void refusesEveryPrefixOfAnAnswer();
    void refusesLyingAnswers_data();
    void refusesLyingAnswers();
    void writesTheNumberOfParameters();
    void writesTheJsonThatPeopleExpect();
    void showsParametersInATableOfTheirOwn();
    void namesOperations();
    void bringsEveryValueBackThroughJson_data();
    void bringsEveryValueBackThroughJson();
    void namesTheWrongField_data();
    void namesTheWrongField();
    void readsOneCommandByItself();
    void comparesWhatWasSentWithWhatIsStored();

private:
    static QByteArray answer();
    static RemoteCommand arm();
};

/// Object 17 with two commands: "A", description null, operation 3, by "s", with the parameter "p" = "v", caption
/// empty, type 10, row 5; and one whose fields are all null or 0.
QByteArray TestCtlRemoteCommands::answer()
{
    return QByteArray::fromHex("00000011 00000002"
                               "00000000 00000002 0041 FFFFFFFF 00000003 00000001 73 00000001"
                               "00000001 70 00000001 76 00000000 0000000A 00000005"
                               "00000000 FFFFFFFF FFFFFFFF 00000000 FFFFFFFF 00000000");
}

RemoteCommand TestCtlRemoteCommands::arm()
{
    return {{0, u"arm"_qs, u"Взять"_qs, 3, "server", 0},
            {{"zones", "1,2", u"Зоны"_qs, 10, 5}, {"delay", QByteArray(), u""_qs, 1, 6}}};
}

void TestCtlRemoteCommands::readsAnAnswer()
{
    ctl::Result<RemoteCommands> commands = ctl::decodeCommands(answer(), 17);
    QVERIFY2(commands, commands ? "" : qPrintable(commands.failure().message));
    QCOMPARE(commands->size(), 2);
    const auto &[head, params] = commands->first();
    QCOMPARE(head.name, u"A"_qs);
    QVERIFY(head.description.isNull());
    QCOMPARE(head.operation, 3);
    QCOMPARE(head.execBy, "s");
    QCOMPARE(params.size(), 1);
    QCOMPARE(params[0].name, "p");
    QCOMPARE(params[0].value, "v");
    QVERIFY(params[0].description.isEmpty() && !params[0].description.isNull());
    QCOMPARE(params[0].type, 10);
    QCOMPARE(params[0].id, 5);
    QVERIFY(commands->last().head.execBy.isNull());
    QVERIFY(commands->last().params.isEmpty());
    QVERIFY(ctl::decodeCommands(QByteArray::fromHex("00000011 00000000"), 17)->isEmpty());
}

void TestCtlRemoteCommands::refusesEveryPrefixOfAnAnswer()
{
    for (qsizetype length = 0; length < answer().size(); ++length) {
        const auto commands = ctl::decodeCommands(answer().first(length), 17);
        QVERIFY2(!commands, qPrintable(QString::number(length)));
        QVERIFY(commands.failure().message.startsWith(u"the service's answer cannot be read: "));
    }
}

void TestCtlRemoteCommands::refusesLyingAnswers_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("reason");
    const auto bytes = [](const QByteArray &hex) { return QByteArray::fromHex(hex); };
    const QByteArray head = "00000011 00000001 00000000 FFFFFFFF FFFFFFFF 00000000 FFFFFFFF ";
    QTest::newRow("another object") << bytes("00000012 00000000") << u"it is about object 18, not 17"_qs;
    QTest::newRow("endless count") << bytes("00000011 7FFFFFFF 0000")
                                   << u"it promises 2147483647 commands in 2 bytes"_qs;
    QTest::newRow("endless parameters") << bytes(head + "7FFFFFFF") << u"a command promises 2147483647 parameters"_qs;
    QTest::newRow("negative parameters") << bytes(head + "FFFFFFFF") << u"a command promises -1 parameters"_qs;
    QTest::newRow("bytes left") << answer() + 'x' << u"1 bytes are left after its end"_qs;
}

void TestCtlRemoteCommands::refusesLyingAnswers()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, reason);
    const auto commands = ctl::decodeCommands(reply, 17);
    QVERIFY(!commands);
    QCOMPARE(commands.failure().message, u"the service's answer cannot be read: "_qs + reason);
}

void TestCtlRemoteCommands::writesTheNumberOfParameters()
{
    QByteArray bytes;
    keystone::ByteWriter out(&bytes);
    ctl::Result<RemoteCommands> commands = ctl::decodeCommands(answer(), 17);
    commands->first().head.numParams = 77;
    for (const RemoteCommand &command : *commands)
        ctl::writeCommand(out, command);
    QCOMPARE(bytes.toHex(), answer().mid(8).toHex());
}

void TestCtlRemoteCommands::writesTheJsonThatPeopleExpect()
{
    QCOMPARE(
        ctl::commandsJson(17, {arm(), {}}),
        u"{\"object\": 17, \"commands\": [\n"
        "  {\"name\": \"arm\", \"description\": \"Взять\", \"operation\": 3, \"exec_by\": \"server\", \"params\": ["
        "{\"id\": 5, \"name\": \"zones\", \"description\": \"Зоны\", \"type\": 10, \"value\": \"1,2\"}, "
        "{\"id\": 6, \"name\": \"delay\", \"description\": \"\", \"type\": 1, \"value\": null}]},\n"
        "  {\"name\": null, \"description\": null, \"operation\": 0, \"exec_by\": null, \"params\": []}\n]}"_qs);
    QCOMPARE(ctl::commandsJson(17, {}), u"{\"object\": 17, \"commands\": []}"_qs);
}

void TestCtlRemoteCommands::showsParametersInATableOfTheirOwn()
{
    QCOMPARE(ctl::commandTables({arm()}), u"name  description  operation      executed by  parameters\n"
                                          "----  -----------  -------------  -----------  ----------\n"
                                          "arm   Взять        3 mode change  server       2\n"
                                          "\n"
                                          "parameter of  name   description  type  value\n"
                                          "------------  -----  -----------  ----  ------\n"
                                          "arm           zones  Зоны         10    1,2\n"
                                          "arm           delay               1     (null)\n"_qs);
    QVERIFY(!ctl::commandTables({RemoteCommand()}).contains(u"parameter of"));
}

void TestCtlRemoteCommands::namesOperations()
{
    QCOMPARE(ctl::operationForPeople(1), u"1 observation"_qs);
    QCOMPARE(ctl::operationForPeople(4), u"4 configuration"_qs);
    QCOMPARE(ctl::operationForPeople(0), u"0"_qs);
    QCOMPARE(ctl::operationForPeople(5), u"5"_qs);
    QCOMPARE(ctl::operationForPeople(INT_MIN), u"-2147483648"_qs);
}

void TestCtlRemoteCommands::bringsEveryValueBackThroughJson_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("code");
    QTest::addColumn<QByteArray>("value");
    QByteArray everyByte;
    for (int code = 0; code < 256; ++code)
        everyByte.append(char(code));
    QTest::newRow("null") << QString() << 0 << QByteArray();
    QTest::newRow("empty") << u""_qs << 1 << QByteArray("");
    QTest::newRow("lowest code") << u"x"_qs << INT_MIN << "x"_qba;
    QTest::newRow("highest code") << u"x"_qs << INT_MAX << "x"_qba;
    QTest::newRow("quotes, lines, emoji") << u"\"\\/\n\r\t\b\f'🚗%1;"_qs << 0 << "\"\\\n🚗"_qba;
    QTest::newRow("every byte") << u"x"_qs << 0 << everyByte;
}

void TestCtlRemoteCommands::bringsEveryValueBackThroughJson()
{
    QFETCH(QString, text);
    QFETCH(int, code);
    QFETCH(QByteArray, value);
    const QByteArray name = text.isNull() ? QByteArray() : text.isEmpty() ? QByteArray("") : text.toUtf8();
    const RemoteCommand command = {{0, text, text, code, value, 0}, {{name, value, text, code, 9}}};
    ctl::Result<RemoteCommands> commands =
        ctl::readCommandsJson(ctl::commandsJson(17, {command, command}).toUtf8(), 17);
    QVERIFY2(commands, commands ? "" : qPrintable(commands.failure().message));
    QCOMPARE(commands->size(), 2);
    const auto &[head, params] = commands->last();
    QCOMPARE(params.size(), 1);
    for (const QString &one : {head.name, head.description, params[0].description}) {
        QCOMPARE(one, text);
        QCOMPARE(one.isNull(), text.isNull());
    }
    for (const QByteArray &one : {head.execBy, params[0].value}) {
        QCOMPARE(one, value);
        QCOMPARE(one.isNull(), value.isNull());
    }
    QCOMPARE(params[0].name, name);
    QCOMPARE(params[0].name.isNull(), name.isNull());
    QCOMPARE(head.operation, code);
    QCOMPARE(params[0].type, code);
    QCOMPARE(params[0].id, 9);
}

void TestCtlRemoteCommands::namesTheWrongField_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const auto row = [](const char *name, const QByteArray &json, const QString &message) {
        QTest::newRow(name) << json << message;
    };
    const QByteArray good = ctl::jsonObject(ctl::commandMembers(arm())).toUtf8();
    const auto changed = [&](const char *name, const QByteArray &from, const QByteArray &to, const QString &message) {
        QVERIFY2(good.contains(from), name);
        row(name, R"({"commands": [)" + good + ", " + QByteArray(good).replace(from, to) + "]}",
            u"commands[1]."_qs + message);
    };
    const QString integer = u"expected an integer from -2147483648 to 2147483647"_qs;
    const QString nul = u"holds the character U+0000, which the registry cannot keep"_qs;
    const QString notText = u"is not UTF-8 text, and the registry keeps the names of parameters as texts"_qs;
    row("no commands", "{}", u"commands: is missing"_qs);
    row("another object", R"({"object": 18, "commands": []})",
        u"object: expected 17, as on the command line; leave the field out to save the commands of one object to "
        "another"_qs);
    row("unknown field", R"({"commands": [], "sensors": []})", u"sensors: there is no such field"_qs);
    row("command is no object", R"({"commands": [3]})", u"commands[0]: expected an object ({...})"_qs);
    changed("operation as text", R"("operation": 3)", R"("operation": "3")", u"operation: "_qs + integer);
    changed("executed by a number", R"("exec_by": "server")", R"("exec_by": 1)",
            u"exec_by: expected a string, null or {\"base64\": \"...\"}"_qs);
    changed("no parameters", R"("params")", R"("parameters")", u"params: is missing"_qs);
    changed("a number of parameters", R"("params")", R"("num_params": 2, "params")",
            u"num_params: there is no such field"_qs);
    changed("parameter is no object", R"({"id": 5)", R"(7, {"id": 5)", u"params[0]: expected an object ({...})"_qs);
    changed("name of a parameter missing", R"("name": "zones", )", "", u"params[0].name: is missing"_qs);
    changed("type with a fraction", R"("type": 1,)", R"("type": 1.5,)", u"params[1].type: "_qs + integer);
    changed("row key as text", R"("id": 6)", R"("id": "6")", u"params[1].id: "_qs + integer);
    changed("bad base64", R"("value": null)", R"("value": {"base64": "!"})",
            u"params[1].value.base64: this is not base64"_qs);
    changed("misspelt field of a parameter", R"("id": 6)", R"("ids": 6)", u"params[1].ids: there is no such field"_qs);
    changed("NUL in a name", R"("arm")", R"("a\u0000m")", u"name: "_qs + nul);
    changed("NUL in a caption", R"("Взять")", R"("\u0000")", u"description: "_qs + nul);
    changed("NUL in the caption of a parameter", R"("Зоны")", R"("\u0000")", u"params[0].description: "_qs + nul);
    changed("NUL in the name of a parameter", R"("delay")", R"("\u0000")", u"params[1].name: "_qs + notText);
    changed("name of a parameter not UTF-8", R"("delay")", R"({"base64": "/w=="})", u"params[1].name: "_qs + notText);
}

void TestCtlRemoteCommands::namesTheWrongField()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    const auto commands = ctl::readCommandsJson(json, 17);
    QVERIFY(!commands);
    QCOMPARE(commands.failure().message, message);
    QVERIFY(commands.failure().wrongUsage);
}

void TestCtlRemoteCommands::readsOneCommandByItself()
{
    const QByteArray good = ctl::jsonObject(ctl::commandMembers(arm())).toUtf8();
    ctl::Result<RemoteCommand> command = ctl::readCommandJson(good);
    QVERIFY(command);
    QVERIFY(ctl::isStored(arm(), *command));
    const auto wrong = ctl::readCommandJson(QByteArray(good).replace(R"("type": 1,)", R"("type": "1",)"));
    QVERIFY(!wrong);
    QCOMPARE(wrong.failure().message, u"params[1].type: expected an integer from -2147483648 to 2147483647"_qs);
}

void TestCtlRemoteCommands::comparesWhatWasSentWithWhatIsStored()
{
    const RemoteCommand sent = arm();
    const auto differs = [&sent](auto change) {
        RemoteCommand stored = sent;
        change(stored);
        return !ctl::isStored(sent, stored);
    };
    QVERIFY(!differs([](RemoteCommand &stored) { stored.head.id = 7; }));
    QVERIFY(!differs([](RemoteCommand &stored) { stored.params[0].id = 7; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.head.name = QString(); }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.head.description = u""_qs; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.head.operation = 2; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.head.execBy = "block"; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params.removeLast(); }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params.swapItemsAt(0, 1); }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params[0].name = "zone"; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params[1].value = ""; }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params[1].description = QString(); }));
    QVERIFY(differs([](RemoteCommand &stored) { stored.params[1].type = 2; }));
}

QTEST_GUILESS_MAIN(TestCtlRemoteCommands)
#include "test_ctl_remote_commands.moc"

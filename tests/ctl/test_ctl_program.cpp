#include "tests/ctl/program_run.h"

#include <QLocalServer>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

using testing::ProgramRun;

/// Command lines of every noun but the cards, and what all have in common.
class TestCtlProgram : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_run = std::make_unique<ProgramRun>(); }
    void cleanup() { m_run.reset(); }
    void refusesWrongUsageBeforeAnythingIsSent_data();
    void refusesWrongUsageBeforeAnythingIsSent();
    void explainsItself();
    void showsTheVersionWithoutItsControlCharacters();
    void sendsAnyCommand();
    void saysThatNobodyAnswers();
    void doesNotWaitWithoutReply();
    void stopsTheService();
    void saysThatTheServiceDoesNotStop();
    void saysThatNoServiceIsConnected();
    void watchesNotices();
    void followsEventsOfTheServiceItself();
    void saysThatTheTimeIsUp();
    void saysThatTheServiceIsMissing();

private:
    std::unique_ptr<ProgramRun> m_run;
};

void TestCtlProgram::refusesWrongUsageBeforeAnythingIsSent_data()
{
    using Words = std::vector<std::string>;
    QTest::addColumn<Words>("words");
    QTest::addColumn<QString>("message");
    QTest::newRow("no command") << Words{} << u"a command is missing: see objectsctl --help"_qs;
    QTest::newRow("unknown command") << Words{"bogus"} << u"The following argument was not expected: bogus"_qs;
    QTest::newRow("unknown option") << Words{"about", "--bogus"}
                                    << u"The following argument was not expected: --bogus"_qs;
    QTest::newRow("card alone") << Words{"card"} << u"a command is missing: see objectsctl card --help"_qs;
    QTest::newRow("fix alone") << Words{"card", "fix"} << u"a command is missing: see objectsctl card fix --help"_qs;
    QTest::newRow("unknown verb") << Words{"card", "bogus"} << u"The following argument was not expected: bogus"_qs;
    QTest::newRow("no object") << Words{"card", "show"} << u"OBJECT is required"_qs;
    const QString object = u"OBJECT: expected an integer from 0 to 2147483647, not "_qs;
    QTest::newRow("object is a word") << Words{"card", "show", "x"} << object + u"\"x\""_qs;
    QTest::newRow("object is octal") << Words{"card", "show", "010"} << object + u"\"010\""_qs;
    QTest::newRow("object too high") << Words{"card", "show", "2147483648"} << object + u"\"2147483648\""_qs;
    QTest::newRow("escape in an argument") << Words{"card", "show", "\x1b"} << object + u"\"\\x1b\""_qs;
    QTest::newRow("operator below 0") << Words{"--operator", "-1", "about"}
                                      << u"--operator: expected an integer from 0"_qs;
    QTest::newRow("no time") << Words{"--timeout", "0", "about"} << u"--timeout: Value 0 not in range"_qs;
    QTest::newRow("no value") << Words{"card", "set", "3", "name"} << u"VALUE is required"_qs;
    QTest::newRow("bad base64") << Words{"card", "set", "3", "a", "!", "--base64"} << u"the value is not base64"_qs;
    QTest::newRow("no file") << Words{"card", "save", "3", "--file", "/no/such"} << u"cannot read /no/such: "_qs;
    QTest::newRow("fix without objects") << Words{"card", "fix", "set", "--name", "a"} << u"--objects is required"_qs;
    QTest::newRow("no object list") << Words{"card", "fix", "remove", "--objects", "3,,7", "--name", "a"}
                                    << u"--objects: expected object numbers like 3,7,12, not \"\""_qs;
    QTest::newRow("empty list") << Words{"card", "fix", "remove", "--objects", "", "--name", "a"}
                                << u"--objects: expected object numbers like 3,7,12, not \"\""_qs;
    QTest::newRow("object twice") << Words{"card", "fix", "set", "--objects", "3,7,3", "--name", "a"}
                                  << u"--objects: object 3 is given twice"_qs;
    QTest::newRow("two values") << Words{"card", "fix",     "set", "--objects", "3",   "--name",
                                         "a",    "--value", "x",   "--base64",  "eA=="}
                                << u"--value excludes --base64"_qs;
    QTest::newRow("unknown flag") << Words{"card", "fix", "set", "--objects", "3", "--name", "a", "--visible", "x"}
                                  << u"--visible: x not in {t,f}"_qs;
    QTest::newRow("odd hex") << Words{"send", "About", "0"} << u"the data is not hexadecimal"_qs;
    QTest::newRow("no hex") << Words{"send", "About", "0g"} << u"the data is not hexadecimal"_qs;
    QTest::newRow("count below 0") << Words{"watch", "--count", "-1"} << u"--count: expected an integer from 0"_qs;
}

void TestCtlProgram::refusesWrongUsageBeforeAnythingIsSent()
{
    QFETCH(std::vector<std::string>, words);
    QFETCH(QString, message);
    QCOMPARE(m_run->run(words), 2);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: "_qs + message), qPrintable(m_run->err));
    QCOMPARE(m_run->err.count(u'\n'), 1);
    QCOMPARE(m_run->out, QString());
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
}

void TestCtlProgram::explainsItself()
{
    QCOMPARE(m_run->run({"--help"}), 0);
    QVERIFY(m_run->out.contains(u"events") && m_run->out.contains(u"Exit codes: 0 done"));
    QCOMPARE(m_run->run({"card", "save", "--help"}), 0);
    QVERIFY(m_run->out.contains(u"visible"));
}

void TestCtlProgram::showsTheVersionWithoutItsControlCharacters()
{
    m_run->service->other = [this](const bus::Command &command) {
        m_run->service->peer.socket.write(
            bus::encode(bus::Action{"About", "----\nВерсия: 5.4\x1b\n", "", QColor(Qt::red), command.idConnection}));
    };
    QCOMPARE(m_run->run({"about"}), 0);
    QCOMPARE(m_run->out, u"----\nВерсия: 5.4\\x1b\n"_qs);
    QCOMPARE(m_run->run({"--json", "about"}), 0);
    QCOMPARE(m_run->out, u"{\"text\": \"----\\nВерсия: 5.4\\u001b\\n\"}\n"_qs);
}

void TestCtlProgram::sendsAnyCommand()
{
    m_run->service->other = [this](const bus::Command &command) {
        m_run->service->peer.socket.write(bus::encode(
            bus::Action{"Renamed", "two\nlines", command.data + '\xff', QColor(Qt::blue), command.idConnection}));
    };
    QCOMPARE(m_run->run({"send", "Get_this", "00 01aB"}), 0);
    QCOMPARE(m_run->out, u"action:  Renamed\nmessage: two\\nlines\ndata:    0001abff\n"_qs);
    QCOMPARE(m_run->run({"send", "Get_this", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"action\": \"Renamed\", \"message\": \"two\\nlines\", \"data\": \"ff\"}\n"_qs);
}

void TestCtlProgram::saysThatNobodyAnswers()
{
    QCOMPARE(m_run->run({"--timeout", "0.1", "send", "Bogus"}), 1);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: no answer within 0.1 s: the service does not know the command"),
             qPrintable(m_run->err));
}

void TestCtlProgram::doesNotWaitWithoutReply()
{
    QCOMPARE(m_run->run({"send", "Bogus", "0102", "--no-reply"}), 0);
    QCOMPARE(m_run->out, QString());
    QTRY_COMPARE(m_run->service->requests.size(), 1);
    QCOMPARE(m_run->service->requests.first().name, "Bogus");
}

void TestCtlProgram::stopsTheService()
{
    m_run->service->other = [this](const bus::Command &command) {
        if (command.name == "QuitSignal")
            m_run->service->peer.socket.abort();
    };
    QCOMPARE(m_run->run({"quit"}), 0);
    QCOMPARE(m_run->out, u"the service has stopped\n"_qs);
    QCOMPARE(m_run->run({"quit"}), 1);
    QVERIFY2(m_run->err.startsWith(u"objectsctl: the hub has no service connected"), qPrintable(m_run->err));
}

void TestCtlProgram::saysThatTheServiceDoesNotStop()
{
    QCOMPARE(m_run->run({"--timeout", "0.1", "quit"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service has not stopped: no answer within 0.1 s\n"_qs);
}

void TestCtlProgram::saysThatNoServiceIsConnected()
{
    m_run->service.reset();
    QTRY_COMPARE(m_run->hub->serviceCount(), 0);
    for (const char *command : {"about", "send"}) {
        std::vector<std::string> words = {command};
        if (words.front() == "send")
            words.push_back("About");
        QCOMPARE(m_run->run(words), 1);
        QCOMPARE(m_run->err,
                 u"objectsctl: the hub has no service connected: start build/bin/objects_server (or ./run); "
                 "it attaches within about 5 s\n"_qs);
    }
}

void TestCtlProgram::watchesNotices()
{
    QTimer tick;
    connect(&tick, &QTimer::timeout, this, [this] {
        if (m_run->hub->clientCount() > 0)
            m_run->service->peer.socket.write(bus::encode(bus::Action{
                "ServerMessage", "SavedCard", QByteArray::fromHex("00000003FFFFFFFF"), QColor(Qt::red), -1}));
    });
    tick.start(5);
    QCOMPARE(m_run->run({"watch", "--count", "2"}), 0);
    const QRegularExpression line(u"^\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d  ServerMessage  SavedCard  3,-1$"_qs,
                                  QRegularExpression::MultilineOption);
    QCOMPARE(m_run->out.count(line), 2);
    QCOMPARE(m_run->out.count(u'\n'), 2);
    QCOMPARE(m_run->run({"watch", "--count", "1", "--json"}), 0);
    QVERIFY2(m_run->out.endsWith(u"\"action\": \"ServerMessage\", \"message\": \"SavedCard\", \"numbers\": [3, -1], "
                                 "\"data\": \"00000003ffffffff\"}\n"_qs),
             qPrintable(m_run->out));
}

void TestCtlProgram::followsEventsOfTheServiceItself()
{
    QLocalServer server;
    QVERIFY(server.listen(m_run->path("server")));
    QByteArray received;
    connect(&server, &QLocalServer::newConnection, this, [&] {
        QLocalSocket *socket = server.nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, this, [&received, socket] {
            received += socket->readAll();
            const QByteArray head = QByteArray(20, '\0') + QByteArray::fromHex("65A0BC00 00000000");
            socket->write(bus::encode(bus::Data{2, "another kind"}));
            socket->write(bus::encode(bus::Data{1, "no record"}));
            socket->write(bus::encode(bus::Data{1, head + QByteArray::fromHex("00000004 55736572 01")}));
            socket->write(bus::encode(bus::Data{1, head + QByteArray::fromHex("00000002 0A1B FF")}));
        });
    });
    m_run->hub.reset(); // not needed
    QCOMPARE(m_run->run({"events", "--count", "2", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"time\": \"2024-01-12T04:11:44Z\", \"text\": \"User\", \"level\": 1}\n"
                         "{\"time\": \"2024-01-12T04:11:44Z\", \"text\": \"\\n\\u001b\", \"level\": -1}\n"_qs);
    QVERIFY(m_run->err.endsWith(u"objectsctl: a record of 9 bytes cannot be read\n"_qs));
    QCOMPARE(received, QByteArray::fromHex("0000000F C8 0000000A 6F626A6563747363746C"));
    QCOMPARE(m_run->run({"events", "--count", "1"}), 0);
    const QString local = QDateTime::fromSecsSinceEpoch(0x65A0BC00).toString(u"yyyy-MM-dd HH:mm:ss"_qs);
    QCOMPARE(m_run->out, local + u"  User\n"_qs);
}

void TestCtlProgram::saysThatTheTimeIsUp()
{
    QLocalServer server;
    QVERIFY(server.listen(m_run->path("server")));
    QCOMPARE(m_run->run({"--timeout", "0.1", "events", "--count", "1"}), 1);
    QVERIFY(m_run->err.endsWith(u"objectsctl: the time is up after 0 events\n"_qs));
    QCOMPARE(m_run->run({"--timeout", "0.1", "watch"}), 1);
    QVERIFY(m_run->err.endsWith(u"objectsctl: the time is up before all notices came\n"_qs));
}

void TestCtlProgram::saysThatTheServiceIsMissing()
{
    QCOMPARE(m_run->run({"events"}), 1);
    QCOMPARE(m_run->err,
             QStringLiteral("objectsctl: no service at %1: start it with ./run or build/bin/objects_server; "
                            "its socket opens 10 to 15 s after its start\n")
                 .arg(m_run->path("server")));
}

QTEST_GUILESS_MAIN(TestCtlProgram)
#include "test_ctl_program.moc"

#include "bus/frame_cutter.h"
#include "ctl/hub_client.h"
#include "tests/hub/peer.h"

#include <QElapsedTimer>
#include <QLocalServer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

using ctl::HubClient;

/// The client of the hub against a server that says what a test tells it to.
class TestCtlHubClient : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void saysHowToStartAHubThatIsMissing();
    void greetsAndSendsUnderItsOperatorNumber();
    void givesUpAtItsDeadline();
    void givesUpOnAServerThatKeepsTalking();
    void takesOnlyTheAnswerToItsOwnQuestion();
    void keepsNoticesForLater();
    void explainsTheMessagesOfTheHub_data();
    void explainsTheMessagesOfTheHub();
    void noticesThatTheHubEnds();
    void refusesFramesThatAreTooLong();
    void tellsWhatAServiceAtWorkLeavesUnanswered();
    void waitsForAServiceThatIsSlow();
    void sendsNothingLongerThanAFrame();
    void readsAnAnswerNearTheFrameLimit();

private:
    /// What the server does once the first command has arrived.
    using Script = std::function<void(QLocalSocket &)>;

    /// What the server does with each command.
    using Handler = std::function<void(QLocalSocket &, const bus::Command &)>;

    void onCommand(const Script &script) { m_script = script; }
    void onFrames(const Handler &handler) { m_handler = handler; }
    void handleFrames(QLocalSocket &socket, const QByteArray &arrived);
    static QByteArray action(const QByteArray &name, qint32 connection, const QByteArray &message = "message")
    {
        return bus::encode(bus::Action{name, message, "data", QColor(Qt::blue), connection});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QLocalServer> m_server;
    QByteArray m_received;
    Script m_script;
    Handler m_handler;
    bus::FrameCutter m_cutter;
    QString m_path;
};

void TestCtlHubClient::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = m_folder->filePath(QStringLiteral("hub"));
    m_server = std::make_unique<QLocalServer>();
    m_received.clear();
    m_script = nullptr;
    m_handler = nullptr;
    m_cutter = bus::FrameCutter();
    QVERIFY(m_server->listen(m_path));
    connect(m_server.get(), &QLocalServer::newConnection, this, [this] {
        QLocalSocket *socket = m_server->nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            const QByteArray arrived = socket->readAll();
            m_received += arrived;
            if (m_handler)
                handleFrames(*socket, arrived);
            if (m_script && m_received.contains("Get"))
                std::exchange(m_script, nullptr)(*socket);
        });
    });
}

void TestCtlHubClient::handleFrames(QLocalSocket &socket, const QByteArray &arrived)
{
    m_cutter.append(arrived);
    for (QByteArray body; m_cutter.next(body) == bus::FrameCutter::Result::FrameReady;) {
        const bus::Frame frame = bus::decode(body);
        if (const auto *command = std::get_if<bus::Command>(&frame))
            m_handler(socket, *command);
    }
}

void TestCtlHubClient::cleanup()
{
    m_server.reset();
    m_folder.reset();
}

void TestCtlHubClient::saysHowToStartAHubThatIsMissing()
{
    HubClient client(1, std::chrono::seconds(5));
    const QString missing = m_folder->filePath(QStringLiteral("missing"));
    const auto failure = client.connectTo(missing);
    QVERIFY(failure);
    QCOMPARE(failure->message, QStringLiteral("no hub at %1: start it with ./run or build/bin/admin_hub").arg(missing));
    QVERIFY(!failure->wrongUsage);
}

void TestCtlHubClient::greetsAndSendsUnderItsOperatorNumber()
{
    HubClient client(7, std::chrono::seconds(5));
    QVERIFY(!client.connectTo(m_path));
    QVERIFY(!client.send("Get", "\x01\x02"));
    QVERIFY(!client.flush());
    QTRY_COMPARE(m_received, QByteArray::fromHex("0000000F C8 0000000A 6F626A6563747363746C"
                                                 "00000012 CB 00000003 476574 00000002 0102 00000007"));
}

void TestCtlHubClient::givesUpAtItsDeadline()
{
    HubClient client(1, std::chrono::milliseconds(150));
    QVERIFY(!client.connectTo(m_path));
    QElapsedTimer timer;
    timer.start();
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QCOMPARE(reply.failure().message, u"no answer within 0.15 s"_qs);
    QVERIFY(reply.failure().unanswered);
    QVERIFY2(timer.elapsed() >= 140 && timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
}

void TestCtlHubClient::givesUpOnAServerThatKeepsTalking()
{
    QTimer talk;
    onCommand([&](QLocalSocket &socket) {
        connect(&talk, &QTimer::timeout, &socket, [&socket] { socket.write(action("ServerMessage", -1)); });
        talk.start(10);
    });
    HubClient client(1, std::chrono::milliseconds(200));
    QVERIFY(!client.connectTo(m_path));
    QElapsedTimer timer;
    timer.start();
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QCOMPARE(reply.failure().message, u"no answer within 0.2 s"_qs);
    QVERIFY2(timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
}

void TestCtlHubClient::takesOnlyTheAnswerToItsOwnQuestion()
{
    onCommand([](QLocalSocket &socket) {
        socket.write(action("Get", 2, "another operator"));
        socket.write(action("Other", 1, "another command"));
        socket.write(bus::encode(bus::Data{1, "data"}));
        socket.write(action("Get", 1, "mine"));
    });
    HubClient client(1, std::chrono::seconds(5));
    QVERIFY(!client.connectTo(m_path));
    auto reply = client.ask("Get", {});
    QVERIFY(reply);
    QCOMPARE(reply->message, "mine");
}

void TestCtlHubClient::keepsNoticesForLater()
{
    onCommand([](QLocalSocket &socket) {
        socket.write(action("ServerMessage", -1, "one") + action("Get", 1) + action("ServerMessage", -1, "two"));
    });
    HubClient client(1, std::chrono::seconds(5));
    QVERIFY(!client.connectTo(m_path));
    QVERIFY(client.ask("Get", {}));
    QCOMPARE(client.nextNotice(QDeadlineTimer(5000))->message, "one");
    QCOMPARE(client.nextNotice(QDeadlineTimer(5000))->message, "two");
    QVERIFY(!client.nextNotice(QDeadlineTimer(20)));
}

void TestCtlHubClient::explainsTheMessagesOfTheHub_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("words");
    QTest::newRow("no service") << "no service is connected"_qba
                                << u"the hub has no service connected: start build/bin/objects_server (or ./run); "
                                   "it attaches within about 5 s"_qs;
    QTest::newRow("gone") << "the service went away"_qba
                          << u"the service went away before it answered: look into its log and start it again"_qs;
    QTest::newRow("too long") << "the service was cut off: its frame is longer than 50000000 bytes"_qba
                              << u"the answer is longer than the 50000000 bytes that a frame may hold; the hub has cut "
                                 "the service off: start it again"_qs;
    QTest::newRow("other") << "new\x1b"_qba << u"the hub says: new\\x1b"_qs;
}

void TestCtlHubClient::explainsTheMessagesOfTheHub()
{
    QFETCH(QByteArray, message);
    QFETCH(QString, words);
    onCommand([&](QLocalSocket &socket) { socket.write(action("HubMessage", 1, message)); });
    HubClient client(1, std::chrono::seconds(5));
    QVERIFY(!client.connectTo(m_path));
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QCOMPARE(reply.failure().message, words);
}

void TestCtlHubClient::noticesThatTheHubEnds()
{
    onCommand([](QLocalSocket &socket) { socket.abort(); });
    HubClient client(1, std::chrono::seconds(30));
    QVERIFY(!client.connectTo(m_path));
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QCOMPARE(reply.failure().message, u"the hub closed the connection"_qs);
    QVERIFY(client.send("Get", {}));
}

void TestCtlHubClient::refusesFramesThatAreTooLong()
{
    onCommand([](QLocalSocket &socket) { socket.write(QByteArray::fromHex("02FAF081 CA")); });
    HubClient client(1, std::chrono::seconds(30));
    QVERIFY(!client.connectTo(m_path));
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QCOMPARE(reply.failure().message, u"the hub sent a frame of more than 50000000 bytes, which cannot be taken"_qs);
}

void TestCtlHubClient::tellsWhatAServiceAtWorkLeavesUnanswered()
{
    // The service takes "Get" and says nothing, as it does where the answer fits in no frame.
    onFrames([](QLocalSocket &socket, const bus::Command &command) {
        if (command.name == "About")
            socket.write(action("About", 1, "version"));
    });
    HubClient client(1, std::chrono::milliseconds(500));
    QVERIFY(!client.connectTo(m_path));
    const auto reply = client.ask("Get", {});
    QVERIFY(!reply);
    QVERIFY(reply.failure().unanswered);
    QCOMPARE(
        reply.failure().message,
        u"the service leaves Get without an answer: the answer is more than the 50000000 bytes that a frame may hold, "
        "or the database failed; its log says which"_qs);
    // The question itself is not mistaken for a probe.
    QVERIFY(client.ask("About", {}));
}

void TestCtlHubClient::waitsForAServiceThatIsSlow()
{
    // The answer comes after the probe was answered.
    onFrames([](QLocalSocket &socket, const bus::Command &command) {
        // As where another service has answered "About" first.
        if (command.name == "About")
            socket.write(action("About", 1, "version") + action("Get", 1, "late"));
        else if (command.name == "Next")
            socket.write(action("Next", 1, "next"));
    });
    HubClient client(1, std::chrono::seconds(60));
    QVERIFY(!client.connectTo(m_path));
    auto reply = client.ask("Get", {});
    QVERIFY(reply);
    QCOMPARE(reply->message, "late");
    auto next = client.ask("Next", {});
    QVERIFY(next);
    QCOMPARE(next->message, "next");
}

void TestCtlHubClient::sendsNothingLongerThanAFrame()
{
    HubClient client(1, std::chrono::seconds(5));
    QVERIFY(!client.connectTo(m_path));
    const auto failure = client.send("Save", QByteArray(50'000'000, 'x'));
    QVERIFY(failure);
    QVERIFY(failure->wrongUsage);
    QVERIFY(failure->message.startsWith(u"the request is too large: 500000"));
}

void TestCtlHubClient::readsAnAnswerNearTheFrameLimit()
{
    const QByteArray block(49'999'000, 'x');
    onCommand([&](QLocalSocket &socket) {
        socket.write(bus::encode(bus::Action{"Get", "Get", block, QColor(Qt::blue), 1}));
    });
    HubClient client(1, std::chrono::seconds(60));
    QVERIFY(!client.connectTo(m_path));
    auto reply = client.ask("Get", {});
    QVERIFY(reply);
    QVERIFY(reply->data == block);
}

QTEST_GUILESS_MAIN(TestCtlHubClient)
#include "test_ctl_hub_client.moc"

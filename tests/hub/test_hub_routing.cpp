#include "hub/hub.h"
#include "tests/hub/peer.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using testing::Peer;
using Answers = QList<QByteArray>;

/// The hub with real sockets, its peers in the same event loop.
class TestHubRouting : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void passesACommandUnchangedToEveryService();
    void answersEachOfTwoClientsOfOneOperatorInTheirOrder();
    void forgetsRequestsThatTheServiceHasPassedOver();
    void sendsNoticesToAllClients();
    void sendsAnAnswerThatNobodyAskedToThoseWhoUsedItsOperatorNumber();
    void keepsTheAnswerOfAClientThatWentAwayFromOthers();
    void keepsTheQueuesOfTwoServicesApart();
    void saysThatNoServiceIsConnected();
    void tellsThoseWhoWaitThatTheServiceWentAway();
    void servesAgainWhenTheServiceComesBack();
    void ignoresOtherFramesAndEmptyOnes();
    void passesAFrameNearTheLimit();
    void cutsOffAClientThatNeverReads();
    void holdsAFloodBackFromAServiceThatDoesNotRead();
    void losesNothingWhenAClientVanishesInMidFrame();
    void cutsOffAPeerWhoseFrameIsTooLong();
    void passesAnAnswerOfTheLongestFrame();
    void refusesConnectionsBeyondItsLimit();

private:
    void startHub(const hub::Limits &limits);
    [[nodiscard]] QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    [[nodiscard]] std::unique_ptr<Peer> newClient();
    [[nodiscard]] std::unique_ptr<Peer> newService();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<hub::Hub> m_hub;
};

void TestHubRouting::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    startHub({});
}

void TestHubRouting::cleanup()
{
    m_hub.reset();
    m_folder.reset();
}

void TestHubRouting::startHub(const hub::Limits &limits)
{
    m_hub.reset();
    m_hub = std::make_unique<hub::Hub>(limits);
    QCOMPARE(m_hub->listen(path("services"), path("clients")), QString());
}

std::unique_ptr<Peer> TestHubRouting::newClient()
{
    const qsizetype before = m_hub->clientCount();
    auto peer = std::make_unique<Peer>(path("clients"));
    if (!QTest::qWaitFor([&] { return m_hub->clientCount() == before + 1; }))
        qFatal("the hub has not taken the client");
    return peer;
}

std::unique_ptr<Peer> TestHubRouting::newService()
{
    const qsizetype before = m_hub->serviceCount();
    auto peer = std::make_unique<Peer>(path("services"));
    if (!QTest::qWaitFor([&] { return m_hub->serviceCount() == before + 1; }))
        qFatal("the hub has not taken the service");
    return peer;
}

void TestHubRouting::passesACommandUnchangedToEveryService()
{
    const auto one = newService();
    const auto two = newService();
    const auto client = newClient();
    const QByteArray about = QByteArray::fromHex("00000012 CB 00000005 41626F7574 FFFFFFFF 00000007");
    client->socket.write(about);
    QTRY_COMPARE(one->received, about);
    QTRY_COMPARE(two->received, about);
}

void TestHubRouting::answersEachOfTwoClientsOfOneOperatorInTheirOrder()
{
    const auto service = newService();
    const auto one = newClient();
    const auto two = newClient();
    one->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
    two->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 2);
    service->action("Get", 4, "first");
    service->action("Get", 4, "second");
    QTRY_COMPARE(two->answers(), Answers{"second"});
    QTRY_COMPARE(one->answers(), Answers{"first"});
}

void TestHubRouting::forgetsRequestsThatTheServiceHasPassedOver()
{
    const auto service = newService();
    const auto one = newClient();
    const auto two = newClient();
    one->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
    two->command("Unknown", 5);
    QTRY_COMPARE(service->commands.size(), 2);
    two->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 3);
    service->action("Get", 4, "first");
    service->action("Get", 4, "second"); // "Unknown" stands before it and is passed over
    QTRY_COMPARE(two->answers(), Answers{"second"});
    // Nobody waits for it any more, so that it goes to all who have used the number, which only the second has.
    service->action("Unknown", 5, "late");
    QTRY_COMPARE(two->answers(), (Answers{"second", "late"}));
    QCOMPARE(one->answers(), Answers{"first"});
}

void TestHubRouting::sendsNoticesToAllClients()
{
    const auto service = newService();
    const auto one = newClient();
    const auto two = newClient();
    service->action("ServerMessage", -1, "changed");
    QTRY_COMPARE(one->answers(), Answers{"changed"});
    QTRY_COMPARE(two->answers(), Answers{"changed"});
}

void TestHubRouting::sendsAnAnswerThatNobodyAskedToThoseWhoUsedItsOperatorNumber()
{
    const auto service = newService();
    const auto used = newClient();
    const auto other = newClient();
    used->command("Get_users", 4);
    other->command("Get_users", 5);
    QTRY_COMPARE(service->commands.size(), 2);
    service->action("Renamed", 4, "for 4");
    service->action("Renamed", 6, "for nobody");
    service->action("ServerMessage", -1, "end");
    QTRY_COMPARE(used->answers(), (Answers{"for 4", "end"}));
    QTRY_COMPARE(other->answers(), Answers{"end"});
}

void TestHubRouting::keepsTheAnswerOfAClientThatWentAwayFromOthers()
{
    const auto service = newService();
    auto gone = newClient();
    const auto stays = newClient();
    stays->command("Save", 4); // has used the number, does not wait for "Get"
    gone->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 2);
    gone.reset();
    QTRY_COMPARE(m_hub->clientCount(), 1);
    service->action("Get", 4, "for the one that is gone");
    service->action("ServerMessage", -1, "end");
    QTRY_COMPARE(stays->answers(), Answers{"end"});
}

void TestHubRouting::keepsTheQueuesOfTwoServicesApart()
{
    const auto one = newService();
    const auto two = newService();
    const auto first = newClient();
    const auto second = newClient();
    first->command("Get", 4);
    QTRY_COMPARE(two->commands.size(), 1);
    second->command("Get", 4);
    QTRY_COMPARE(two->commands.size(), 2);
    one->action("Get", 4, "one");
    QTRY_COMPARE(first->answers(), Answers{"one"});
    two->action("Get", 4, "two");
    QTRY_COMPARE(first->answers(), (Answers{"one", "two"}));
    QCOMPARE(second->answers(), Answers{});
}

void TestHubRouting::saysThatNoServiceIsConnected()
{
    const auto client = newClient();
    client->command("Get", 4);
    QTRY_COMPARE(client->actions.size(), 1);
    const bus::Action &answer = client->actions.first();
    QCOMPARE(answer.action, "HubMessage");
    QCOMPARE(answer.message, "no service is connected");
    QVERIFY(answer.data.isEmpty() && !answer.data.isNull());
    QCOMPARE(answer.colour, QColor(Qt::red));
    QCOMPARE(answer.idConnection, 4);
}

void TestHubRouting::tellsThoseWhoWaitThatTheServiceWentAway()
{
    auto service = newService();
    const auto waits = newClient();
    const auto idle = newClient();
    waits->command("Get", 4);
    waits->command("Get", 4);
    waits->command("Get", 5);
    QTRY_COMPARE(service->commands.size(), 3);
    service.reset();
    QTRY_COMPARE(waits->actions.size(), 2); // one for each operator number
    QCOMPARE(waits->actions[0].message, "the service went away");
    QCOMPARE(waits->actions[0].idConnection, 4);
    QCOMPARE(waits->actions[1].idConnection, 5);
    QCOMPARE(idle->actions.size(), 0);
}

void TestHubRouting::servesAgainWhenTheServiceComesBack()
{
    auto service = newService();
    const auto client = newClient();
    service.reset();
    QTRY_COMPARE(m_hub->serviceCount(), 0);
    client->command("Get", 4);
    QTRY_COMPARE(client->actions.size(), 1);
    service = newService();
    client->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
    service->action("Get", 4, "back");
    QTRY_COMPARE(client->answers().last(), "back");
}

void TestHubRouting::ignoresOtherFramesAndEmptyOnes()
{
    const auto service = newService();
    const auto client = newClient();
    for (Peer *peer : {service.get(), client.get()}) {
        peer->socket.write(QByteArray::fromHex("00000000 80000000 FFFFFFFF 00000001 CB"));
        peer->socket.write(bus::encode(bus::Data{1, "data"}));
        peer->socket.write(bus::encode(bus::BusMessage{"iface", "data", 4}));
        peer->socket.write(bus::encode(bus::Greeting{"name \x1b[31m"}));
    }
    client->action("ServerMessage", -1, "forged");
    client->command("Get", 4);
    QTRY_VERIFY(!service->commands.isEmpty());
    QTRY_COMPARE(service->commands.last().name, "Get");
    service->action("Get", 4, "answer");
    QTRY_COMPARE(client->answers(), Answers{"answer"});
    // The one frame with only a type byte is a command without a name, which a service drops.
    QCOMPARE(service->commands.size(), 2);
    QCOMPARE(service->commands.first().name, QByteArray());
}

void TestHubRouting::passesAFrameNearTheLimit()
{
    const auto service = newService();
    const auto client = newClient();
    client->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
    const QByteArray block(49'999'000, 'x');
    service->action("Get", 4, block);
    QTRY_COMPARE_WITH_TIMEOUT(client->actions.size(), 1, 60'000);
    QVERIFY(client->answers().first() == block);
}

void TestHubRouting::cutsOffAClientThatNeverReads()
{
    startHub({.bytesWaiting = 4 * 1024 * 1024});
    const auto service = newService();
    const auto stuck = newClient();
    stuck->socket.setReadBufferSize(1); // Qt then takes no further byte from the socket
    stuck->socket.disconnect();
    const auto reads = newClient();
    const QByteArray block(1024 * 1024, 'x');
    qsizetype sent = 0;
    while (m_hub->clientCount() == 2 && sent < 20) {
        service->action("ServerMessage", -1, block);
        ++sent;
        QTRY_COMPARE(reads->actions.size(), sent);
    }
    QCOMPARE(m_hub->clientCount(), 1);
    // The bound, and what the kernel's own buffers took before it.
    QVERIFY2(sent >= 5 && sent <= 7, qPrintable(QString::number(sent)));
    service->action("ServerMessage", -1, "still here");
    QTRY_COMPARE(reads->answers().last(), "still here");
}

void TestHubRouting::holdsAFloodBackFromAServiceThatDoesNotRead()
{
    startHub({.bytesWaiting = 4 * 1024 * 1024});
    const auto stuck = newService();
    stuck->socket.setReadBufferSize(1);
    stuck->socket.disconnect();
    const auto client = newClient();
    const QByteArray block(1024 * 1024, 'x');
    for (int sent = 0; sent < 8; ++sent)
        client->command("Save", 4, block);
    QTRY_VERIFY(!client->actions.isEmpty());
    QCOMPARE(client->actions.first().action, "HubMessage");
    QCOMPARE(client->actions.first().message, "the service does not keep up, the command is dropped");
    QCOMPARE(m_hub->serviceCount(), 1);
}

void TestHubRouting::losesNothingWhenAClientVanishesInMidFrame()
{
    const auto service = newService();
    auto vanishing = newClient();
    const auto stays = newClient();
    const QByteArray frame = bus::encode(bus::Command{"Get", QByteArray(1000, 'x'), 4});
    vanishing->socket.write(frame.first(500));
    stays->socket.write(frame.first(7));
    QTRY_COMPARE(vanishing->socket.bytesToWrite(), 0);
    vanishing.reset();
    QTRY_COMPARE(m_hub->clientCount(), 1);
    stays->socket.write(frame.sliced(7));
    QTRY_COMPARE(service->received, frame);
    service->action("Get", 4, "answer");
    QTRY_COMPARE(stays->answers(), Answers{"answer"});
}

void TestHubRouting::cutsOffAPeerWhoseFrameIsTooLong()
{
    const auto service = newService();
    const auto badClient = newClient();
    const auto badService = newService();
    const auto client = newClient();
    client->command("Get", 4);
    QTRY_COMPARE(badService->commands.size(), 1);
    badClient->socket.write(QByteArray::fromHex("02FAF081 CB")); // 50000001
    badService->socket.write(QByteArray::fromHex("7FFFFFFF CA"));
    client->socket.write(QByteArray::fromHex("02FAF080 CB")); // 50000000: waits
    QTRY_COMPARE(m_hub->clientCount(), 1);
    QTRY_COMPARE(m_hub->serviceCount(), 1);
    QTRY_VERIFY(!badClient->isConnected() && !badService->isConnected());
    QVERIFY(client->isConnected());
    QTRY_COMPARE(client->actions.size(), 1);
    QCOMPARE(client->actions.first().action, "HubMessage");
    QCOMPARE(client->actions.first().message, "the service was cut off: its frame is longer than 50000000 bytes");
    client->actions.clear();
    service->action("ServerMessage", -1, "fine");
    QTRY_COMPARE(client->answers(), Answers{"fine"});
}

void TestHubRouting::passesAnAnswerOfTheLongestFrame()
{
    const auto service = newService();
    const auto client = newClient();
    client->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
    const auto frameOf = [](qsizetype data) {
        return bus::encode(bus::Action{"Get", "Get", QByteArray(data, 'x'), QColor(Qt::blue), 4});
    };
    const qsizetype longest = 50'000'000 - (frameOf(0).size() - qsizetype(sizeof(qint32)));
    service->socket.write(frameOf(longest));
    QTRY_COMPARE_WITH_TIMEOUT(client->actions.size(), 1, 60000);
    QCOMPARE(client->actions.first().data.size(), longest);
}

void TestHubRouting::refusesConnectionsBeyondItsLimit()
{
    startHub({.links = 2});
    const auto service = newService();
    const auto client = newClient();
    Peer third(path("clients"));
    QTRY_VERIFY(third.socket.state() == QLocalSocket::UnconnectedState);
    QCOMPARE(m_hub->clientCount(), 1);
    client->command("Get", 4);
    QTRY_COMPARE(service->commands.size(), 1);
}

QTEST_GUILESS_MAIN(TestHubRouting)
#include "test_hub_routing.moc"

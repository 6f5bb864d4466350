#include "bus/local_socket.h"

#include <QLocalServer>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <malloc.h>

/// What a link does with frames that its peer does not take at once.
class TestLocalSocket : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void framesArriveWholeAndInOrder();
    void whatWaitsIsCounted();
    void whatWaitsGoesWithTheLink();
    void gatheredFramesGoOutTogether();
    void gatheredFramesAreNotOvertaken();
    void gatheredFramesThatAreManyGoOut();
    void whatIsGatheredGoesWithTheLink();
    void nothingIsWrittenToALinkThatHasJustEnded();
    void whatWaitsTakesNoMoreRoomThanItNeeds();
    void aPeerThatHasGoneIsNoticedAtOnce();
    void aLinkThatWasCutOffCanBeMadeAgain();

private:
    /// Sends frames of this size until one has to wait.
    void fillUp(qsizetype size);
    /// So many bytes, or fewer when no more come.
    [[nodiscard]] QByteArray readByPeer(qsizetype size);

    QTemporaryDir m_folder;
    std::unique_ptr<QLocalServer> m_server;
    std::unique_ptr<TMyLocalSocket> m_link;
    std::unique_ptr<QLocalSocket> m_peer;
};

void TestLocalSocket::init()
{
    m_peer.reset();
    m_link = std::make_unique<TMyLocalSocket>();
    m_server = std::make_unique<QLocalServer>();
    QLocalServer::removeServer(m_folder.filePath("socket"));
    QVERIFY(m_server->listen(m_folder.filePath("socket")));
    m_link->connectToServer(m_server->fullServerName());
    QVERIFY(m_link->waitForConnected());
    QVERIFY(m_server->waitForNewConnection(5000));
    m_peer.reset(m_server->nextPendingConnection());
    m_peer->setReadBufferSize(1); // it takes nothing that nobody asks for
}

void TestLocalSocket::fillUp(qsizetype size)
{
    while (m_link->bytesToWrite() == 0)
        m_link->send(QByteArray(size, 'x'));
}

QByteArray TestLocalSocket::readByPeer(qsizetype size)
{
    QByteArray read;
    (void)QTest::qWaitFor([&] { return (read += m_peer->readAll()).size() >= size; }, 30000);
    return read;
}

void TestLocalSocket::framesArriveWholeAndInOrder()
{
    QByteArray expected;
    for (int i = 0; i < 200; ++i) {
        const QByteArray frame((i * 7919) % 60'000 + 1, char('a' + i % 26));
        expected += frame;
        m_link->send(frame);
    }
    m_link->send(QByteArray(3'000'000, '!'));
    m_link->send("end");
    expected += QByteArray(3'000'000, '!') + "end";
    QVERIFY(m_link->bytesToWrite() > 0);
    m_peer->setReadBufferSize(0);
    QVERIFY(readByPeer(expected.size()) == expected);
    QTRY_COMPARE(m_link->bytesToWrite(), 0);
    // And what comes later goes out at once again.
    m_link->send("later");
    QCOMPARE(m_link->bytesToWrite(), 0);
    QCOMPARE(readByPeer(5), QByteArray("later"));
}

void TestLocalSocket::whatWaitsIsCounted()
{
    fillUp(10'000);
    const qint64 before = m_link->bytesToWrite();
    m_link->send(QByteArray(1'000'000, 'x'));
    QCOMPARE(m_link->bytesToWrite(), before + 1'000'000);
}

void TestLocalSocket::whatWaitsGoesWithTheLink()
{
    fillUp(10'000);
    const QSignalSpy disconnected(m_link.get(), &QLocalSocket::disconnected);
    m_link->abort();
    QCOMPARE(disconnected.size(), 1);
    QCOMPARE(m_link->bytesToWrite(), 0);
}

void TestLocalSocket::gatheredFramesGoOutTogether()
{
    m_peer->setReadBufferSize(0);
    m_link->gather("one ");
    m_link->gather("two ");
    QCOMPARE(m_link->bytesToWrite(), 8);
    m_link->sendGathered();
    QCOMPARE(m_link->bytesToWrite(), 0);
    QVERIFY(m_peer->waitForReadyRead(30000));
    QCOMPARE(m_peer->readAll(), QByteArray("one two "));
    m_link->sendGathered();
    m_link->gather("three");
    m_link->sendGathered();
    QCOMPARE(readByPeer(5), QByteArray("three"));
}

void TestLocalSocket::gatheredFramesAreNotOvertaken()
{
    m_peer->setReadBufferSize(0);
    m_link->gather("one ");
    m_link->send("two ");
    m_link->gather("three ");
    const QByteArray large(100'000, 'x');
    m_link->gather(large);
    QCOMPARE(readByPeer(14 + large.size()), "one two three " + large);
    // Nor by what goes out when the peer takes more.
    m_peer->setReadBufferSize(1);
    fillUp(10'000);
    m_link->gather("four ");
    m_link->send("five ");
    m_link->gather("six");
    m_link->sendGathered();
    m_peer->setReadBufferSize(0);
    QByteArray read;
    QVERIFY(QTest::qWaitFor([&] { return (read += m_peer->readAll()).endsWith("four five six"); }, 30000));
    QCOMPARE(m_link->bytesToWrite(), 0);
}

void TestLocalSocket::gatheredFramesThatAreManyGoOut()
{
    constexpr int kFrame = 1000;
    constexpr int kFar = 1'000'000;
    m_peer->setReadBufferSize(0);
    qint64 most = 0;
    for (int sent = 0; sent < kFar; sent += kFrame) {
        m_link->gather(QByteArray(kFrame, 'x'));
        most = qMax(most, m_link->bytesToWrite());
        (void)m_peer->waitForReadyRead(0);
        m_peer->readAll();
    }
    QVERIFY2(most < kFar / 4, qPrintable(QString::number(most)));
}

void TestLocalSocket::whatIsGatheredGoesWithTheLink()
{
    m_link->gather("frame");
    m_link->abort();
    QCOMPARE(m_link->bytesToWrite(), 0);
    // A peer that has gone is noticed when they are sent.
    init();
    m_link->gather("frame");
    const QSignalSpy disconnected(m_link.get(), &QLocalSocket::disconnected);
    m_peer->abort();
    m_link->sendGathered();
    QCOMPARE(disconnected.size(), 1);
    QCOMPARE(m_link->bytesToWrite(), 0);
}

void TestLocalSocket::nothingIsWrittenToALinkThatHasJustEnded()
{
    connect(m_link.get(), &QLocalSocket::errorOccurred, m_link.get(), [this] { m_link->abort(); });
    m_link->gather("frame");
    m_peer->abort();
    QTest::failOnWarning(QRegularExpression("."));
    m_link->send("frame");
    QVERIFY(!m_link->isOpen());
}

void TestLocalSocket::whatWaitsTakesNoMoreRoomThanItNeeds()
{
    constexpr int kFrames = 20'000;
    fillUp(10'000);
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < kFrames; ++i) {
        QByteArray frame(100, 'x');
        frame.reserve(4096);
        m_link->send(frame);
    }
    const std::size_t taken = mallinfo2().uordblks - before;
    QVERIFY2(taken < kFrames * 1000, qPrintable(QString::number(taken)));
}

void TestLocalSocket::aPeerThatHasGoneIsNoticedAtOnce()
{
    for (const bool isFull : {false, true}) {
        init();
        if (isFull)
            fillUp(10'000);
        const QSignalSpy disconnected(m_link.get(), &QLocalSocket::disconnected);
        m_peer->abort();
        m_link->send("frame");
        if (!isFull)
            QCOMPARE(disconnected.size(), 1);
        QTRY_COMPARE(disconnected.size(), 1);
        QCOMPARE(m_link->bytesToWrite(), 0);
    }
}

void TestLocalSocket::aLinkThatWasCutOffCanBeMadeAgain()
{
    fillUp(10'000);
    m_link->abort();
    m_link->connectToServer(m_server->fullServerName());
    QVERIFY(m_link->waitForConnected());
    QVERIFY(m_server->waitForNewConnection(5000));
    m_peer.reset(m_server->nextPendingConnection());
    m_link->send("frame");
    QCOMPARE(readByPeer(5), QByteArray("frame"));
}

QTEST_GUILESS_MAIN(TestLocalSocket)
#include "test_local_socket.moc"

#include "bus/connector.h"
#include "bus/local_server.h"
#include "bytes.h"
#include "keystone/log.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>
#include <QTimerEvent>

using namespace support;

namespace {

/// What the connector's timer does every 5 s, without the wait.
void tick(TConnector &connector)
{
    QTimerEvent event(0);
    QCoreApplication::sendEvent(&connector, &event);
}

/// A server that takes every caller and keeps what it says.
class Peer : public QLocalServer
{
public:
    explicit Peer(const QString &path)
    {
        removeServer(path);
        if (!listen(path))
            qFatal("cannot listen on %s", qPrintable(path));
    }

    QLocalSocket *caller()
    {
        if (!m_caller && QTest::qWaitFor([this] { return hasPendingConnections(); }))
            m_caller = nextPendingConnection();
        return m_caller;
    }

    /// Everything said so far, once it is at least `size` bytes. The event loop runs meanwhile: greetings are not
    /// flushed.
    QByteArray received(qsizetype size)
    {
        const bool enough = caller() && QTest::qWaitFor([&] {
                                m_received += caller()->readAll();
                                return m_received.size() >= size;
                            });
        return enough ? m_received : QByteArray();
    }

    void say(const QByteArray &bytes)
    {
        caller()->write(bytes);
        caller()->flush();
    }

private:
    QLocalSocket *m_caller = nullptr;
    QByteArray m_received;
};

/// What `socket` has been sent, once it is at least `size` bytes.
QByteArray readFrom(QLocalSocket &socket, qsizetype size)
{
    const bool enough = QTest::qWaitFor([&] { return socket.bytesAvailable() >= size; });
    return enough ? socket.readAll() : QByteArray();
}

} // namespace

class TestConnector : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_names = 0;

    QString newPath() { return m_folder.filePath(QString::number(++m_names)); }

    QStringList logLines() const
    {
        QFile file(pLog->filePath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        for (QString &line : lines)
            line = line.section(u' ', 1);
        return lines;
    }

private slots:
    void init()
    {
        delete pLog;
        pLog = new TLog(newPath());
        pLog->Enabled(true);
    }

    void connectsSiblingsFirstThenTheAdministrationThenOpensItsServer()
    {
        const QString own = newPath();
        Peer sibling(newPath());
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.addOutServerName(sibling.fullServerName());
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(own);
        QCOMPARE(connector.GetServerName(), own);

        tick(connector);
        QCOMPARE(sibling.received(1), greeting(own.toUtf8()));
        QVERIFY(!admin.hasPendingConnections() && !QFile::exists(own));
        tick(connector);
        QCOMPARE(admin.received(1), greeting(own.toUtf8()));
        QVERIFY(!QFile::exists(own));
        tick(connector);
        QVERIFY(QFile::exists(own));
        QCOMPARE(logLines(), QStringList({"New Out Connnection", "New Out Connnection",
                                          QStringLiteral("Start server: %1 Ok!!!! ").arg(own)}));
    }

    void opensItsServerAtTheSecondTickWithoutSiblings()
    {
        const QString own = newPath();
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(own);
        tick(connector);
        QVERIFY(!QFile::exists(own));
        tick(connector);
        QVERIFY(QFile::exists(own));
    }

    void opensItsServerAtOnceWithoutAnAdministrationName()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QVERIFY(QFile::exists(own));
    }

    void neverOpensItsServerWhileASiblingIsMissing()
    {
        const QString own = newPath();
        const QString missing = newPath();
        TConnector connector(nullptr);
        connector.addOutServerName(missing);
        connector.SetServerName(own);
        tick(connector);
        tick(connector);
        QVERIFY(!QFile::exists(own));
        const QStringList lines = logLines();
        QCOMPARE(lines.size(), 2);
        QVERIFY2(lines[0].startsWith("Connnection Out Error: " + missing + " QLocalSocket::"), qPrintable(lines[0]));
        Peer sibling(missing);
        tick(connector);
        QVERIFY(!QFile::exists(own));
        tick(connector);
        QVERIFY(QFile::exists(own));
    }

    void replacesAStaleSocketFile()
    {
        const QString own = newPath();
        QFile stale(own);
        QVERIFY(stale.open(QIODevice::WriteOnly));
        stale.close();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QLocalSocket client;
        client.connectToServer(own);
        QVERIFY(client.waitForConnected(5000));
    }

    void tellsWhyItsServerCannotOpen()
    {
        const QString own = newPath() + "/no/such/folder";
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QCOMPARE(logLines().size(), 1);
        QVERIFY2(logLines()[0].startsWith("Start Error: QLocalServer::listen"), qPrintable(logLines()[0]));
    }

    void keepsOneLinkForASiblingNamedTwice()
    {
        Peer sibling(newPath());
        TConnector connector(nullptr);
        connector.addOutServerName(sibling.fullServerName());
        connector.addOutServerName(sibling.fullServerName());
        QCOMPARE(connector.findChildren<TMyLocalSocket *>(Qt::FindDirectChildrenOnly).size(), 1 + 1);
    }

    void makesALostSiblingAnewAtTheEndOfTheList()
    {
        auto first = std::make_unique<Peer>(newPath());
        Peer second(newPath());
        const QString firstName = first->fullServerName();
        TConnector connector(nullptr);
        connector.addOutServerName(firstName);
        connector.addOutServerName(second.fullServerName());
        connector.SetServerName(newPath());
        tick(connector);
        QVERIFY(first->caller() && second.caller());
        first.reset();
        QTRY_VERIFY(logLines().contains("Connnection Disconnect: " + firstName));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

        Peer back(firstName);
        tick(connector);
        const QByteArray both = greeting(connector.GetServerName().toUtf8()) + data(3, "d");
        connector.SetOutDataAll(3, "d");
        QCOMPARE(back.received(both.size()), both);
        QCOMPARE(second.received(both.size()), both);
        const auto links = connector.findChildren<TMyLocalSocket *>(Qt::FindDirectChildrenOnly);
        QCOMPARE(QString::fromUtf8(links.last()->peerName), firstName);
    }

    void emitsASignalForEveryKindOfFrame()
    {
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(newPath());
        tick(connector);
        QStringList seen;
        connect(&connector, &TConnector::NewCommand, this, [&](QByteArray &name, QByteArray &request, int id) {
            seen.append(
                QStringLiteral("command %1 %2 %3").arg(QString::fromUtf8(name), QString::fromUtf8(request)).arg(id));
        });
        connect(&connector, &TConnector::NewAction, this,
                [&](QByteArray &name, QByteArray &message, QByteArray &content, QColor &colour, int id) {
                    seen.append(QStringLiteral("action %1 %2 %3 %4 %5")
                                    .arg(QString::fromUtf8(name), QString::fromUtf8(message),
                                         QString::fromUtf8(content), colour.name())
                                    .arg(id));
                });
        connect(&connector, &TConnector::NewBusMessage, this,
                [&](const QByteArray &iface, const QByteArray &content, int id) {
                    seen.append(QStringLiteral("message %1 %2 %3")
                                    .arg(QString::fromUtf8(iface), QString::fromUtf8(content))
                                    .arg(id));
                });
        connect(&connector, &TConnector::NewData, this, [&](unsigned char version, QByteArray &content) {
            seen.append(QStringLiteral("data %1 %2").arg(version).arg(QString::fromUtf8(content)));
        });
        admin.say(command("C", "req", 4) + action("A", "m", "d", red(), -1) +
                  frame(0xCC, bytes("i") + bytes("b") + i32(6)) + data(255, "x") + data(7, "") + i32(0) +
                  data(0, "zero"));
        QTRY_COMPARE(seen, QStringList({"command C req 4", "action A m d #ff0000 -1", "message i b 6", "data 255 x",
                                        "data 0 zero"}));
    }

    void showsTheFramesThatFollow()
    {
        constexpr int kFrames = 100; // more than are looked at in advance
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(newPath());
        tick(connector);
        QStringList seen;
        QStringList expected;
        int shown = 0;
        connect(&connector, &TConnector::NewCommand, this, [&](QByteArray &name) {
            seen.append(QString::fromUtf8(name));
            int number = name.toInt();
            for (const bus::Frame &frame : connector.following()) {
                QCOMPARE(std::get<bus::Command>(frame).name, QByteArray::number(++number));
                ++shown;
            }
        });
        QByteArray all;
        for (int i = 0; i < kFrames; ++i) {
            all += command(QByteArray::number(i), {}, 1);
            expected += QString::number(i);
        }
        admin.say(all + command("unfinished", {}, 1).chopped(1));
        QTRY_COMPARE(seen, expected);
        QVERIFY2(shown > kFrames, qPrintable(QString::number(shown)));
        QVERIFY(connector.following().empty());
    }

    void showsNothingOfALinkThatIsCutOff()
    {
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(newPath());
        tick(connector);
        int commands = 0;
        int arrivals = 0;
        connect(&connector, &TConnector::arrivalHandled, this, [&] { arrivals += commands; });
        connect(&connector, &TConnector::NewCommand, this,
                [&](QByteArray &, QByteArray &, int, TMyLocalSocket *socket) {
                    ++commands;
                    socket->abort();
                });
        admin.say(command("a", {}, 1) + command("b", {}, 1));
        QTRY_COMPARE(commands, 1);
        QTRY_COMPARE(arrivals, 1);
        QVERIFY(connector.following().empty());
        QCOMPARE(commands, 1);
    }

    void takesThePeerNameFromTheLatestGreeting()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QLocalSocket named;
        QLocalSocket nameless;
        named.connectToServer(own);
        nameless.connectToServer(own);
        named.write(greeting("old") + greeting("new"));
        QTRY_COMPARE(logLines().count("New In Connection "), 2);
        const auto links = connector.findChild<TMyLocalServer *>()->findChildren<TMyLocalSocket *>();
        QTRY_COMPARE(links[0]->peerName, QByteArray("new"));

        connector.SetData(5, "new", "for the named");
        connector.SetData(5, "old", "for nobody");
        connector.SetDataAll(6, "for all");
        const QByteArray both = data(5, "for the named") + data(6, "for all");
        QCOMPARE(readFrom(named, both.size()), both);
        QCOMPARE(readFrom(nameless, 1), data(6, "for all"));
    }

    void forgetsAnIncomingLinkThatEnds()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        {
            QLocalSocket client;
            client.connectToServer(own);
            client.write(greeting("guest"));
            QTRY_COMPARE(logLines().count("New In Connection "), 1);
            QTRY_COMPARE(connector.findChild<TMyLocalServer *>()->findChildren<TMyLocalSocket *>()[0]->peerName,
                         QByteArray("guest"));
        }
        QTRY_VERIFY(logLines().contains("Connection In Error: guest"));
        QVERIFY(logLines().contains("Connection in disconnection: guest"));
        QTRY_VERIFY(connector.findChild<TMyLocalServer *>()->findChildren<TMyLocalSocket *>().isEmpty());
        connector.SetDataAll(1, "nobody is there");
    }

    void abortsALinkWithAFrameThatIsTooLong()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QLocalSocket client;
        client.connectToServer(own);
        client.write(i32(50000001) + "x");
        QTRY_COMPARE(client.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(logLines().last(), QString("Connection in disconnection: "));
    }

    void echoesDataToTheAdministrationWhileWatched()
    {
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(newPath());
        tick(connector);
        const QByteArray greeted = greeting(connector.GetServerName().toUtf8());
        int arrived = 0;
        int commands = 0;
        connect(&connector, &TConnector::NewData, this, [&] { ++arrived; });
        connect(&connector, &TConnector::NewCommand, this, [&] { ++commands; });
        admin.say(data(1, "before") + command("Watch_Arrow_On", "", 3) + data(200 - 1, "P") +
                  command("Watch_Arrow_Off", "", 3) + data(1, "after"));
        QTRY_COMPARE(arrived, 3);
        QCOMPARE(commands, 0);
        const QByteArray expected = greeted + action("Watch_Arrow", "199", "P", blue(), -1);
        QCOMPARE(admin.received(expected.size()), expected);
    }

    void cutsOffAReaderThatNeverReads()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QLocalSocket lazy;
        QLocalSocket keen;
        lazy.setReadBufferSize(1);
        lazy.connectToServer(own);
        keen.connectToServer(own);
        QTRY_COMPARE(logLines().count("New In Connection "), 2);
        const QByteArray block(16 * 1024 * 1024, 'x');
        qint64 keenBytes = 0;
        for (int i = 0; i < 5; ++i) {
            connector.SetDataAll(1, block);
            while (keenBytes < (i + 1) * data(1, block).size()) {
                QVERIFY(keen.bytesAvailable() || keen.waitForReadyRead(5000));
                keenBytes += keen.readAll().size();
                QCoreApplication::processEvents();
            }
        }
        QTRY_COMPARE(logLines().filter("Connection cut off: ").size(), 1);
        QCOMPARE(keen.state(), QLocalSocket::ConnectedState);
        connector.SetDataAll(1, "more");
        QCOMPARE(readFrom(keen, 1), data(1, "more"));
    }

    void boundsWhatAllReadersTogetherLeaveUnread()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        constexpr int readers = 18;
        std::vector<QLocalSocket> lazy(readers);
        for (QLocalSocket &reader : lazy) {
            reader.setReadBufferSize(1);
            reader.connectToServer(own);
        }
        QTRY_COMPARE(logLines().count("New In Connection "), readers);
        // 60 MiB for each, below the limit of one; 1080 MiB for all, above that of all.
        const QByteArray block(15 * 1024 * 1024, 'x');
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(logLines().filter("Connection cut off: ").size(), 0);
            connector.SetDataAll(1, block);
        }
        QCOMPARE(logLines().filter("Connection cut off: ").size(), 1);
        QCOMPARE(connector.findChild<TMyLocalServer *>()->findChildren<TMyLocalSocket *>().size(), readers - 1);
    }

    void boundsWhatAllSendersTogetherLeaveUnfinished()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        int arrived = 0;
        connect(&connector, &TConnector::NewData, this, [&] { ++arrived; });
        const QByteArray whole = data(7, QByteArray(49'999'995, 'x'));
        const QByteArray part = whole.left(49'000'000);
        std::vector<QLocalSocket> senders(11);
        const auto links = [&] {
            return connector.findChild<TMyLocalServer *>()->findChildren<TMyLocalSocket *>().size();
        };
        for (QLocalSocket &sender : senders) {
            QCOMPARE(logLines().filter("Connection cut off: ").size(), 0);
            sender.connectToServer(own);
            sender.write(part);
            QTRY_VERIFY(sender.bytesToWrite() == 0 || sender.state() == QLocalSocket::UnconnectedState);
        }
        QTRY_COMPARE(logLines().filter("bytes of a frame unfinished").size(), 1);
        QCOMPARE(links(), qsizetype(senders.size()) - 1);
        // Who is still there may finish.
        for (QLocalSocket &sender : senders)
            sender.write(whole.mid(part.size()));
        QTRY_COMPARE(arrived, int(senders.size()) - 1);
    }

    void doesNotSendWhatPeersWouldNotTake()
    {
        const QString own = newPath();
        TConnector connector(nullptr);
        connector.SetServerName(own);
        tick(connector);
        QLocalSocket client;
        client.connectToServer(own);
        QTRY_COMPARE(logLines().count("New In Connection "), 1);
        connector.SetDataAll(1, QByteArray(50'000'000 - 4, 'x'));
        connector.SetDataAll(1, "next");
        QCOMPARE(logLines().last(), QString("Frame not sent: 50000005 bytes are too many"));
        QCOMPARE(readFrom(client, 1), data(1, "next"));
    }

    void deliversNothingAfterTheStop()
    {
        Peer admin(newPath());
        TConnector connector(nullptr);
        connector.SetAdminServerName(admin.fullServerName().toUtf8());
        connector.SetServerName(newPath());
        tick(connector);
        int commands = 0;
        connect(&connector, &TConnector::NewCommand, this, [&](QByteArray &name) {
            ++commands;
            if (name == "stop")
                connector.stop(0);
        });
        admin.say(command("one", "", 1) + command("stop", "", 1) + command("late", "", 1));
        QTRY_COMPARE(commands, 2);
        admin.say(command("later", "", 1));
        // The link is read in the order sent: once its end is seen, everything before it has been handled.
        admin.caller()->disconnectFromServer();
        QTRY_VERIFY(logLines().contains("Admin connection is closed. Stopping application."));
        QCOMPARE(commands, 2);
    }
};

QTEST_GUILESS_MAIN(TestConnector)
#include "test_connector.moc"

#include "tests/support/other_user.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <memory>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// admin_hub as a process: its sockets, messages and exit codes.
class TestHubProcess : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void endsCleanlyOnASignal_data();
    void endsCleanlyOnASignal();
    void takesOverASocketThatNobodyServes();
    void refusesASocketThatIsInUse();
    void keepsAFileThatIsNoSocket();
    void letsOnlyThoseInWhoMayConnect_data();
    void letsOnlyThoseInWhoMayConnect();
    void tellsABurstOfRefusedConnectionsOnce();
    void refusesWrongUsage_data();
    void refusesWrongUsage();

private:
    [[nodiscard]] QString path(const char *name) const { return m_folder->filePath(QLatin1String(name)); }
    [[nodiscard]] QStringList arguments() const
    {
        return {QStringLiteral("--services"), path("services"), QStringLiteral("--clients"), path("clients")};
    }
    /// Runs the hub to its end; returns its exit code and puts its messages into m_messages.
    int runHub(const QStringList &arguments);
    void start(QProcess &process, const QStringList &more = {}) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_messages;
};

int TestHubProcess::runHub(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(ADMIN_HUB_PATH), arguments);
    const bool ended = process.waitForFinished(10'000);
    m_messages = QString::fromUtf8(process.readAllStandardError());
    if (ended && process.exitStatus() == QProcess::NormalExit)
        return process.exitCode();
    process.kill();
    process.waitForFinished();
    return -1;
}

void TestHubProcess::start(QProcess &process, const QStringList &more) const
{
    process.start(QStringLiteral(ADMIN_HUB_PATH), arguments() + more);
    QVERIFY(process.waitForReadyRead(10'000));
    QCOMPARE(QString::fromUtf8(process.readLine()),
             QStringLiteral("admin_hub: services on %1, clients on %2\n").arg(path("services"), path("clients")));
}

void TestHubProcess::endsCleanlyOnASignal_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void TestHubProcess::endsCleanlyOnASignal()
{
    QFETCH(int, signalNumber);
    QProcess process;
    start(process);
    QLocalSocket client;
    client.connectToServer(path("clients"));
    QVERIFY(client.waitForConnected(5000));
    QCOMPARE(kill(pid_t(process.processId()), signalNumber), 0);
    QVERIFY(process.waitForFinished(10'000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(!QFile::exists(path("services")));
    QVERIFY(!QFile::exists(path("clients")));
}

void TestHubProcess::takesOverASocketThatNobodyServes()
{
    const int descriptor = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray file = QFile::encodeName(path("services"));
    std::copy(file.begin(), file.end(), address.sun_path);
    QCOMPARE(bind(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(descriptor);
    QVERIFY(QFile::exists(path("services")));
    QProcess process;
    start(process);
    process.terminate();
    QVERIFY(process.waitForFinished(10'000));
}

void TestHubProcess::refusesASocketThatIsInUse()
{
    QProcess first;
    start(first);
    QCOMPARE(runHub(arguments()), 1);
    QCOMPARE(m_messages, QStringLiteral("admin_hub: %1 is in use by a running server: stop it or give another name\n")
                             .arg(path("services")));
    QLocalSocket service;
    service.connectToServer(path("services"));
    QVERIFY2(service.waitForConnected(5000), "the second hub has taken the socket of the first away");
    first.terminate();
    QVERIFY(first.waitForFinished(10'000));
}

void TestHubProcess::keepsAFileThatIsNoSocket()
{
    QFile file(path("services"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("precious");
    file.close();
    QCOMPARE(runHub(arguments()), 1);
    QCOMPARE(m_messages, QStringLiteral("admin_hub: %1 exists and is not a socket\n").arg(path("services")));
    QCOMPARE(file.size(), 8);
}

void TestHubProcess::letsOnlyThoseInWhoMayConnect_data()
{
    QTest::addColumn<QStringList>("more");
    QTest::addColumn<int>("umask");
    QTest::addColumn<int>("mode");
    QTest::newRow("by default") << QStringList() << 0 << 0600;
    QTest::newRow("user") << QStringList{"--socket-mode", "user"} << 0 << 0600;
    QTest::newRow("group") << QStringList{"--socket-mode", "group"} << 0 << 0660;
    QTest::newRow("group under a closed umask") << QStringList{"--socket-mode=group"} << 077 << 0660;
}

void TestHubProcess::letsOnlyThoseInWhoMayConnect()
{
    QFETCH(QStringList, more);
    QFETCH(int, umask);
    QFETCH(int, mode);
    // Strangers may pass the folder, so that the sockets' own modes decide.
    QVERIFY(QFile::setPermissions(m_folder->path(),
                                  QFile::permissions(m_folder->path()) | QFile::ExeGroup | QFile::ExeOther));
    QProcess process;
    {
        const support::UmaskScope scope(static_cast<mode_t>(umask));
        start(process, more);
    }
    for (const QString &socket : {path("services"), path("clients")}) {
        QCOMPARE(support::ownFileMode(socket), mode);
        QLocalSocket own;
        own.connectToServer(socket);
        QVERIFY(own.waitForConnected(5000));
        if (!support::mayBecomeStranger())
            continue;
        QCOMPARE(support::strangerConnects(socket), EACCES);
        QCOMPARE(support::strangerConnects(socket, ::getegid()), mode == 0660 ? 0 : EACCES);
    }
    process.terminate();
    QVERIFY(process.waitForFinished(10'000));
}

void TestHubProcess::tellsABurstOfRefusedConnectionsOnce()
{
    constexpr int kLinks = 500;
    QProcess process;
    start(process);
    std::vector<std::unique_ptr<QLocalSocket>> clients;
    const auto connectOne = [&] {
        clients.push_back(std::make_unique<QLocalSocket>());
        clients.back()->connectToServer(path("clients"));
        return clients.back()->waitForConnected(5000);
    };
    for (int i = 0; i < kLinks; ++i)
        QVERIFY(connectOne());
    const auto refuseThree = [&] {
        for (int i = 0; i < 3; ++i) {
            QVERIFY(connectOne());
            QTRY_COMPARE(clients.back()->state(), QLocalSocket::UnconnectedState);
        }
    };
    refuseThree();
    // Which of them the hub has seen closed by now is not known; the next that stays ends the burst.
    clients.erase(clients.begin());
    const QByteArray about = QByteArray::fromHex("00000012 CB 00000005 41626F7574 FFFFFFFF 00000007");
    for (bool taken = false; !taken;) {
        QVERIFY(connectOne());
        QLocalSocket &client = *clients.back();
        client.write(about);
        QTRY_VERIFY(client.bytesAvailable() > 0 || client.state() == QLocalSocket::UnconnectedState);
        taken = client.bytesAvailable() > 0;
    }
    refuseThree();
    process.terminate();
    QVERIFY(process.waitForFinished(10'000));
    const QByteArrayList told = process.readAllStandardError().trimmed().split('\n');
    QCOMPARE(told.count("admin_hub: a connection is refused: 500 are open"), 2);
}

void TestHubProcess::refusesWrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("message");
    const QString folder = QStringLiteral("/no/such/folder");
    const QString longest = QStringLiteral("/tmp/") + QString(101, u'x');
    QTest::newRow("unknown option") << QStringList{"--bogus"} << 2
                                    << "admin_hub: The following argument was not expected";
    QTest::newRow("empty name") << QStringList{"--clients", ""} << 2
                                << "admin_hub: the name of a socket must not be empty";
    QTest::newRow("same name twice") << QStringList{"--services", "a", "--clients", "a"} << 2
                                     << "admin_hub: services and clients need two different sockets";
    QTest::newRow("unknown mode") << QStringList{"--socket-mode", "everyone"} << 2
                                  << "admin_hub: --socket-mode is user or group";
    QTest::newRow("107 bytes") << QStringList{"--services", longest + u'x'} << 2
                               << "admin_hub: the socket path is too long (107 bytes, at most 106)";
    QTest::newRow("missing folder") << QStringList{"--services", folder + "/s"} << 1
                                    << "admin_hub: the folder /no/such/folder does not exist";
}

void TestHubProcess::refusesWrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, message);
    QCOMPARE(runHub(arguments), exitCode);
    QVERIFY2(m_messages.startsWith(message), qPrintable(m_messages));
    QCOMPARE(m_messages.count(u'\n'), 1);
}

QTEST_GUILESS_MAIN(TestHubProcess)
#include "test_hub_process.moc"

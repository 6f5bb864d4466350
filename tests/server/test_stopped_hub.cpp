// The administration server is stopped (SIGSTOP) while a client waits for large trees: what waits for it grows up to a
// bound. Below the bound nothing is lost; beyond it the service ends as at any loss of its administration server, and
// the client is told once that server goes on.

#include "conversation.h"
#include "pg_server.h"
#include "service_process.h"
#include "table_lock.h"
#include "wire.h"

#include <csignal>

using support::ServiceProcess;

namespace {

constexpr qint64 kMiB = 1 << 20;
constexpr int kOperator = 4;
constexpr int kObjects = 20;
constexpr int kNameSize = 2 * kMiB;
constexpr qint64 kTreeBytes = qint64(kObjects) * kNameSize; ///< of an answer, and a little more

/// Ends the stop in any case, lest the hub outlives the test.
class Stopped
{
public:
    explicit Stopped(const QProcess &process)
        : m_process(pid_t(process.processId()))
    {
        ::kill(m_process, SIGSTOP);
    }
    ~Stopped() { goOn(); }
    Q_DISABLE_COPY_MOVE(Stopped)

    void goOn() const { ::kill(m_process, SIGCONT); }

private:
    pid_t m_process;
};

} // namespace

class TestStoppedHub : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void answersWaitUntilItGoesOn();
    void beyondTheBoundTheServiceEndsAndTheClientIsTold();

private:
    /// Has the client ask for `count` trees, stops the hub once the service is at the first of them, and lets it work.
    [[nodiscard]] std::unique_ptr<Stopped> stopWhileItAsksForTrees(int count);

    std::unique_ptr<support::TestDatabase> m_database = support::PgServer::shared().cloneDatabase();
    std::unique_ptr<ServiceProcess> m_service;
    std::unique_ptr<QProcess> m_hub;
    support::Wire m_client;
};

void TestStoppedHub::initTestCase()
{
    m_database->run(QStringLiteral("INSERT INTO \"Objects_property\" (\"Id_objects\", \"Name\", \"Type\", \"Value\") "
                                   "SELECT n, 'name', 10, convert_to(repeat('n', %1), 'utf8') FROM "
                                   "generate_series(1, %2) n")
                        .arg(kNameSize)
                        .arg(kObjects));
}

void TestStoppedHub::init()
{
    m_service = std::make_unique<ServiceProcess>();
    m_hub = std::make_unique<QProcess>();
    m_hub->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_hub->start(QStringLiteral(ADMIN_HUB_PATH),
                 {"--services", m_service->adminPath(), "--clients", m_service->path("clients")});
    QVERIFY(m_hub->waitForReadyRead(10000));
    m_service->start(m_database->settings());
    QVERIFY2(m_service->waitForLog("New Out Connnection"), qPrintable(m_service->story()));
    m_client = support::Wire::connectTo(m_service->path("clients"));
    m_client.send(support::commandWithNoData("About", kOperator));
    QVERIFY(support::isAbout(m_client.nextFrame(), kOperator));
}

void TestStoppedHub::cleanup()
{
    m_service->kill();
    m_hub->terminate();
    QVERIFY(m_hub->waitForFinished(10000));
}

std::unique_ptr<Stopped> TestStoppedHub::stopWhileItAsksForTrees(int count)
{
    // In one piece, so that the hub has passed all of them on once the service is at the first.
    support::TableLock lock(*m_database, "\"Objects_property\"", "ACCESS EXCLUSIVE");
    m_client.send(support::commandWithNoData("Get_full_objects_tree", kOperator).repeated(count));
    if (!lock.isWaitedFor())
        return nullptr;
    return std::make_unique<Stopped>(*m_hub);
}

void TestStoppedHub::answersWaitUntilItGoesOn()
{
    constexpr int kTrees = 3;
    const qint64 before = m_service->residentBytes();
    const auto stopped = stopWhileItAsksForTrees(kTrees);
    QVERIFY2(stopped, qPrintable(m_service->story()));
    QVERIFY(ServiceProcess::waitUntil([&] { return m_service->residentBytes() > before + kTrees * kTreeBytes; }));
    stopped->goOn();
    for (int i = 0; i < kTrees; ++i) {
        const QByteArray tree = m_client.nextFrame();
        QVERIFY2(tree.size() > kTreeBytes, qPrintable(support::describe(tree.left(100))));
    }
    m_client.send(support::commandWithNoData("About", kOperator));
    QVERIFY(support::isAbout(m_client.nextFrame(), kOperator));
    QVERIFY2(m_service->logTexts().filter("cut off").isEmpty(), qPrintable(m_service->story()));
}

void TestStoppedHub::beyondTheBoundTheServiceEndsAndTheClientIsTold()
{
    constexpr qint64 kBound = 512 * kMiB; ///< what may wait for the administration server
    constexpr int kTrees = 2 * int(kBound / kTreeBytes);
    const qint64 before = m_service->residentBytes();
    qint64 most = before;
    const auto stopped = stopWhileItAsksForTrees(kTrees);
    QVERIFY2(stopped, qPrintable(m_service->story()));
    QVERIFY(ServiceProcess::waitUntil([&] {
        most = qMax(most, m_service->residentBytes());
        return !m_service->isRunning();
    }));
    QCOMPARE(m_service->exitCode(), 5);
    // The bound, the answer that went beyond it and one that is being written.
    QVERIFY2(most - before < kBound + 3 * kTreeBytes + support::kSanitizerBytes,
             qPrintable(QString::number((most - before) / kMiB)));
    const QStringList told = m_service->logTexts();
    QCOMPARE(told.filter("Connection cut off: ").size(), 1);
    QCOMPARE(told.filter("Admin connection is closed. Stopping application.").size(), 1);
    stopped->goOn();
    QByteArray said = m_client.nextFrame();
    for (int i = 0; i < kTrees && said.size() > kTreeBytes; ++i)
        said = m_client.nextFrame();
    QVERIFY2(said.contains("the service went away"), qPrintable(support::describe(said.left(100))));
}

QTEST_GUILESS_MAIN(TestStoppedHub)
#include "test_stopped_hub.moc"

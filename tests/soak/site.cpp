#include "site.h"

#include "bytes.h"
#include "client.h"
#include "registry_bytes.h"

#include <QElapsedTimer>

namespace soak {

using support::ServiceProcess;
using support::Wire;

namespace {

constexpr int kWatcher = 999999999;
constexpr int kFirstOperator = 1000000000;

/// Blocks of this size and above go back to the system when they are freed. By itself the allocator keeps more of them
/// the larger they have been, so that what a process holds would tell of the largest answer and not of what is lost.
const QString kLargeBlockBytes = QStringLiteral("131072");

/// Only an event-log record follows it, and only this one speaks of object 17.
QByteArray recordOnly()
{
    return support::command("Update_object_card_field", support::i32(17) + support::i32(0), Site::kNobody);
}

bool isAside(const QByteArray &record)
{
    return record.contains(" update card with id=17");
}

} // namespace

Site::Site(Tally &tally)
    : m_tally(tally)
{}

Site::~Site()
{
    m_service.kill();
    m_hub.terminate();
    m_hub.waitForFinished();
}

QString Site::begin(int operators)
{
    m_server = support::PgServer::own({"max_connections=30"});
    m_database = m_server->cloneDatabase();
    const QString failure = loadRegistry(operators);
    if (!failure.isEmpty())
        return failure;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *variable : {"MALLOC_MMAP_THRESHOLD_", "MALLOC_TRIM_THRESHOLD_"}) {
        environment.insert(variable, kLargeBlockBytes);
        m_service.setVariable(variable, kLargeBlockBytes);
    }
    m_hub.setProcessEnvironment(environment);
    m_hub.setStandardErrorFile(m_service.path("hub.log"));
    m_hub.start(QStringLiteral(ADMIN_HUB_PATH), {"--services", m_service.adminPath(), "--clients", hubPath()});
    if (!m_hub.waitForReadyRead(support::kPatienceMs))
        return "the hub does not start";
    m_sibling = std::make_unique<support::SiblingPeer>(siblingPath());
    m_service.start(m_database->settings() + "DbStatementTimeout=2000\nConnections=" + siblingPath().toUtf8() + '\n');
    if (!m_sibling->attend())
        return m_service.story();
    m_watcher = Wire::connectTo(hubPath());
    m_events = Wire::connectTo(m_service.serverPath());
    m_aside = Wire::connectTo(m_service.serverPath());
    m_servicePid = m_service.processId();
    // Attached, not only connected: what is sent there is heard.
    const bool isUp = m_events.send(recordOnly()) && !m_events.nextFrame(support::kPatienceMs).isEmpty();
    return isUp && works() && sendAside(m_aside) ? QString() : m_service.story();
}

QString Site::loadRegistry(int operators)
{
    QProcess psql;
    psql.setProcessChannelMode(QProcess::MergedChannels);
    psql.start("psql", {"-X", "-q", "-h", m_server->socketFolder(), "-p", QString::number(m_server->port()), "-U",
                        "objects", "-d", m_database->name(), "-v", "ON_ERROR_STOP=1", "-f", DEMO_PATH});
    if (!psql.waitForFinished() || psql.exitCode() != 0)
        return QString::fromUtf8(psql.readAll());
    m_database->run(QStringLiteral("INSERT INTO \"Connections\" SELECT %1 + i, 'operator-' || i FROM "
                                   "generate_series(0, %2) AS i")
                        .arg(kFirstOperator)
                        .arg(operators - 1));
    m_database->run(QStringLiteral("INSERT INTO \"Objects_property\" VALUES (DEFAULT, %1, 'large', '', 1, "
                                   "decode(repeat('5a', 8000000), 'hex'), true)")
                        .arg(kLargeObject));
    return {};
}

void Site::count(const QByteArray &frame)
{
    const Action action = readAction(frame);
    m_userNotices += action.message == "SavedUser" ? 1 : 0;
    m_setupNotices += action.message == "SavedPersonConfig" ? 1 : 0;
}

/// The action frame of this name, when the ones before it have been counted.
QByteArray Site::waitFor(const QByteArray &action, int timeoutMs)
{
    for (;;) {
        const QByteArray frame = m_watcher.nextFrame(timeoutMs);
        if (frame.isEmpty() || readAction(frame).name == action)
            return frame;
        count(frame);
    }
}

bool Site::about(const QString &when)
{
    QElapsedTimer clock;
    clock.start();
    m_watcher.send(support::commandWithNoData("About", kWatcher));
    const bool isAnswered = support::isAbout(waitFor("About", kAboutBoundMs), kWatcher);
    m_tally.noteAbout(clock.elapsed(), when);
    if (!isAnswered)
        m_tally.problems += "\"About\" was not answered: " + when;
    return isAnswered;
}

bool Site::reads(const QString &statement)
{
    m_watcher.send(support::command("Get_objs_by_query_v2", support::text(statement), kWatcher));
    return waitFor("Get_objs_by_query_v2", kAboutBoundMs) ==
           support::answer("Get_objs_by_query_v2", support::numbers({7}), kWatcher);
}

void Site::drain()
{
    const auto takeAll = [](Wire &wire, const auto &take) {
        while (wire.isOpen() && !wire.isSilent()) {
            const QByteArray frame = wire.nextFrame(0);
            if (frame.isEmpty())
                return;
            take(frame);
        }
    };
    takeAll(m_watcher, [this](const QByteArray &frame) { count(frame); });
    takeAll(m_events, [this](const QByteArray &frame) {
        ++m_records;
        m_asideRecords += isAside(frame) ? 1 : 0;
    });
    takeAll(m_aside, [](const QByteArray &) {});
    if (m_sibling)
        takeAll(*m_sibling, [](const QByteArray &) {});
}

QString Site::owed()
{
    const auto isComplete = [this] {
        drain();
        return m_records >= m_tally.owedRecords && m_userNotices >= m_tally.owedUserNotices &&
               m_setupNotices >= m_tally.owedSetupNotices;
    };
    ServiceProcess::waitUntil(isComplete);
    drain();
    if (m_records == m_tally.owedRecords && m_userNotices == m_tally.owedUserNotices &&
        m_setupNotices == m_tally.owedSetupNotices)
        return {};
    return QStringLiteral("%1 event-log records of %2, %3 notices of accounts of %4, %5 of setups of %6")
        .arg(m_records)
        .arg(m_tally.owedRecords)
        .arg(m_userNotices)
        .arg(m_tally.owedUserNotices)
        .arg(m_setupNotices)
        .arg(m_tally.owedSetupNotices);
}

bool Site::sendAside(Wire &wire, const QByteArray &commands)
{
    drain();
    const qint64 before = m_asideRecords;
    ++m_tally.owedRecords;
    if (!wire.send(commands + recordOnly(), kAboutBoundMs))
        return false;
    const auto isDone = [&] {
        drain();
        return m_asideRecords > before;
    };
    return ServiceProcess::waitUntil(isDone, kAboutBoundMs);
}

void Site::endSibling()
{
    m_sibling.reset();
}

bool Site::beginSibling()
{
    m_sibling = std::make_unique<support::SiblingPeer>(siblingPath());
    return m_sibling->attend();
}

} // namespace soak

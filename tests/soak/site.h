#pragma once

#include "line_tail.h"
#include "peers.h"
#include "pg_server.h"
#include "process_figures.h"
#include "service_process.h"
#include "tally.h"

#include <QProcess>

namespace soak {

/// The installation: database server, hub, service with a sibling server, and those who watch it: a client at the hub
/// that asks "About" and a module at the service's own server that counts event-log records.
class Site
{
public:
    explicit Site(Tally &tally);
    ~Site();
    Q_DISABLE_COPY_MOVE(Site)

    /// Starts all on the sample registry with `operators` more accounts; empty, or what went wrong.
    [[nodiscard]] QString begin(int operators);

    [[nodiscard]] support::PgServer &server() { return *m_server; }
    [[nodiscard]] support::TestDatabase &database() { return *m_database; }
    [[nodiscard]] support::ServiceProcess &service() { return m_service; }
    [[nodiscard]] QString hubPath() const { return m_service.path("clients"); }
    [[nodiscard]] qint64 hubProcess() const { return m_hub.processId(); }
    [[nodiscard]] ProcessFigures serviceFigures() { return ProcessFigures::of(m_servicePid); }
    [[nodiscard]] ProcessFigures hubFigures() const { return ProcessFigures::of(m_hub.processId()); }
    [[nodiscard]] QStringList newServiceLines() { return m_serviceLines.next(); }
    [[nodiscard]] QStringList newHubLines() { return m_hubLines.next(); }

    /// Asks "About" and waits for it; the time goes into the tally, and its absence, too.
    bool about(const QString &when);
    /// True when the service gets an answer from the database.
    [[nodiscard]] bool works() { return reads("SELECT 7"); }
    /// The same by a statement that gives 7.
    [[nodiscard]] bool reads(const QString &statement);
    /// Reads what has come to those who watch.
    void drain();
    /// Waits until all records and notices that are owed have come; says what is missing or too many.
    [[nodiscard]] QString owed();
    /// Sends `commands` to the service's own server, where answers go to nobody, and waits until they are done.
    [[nodiscard]] bool sendAside(support::Wire &wire, const QByteArray &commands = {});
    [[nodiscard]] support::Wire &aside() { return m_aside; }

    [[nodiscard]] QString siblingPath() const { return m_service.path("sibling"); }
    /// Ends the sibling server, or starts it; the service comes by itself.
    void endSibling();
    [[nodiscard]] bool beginSibling();

    /// An object with 8 MB in its card.
    static constexpr int kLargeObject = 2000000000;
    /// An operator number under which nobody asks.
    static constexpr int kNobody = 900000000;

private:
    [[nodiscard]] QString loadRegistry(int operators);
    [[nodiscard]] QByteArray waitFor(const QByteArray &action, int timeoutMs);
    void count(const QByteArray &frame);

    Tally &m_tally;
    std::unique_ptr<support::PgServer> m_server;
    std::unique_ptr<support::TestDatabase> m_database;
    support::ServiceProcess m_service;
    QProcess m_hub;
    qint64 m_servicePid = 0;
    std::unique_ptr<support::SiblingPeer> m_sibling;
    support::Wire m_watcher;
    support::Wire m_events;
    support::Wire m_aside;
    LineTail m_serviceLines{m_service.logPath()};
    LineTail m_hubLines{m_service.path("hub.log")};
    qint64 m_records = 0;
    qint64 m_asideRecords = 0;
    qint64 m_userNotices = 0;
    qint64 m_setupNotices = 0;
};

} // namespace soak

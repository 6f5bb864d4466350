#include "fault.h"
#include "table_lock.h"

#include <QSqlDatabase>

namespace soak {

using support::ServiceProcess;

namespace {

constexpr int kFewest = 20;
constexpr int kMore = 60;

/// With the database away: a command that needs it has failed, and "About" is answered.
void lookAround(Scene &scene, const QString &when)
{
    scene.expect(!scene.site().works(), "the database answers: " + when);
    scene.site().about(when);
}

void outage(Scene &scene, const std::function<void()> &end, const QString &when)
{
    scene.doubt();
    scene.site().database().disconnect();
    scene.during(end, kFewest + scene.random(kMore));
    lookAround(scene, when);
    scene.during([&scene] { scene.site().server().start(); }, kFewest + scene.random(kMore));
}

void stopped(Scene &scene)
{
    outage(
        scene, [&scene] { scene.site().server().stop(); }, "database stopped");
}

void stoppedHard(Scene &scene)
{
    outage(
        scene, [&scene] { scene.site().server().stop("immediate"); }, "database stopped hard");
}

void killed(Scene &scene)
{
    outage(
        scene, [&scene] { scene.site().server().kill(); }, "database killed");
}

void sessionsEnded(Scene &scene)
{
    scene.doubt();
    scene.site().database().disconnect();
    scene.during(
        [&scene] {
            scene.site().server().administer("SELECT pg_terminate_backend(pid, 30000) FROM pg_stat_activity WHERE "
                                             "backend_type = 'client backend' AND pid <> pg_backend_pid()");
        },
        kFewest + scene.random(kMore));
    // The next command notices, if none has yet.
    (void)scene.site().works();
    scene.site().about("sessions ended");
}

/// Held until the service has given up one statement on it.
void tableLocked(Scene &scene)
{
    static const QStringList tables = {"Objects_property", "Sensors",     "Commands", "Params",
                                       "Person_Setup",     "Connections", "Templates"};
    constexpr int kSteps = 4; // each may wait for several statements, and the next for it
    const QString table = '"' + tables[scene.random(int(tables.size()))] + '"';
    scene.concludeAll();
    scene.doubt();
    support::TableLock lock(scene.site().database(), table, "ACCESS EXCLUSIVE");
    scene.run(kSteps);
    scene.site().about("table locked");
    scene.expect(!scene.site().reads("SELECT 7 FROM " + table + " LIMIT 1"), table + " is locked and was read");
    lock.release();
}

/// Takes connections as another role until none is left.
QStringList takeConnections(Site &site)
{
    QStringList taken;
    for (bool isOpen = true; isOpen;) {
        const QString name = QStringLiteral("taken %1").arg(taken.size());
        isOpen = site.server().addConnection(name, site.database().name()).open();
        taken += name;
    }
    return taken;
}

void connectionsTaken(Scene &scene)
{
    Site &site = scene.site();
    // No session is begun meanwhile, or it might be one that is not among those ended.
    scene.concludeAll();
    scene.doubt();
    // The service shall not take its own place again before the others do.
    site.database().run("ALTER ROLE objects_service CONNECTION LIMIT 0");
    site.database().endSessions();
    const QStringList taken = takeConnections(site);
    site.database().run("ALTER ROLE objects_service CONNECTION LIMIT -1");
    scene.run(kFewest + scene.random(kMore));
    lookAround(scene, "no connection left");
    for (const QString &name : taken)
        QSqlDatabase::removeDatabase(name);
    scene.run(kFewest);
    // A connection's place is free when its process has gone, a moment later.
    const bool areFree = ServiceProcess::waitUntil([&] {
        site.database().run("SELECT pg_stat_clear_snapshot()");
        return site.database().value("SELECT count(*) FROM pg_stat_activity WHERE usename = 'objects'").toInt() == 0;
    });
    scene.expect(areFree, "the connections taken do not end");
}

} // namespace

QList<Fault> databaseFaults()
{
    constexpr Lines kOutage{.lost = 1, .unavailable = 1};
    // The session that is ended may be one that the service is just giving up, behind a text that left it in the middle
    // of something: then nothing is lost, and the next session is not among those ended.
    constexpr Lines kSessions{.maybeLost = 1};
    return {{"database stopped", true, kOutage, stopped}, {"database stopped hard", true, kOutage, stoppedHard},
            {"database killed", true, kOutage, killed},   {"database sessions ended", true, kSessions, sessionsEnded},
            {"table locked", true, {}, tableLocked},      {"no connection left", true, kOutage, connectionsTaken}};
}

} // namespace soak

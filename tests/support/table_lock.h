#pragma once

#include "pg_server.h"
#include "service_process.h"

namespace support {

/// While it lives, nobody else may change `table` (in mode ACCESS EXCLUSIVE: not even read it). The database's own
/// connection is inside a transaction for as long.
class TableLock
{
public:
    TableLock(TestDatabase &database, const QString &table, const QString &mode = QStringLiteral("SHARE"))
        : m_database(database)
    {
        m_database.run("BEGIN");
        m_database.run("LOCK TABLE " + table + " IN " + mode + " MODE");
    }
    ~TableLock() { release(); }
    Q_DISABLE_COPY_MOVE(TableLock)

    /// Returns once somebody waits for a lock in this database; false when nobody does in time.
    [[nodiscard]] bool isWaitedFor()
    {
        return ServiceProcess::waitUntil([this] {
            return m_database
                       .value("SELECT count(*) FROM pg_locks WHERE NOT granted AND database = (SELECT oid FROM "
                              "pg_database WHERE datname = current_database())")
                       .toInt() > 0;
        });
    }
    void release()
    {
        if (m_held)
            m_database.run("COMMIT");
        m_held = false;
    }

private:
    TestDatabase &m_database;
    bool m_held = true;
};

} // namespace support

#pragma once

#include "pg_server.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace support {

/// One place of a plan where rows of a table are read.
struct TableRead
{
    QString table;
    QString node; ///< with the index, where there is one: "Seq Scan", "Index Scan Objects_pkey"
    QString condition;
    bool isWhole = false; ///< every row or every entry of an index, whatever is asked for
    int pages = 0;        ///< pages of table and index that it touched
    int lookUps = 0;      ///< rows that it found, or was to look for where those are more
    int rows = 0;         ///< rows that it came by, also those that it had no use for

    [[nodiscard]] QString told() const;
};

struct StatementPlan
{
    QString statement;
    QList<TableRead> reads; ///< of the installation's own tables
};

/// The plans of the statements that the service runs, from the log of the database server, which writes down every one.
class PlanLog
{
public:
    /// What the server must be started with.
    [[nodiscard]] static QStringList serverSettings();

    PlanLog(const PgServer &server, TestDatabase &database)
        : m_server(server)
        , m_database(database)
    {}

    /// The plans of the statements that have ended since the last call; nothing when the server does not log them.
    [[nodiscard]] std::optional<QList<StatementPlan>> take();

private:
    [[nodiscard]] QByteArray news() const;

    const PgServer &m_server;
    TestDatabase &m_database;
    qint64 m_taken = 0;
    int m_marks = 0;
};

} // namespace support

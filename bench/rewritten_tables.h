#pragma once

#include "bench/bare_connection.h"

#include <QByteArray>
#include <QByteArrayList>

#include <vector>

namespace bench {

/// What a table takes on the disk, and what autovacuum has to do and has done there.
struct TableState
{
    qint64 tableBytes = 0;
    qint64 indexBytes = 0;
    qint64 deadRows = 0;
    qint64 vacuums = 0;

    [[nodiscard]] qint64 bytes() const { return tableBytes + indexBytes; }
};

/// Tables that a command writes anew, watched while it does.
class RewrittenTables
{
public:
    explicit RewrittenTables(QByteArrayList names)
        : m_names(std::move(names))
        , m_states(static_cast<std::size_t>(m_names.size()))
    {}

    /// Adds what the tables are now.
    void look(BareConnection &database);

    /// Prints for each table its first, its largest and its last state.
    void print() const;

private:
    QByteArrayList m_names; ///< without quotes
    std::vector<std::vector<TableState>> m_states;
};

} // namespace bench

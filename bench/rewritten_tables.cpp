#include "bench/rewritten_tables.h"

#include <algorithm>
#include <cstdio>

namespace bench {

namespace {

constexpr const char *kSelectState =
    R"(SELECT pg_table_size(relid), pg_indexes_size(relid), n_dead_tup, autovacuum_count FROM pg_stat_user_tables WHERE relname = $1)";

qint64 number(const Rows &rows, int column)
{
    return QByteArray(PQgetvalue(rows.get(), 0, column)).toLongLong();
}

double kilobytes(qint64 bytes)
{
    constexpr double kKilobyte = 1024;
    return static_cast<double>(bytes) / kKilobyte;
}

double times(qint64 bytes, qint64 first)
{
    return static_cast<double>(bytes) / static_cast<double>(std::max<qint64>(first, 1));
}

} // namespace

void RewrittenTables::look(BareConnection &database)
{
    for (qsizetype i = 0; i < m_names.size(); ++i) {
        const Rows rows = database.text(QByteArray(kSelectState).replace("$1", '\'' + m_names[i] + '\''));
        m_states[static_cast<std::size_t>(i)].push_back(
            {number(rows, 0), number(rows, 1), number(rows, 2), number(rows, 3)});
    }
}

void RewrittenTables::print() const
{
    std::printf("%-16s %10s %10s %6s %10s %6s %10s %10s %10s\n", "size with indexes", "first", "largest", "times",
                "last", "times", "table", "dead rows", "vacuums");
    for (qsizetype i = 0; i < m_names.size(); ++i) {
        const auto &states = m_states[static_cast<std::size_t>(i)];
        const TableState &first = states.front();
        const TableState &last = states.back();
        const TableState &largest =
            *std::ranges::max_element(states, {}, [](const TableState &state) { return state.bytes(); });
        std::printf("%-17s %7.0f kB %7.0f kB %6.1f %7.0f kB %6.1f %7.0f kB %10lld %10lld\n", m_names[i].constData(),
                    kilobytes(first.bytes()), kilobytes(largest.bytes()), times(largest.bytes(), first.bytes()),
                    kilobytes(last.bytes()), times(last.bytes(), first.bytes()), kilobytes(last.tableBytes),
                    last.deadRows, last.vacuums);
    }
}

} // namespace bench

#pragma once

#include "bench/bare_connection.h"
#include "bench/recorded_statement.h"

#include <vector>

namespace bench {

/// How far a program that does nothing but send statements can get.
enum class Limit {
    Prepared,  ///< one by one: PQexecPrepared of what was prepared before, planned anew where it has no values
    Pipelined, ///< the same, where none waits for the one before
    Copied,    ///< COPY of the rows that are read, which are dropped
};

/// Statements that a session has run, to be run again in the same order with the same commits.
class Replay
{
public:
    Replay(BareConnection &connection, const std::vector<RecordedStatement> &recorded, Limit limit);

    /// Throws where a statement fails.
    void run();

    /// The same by Limit::Prepared, for the results of all statements but those that clean the session.
    [[nodiscard]] std::vector<Rows> results();

    [[nodiscard]] std::size_t size() const { return m_steps.size(); }

private:
    struct Step
    {
        RecordedStatement::Way way;
        Statement statement;
    };

    [[nodiscard]] Rows result(const Step &step);

    BareConnection &m_connection;
    Limit m_limit;
    std::vector<Step> m_steps;
    std::vector<Statement> m_pipelined; ///< those behind the simple ones at the beginning
};

} // namespace bench

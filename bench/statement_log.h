#pragma once

#include "bench/bare_connection.h"
#include "bench/recorded_statement.h"

#include <QFile>

#include <string>
#include <vector>

namespace bench {

/// What other sessions run in the cluster from now on, read from its log while log_statement is "all". The log must be
/// one of JSON.
class StatementLog
{
public:
    /// `path` of the log's file, which must be there.
    StatementLog(BareConnection &database, const std::string &path);

    /// The statements that other sessions have run and ended since the last call, in their order. Throws where one has
    /// failed.
    [[nodiscard]] std::vector<RecordedStatement> take();

private:
    [[nodiscard]] QByteArray nextLine();

    BareConnection &m_database;
    QFile m_file;
    QByteArray m_begun; ///< a line that is not there whole
    int m_marks = 0;
};

} // namespace bench

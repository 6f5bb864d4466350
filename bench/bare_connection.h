#pragma once

#include "database/value.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QtGlobal>

#include <libpq-fe.h>

#include <memory>
#include <string>
#include <vector>

namespace bench {

struct ClearResult
{
    void operator()(PGresult *result) const { PQclear(result); }
};

using Rows = std::unique_ptr<PGresult, ClearResult>;

/// A statement with its values, which take the places "$1", "$2", ...
struct Statement
{
    QByteArray text;
    QList<database::Value> values;
};

/// A connection of libpq and nothing else. Throws std::runtime_error with the database's words where a statement fails.
class BareConnection
{
public:
    /// `description` in libpq's form, "host=... dbname=...".
    explicit BareConnection(const std::string &description);
    ~BareConnection();
    Q_DISABLE_COPY_MOVE(BareConnection)

    /// PQexec: the simple protocol, one or several statements without values, the rows' values as text.
    Rows text(const QByteArray &statements);

    /// PQexecParams: the extended protocol, the rows' values in binary form.
    [[nodiscard]] Rows binary(const Statement &statement);

    /// The same with a statement that is made ready at its first use and kept: PQprepare, PQexecPrepared.
    [[nodiscard]] Rows prepared(const Statement &statement);

    /// Makes it ready for that beforehand.
    void prepare(const Statement &statement);

    /// The same for many that have been prepared, in pipeline mode: none waits for the one before, each has a sync and
    /// so a commit of its own.
    void pipelined(const std::vector<Statement> &statements);

    /// COPY of the statement's rows in binary form, which are received and dropped: the least that reading them can
    /// cost. Returns their bytes. `query` has no values.
    qint64 copyOut(const QByteArray &query);

    /// What the server takes the placeholders of `text` for. `given` are types by place, 0 for those left to it.
    [[nodiscard]] QList<Oid> placeholderTypes(const QByteArray &text, const QList<Oid> &given);

    /// Process number of the session in the server.
    [[nodiscard]] int backend() const { return PQbackendPID(m_connection); }

private:
    [[nodiscard]] Rows checked(PGresult *result) const;
    [[nodiscard]] const char *nameOf(const Statement &statement);
    void flush();

    PGconn *m_connection;
    QHash<QByteArray, QByteArray> m_prepared; ///< names by statement
};

} // namespace bench

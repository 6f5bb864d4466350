#pragma once

#include "database/value.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QtGlobal>

#include <libpq-fe.h>

#include <memory>
#include <string>

namespace bench {

struct ClearResult
{
    void operator()(PGresult *result) const { PQclear(result); }
};

using Rows = std::unique_ptr<PGresult, ClearResult>;

/// A connection of libpq and nothing else. Throws std::runtime_error with the database's words where a statement fails.
class BareConnection
{
public:
    /// `description` in libpq's form, "host=... dbname=...".
    explicit BareConnection(const std::string &description);
    ~BareConnection();
    Q_DISABLE_COPY_MOVE(BareConnection)

    /// PQexec: the simple protocol, values as text.
    [[nodiscard]] Rows text(const QByteArray &statement);

    /// PQexecParams: the extended protocol, the rows' values in binary form. `values` take the places "$1", "$2", ...
    [[nodiscard]] Rows binary(const QByteArray &statement, const QList<database::Value> &values = {});

    /// The same for a statement whose rows do not matter, if it has any.
    void execute(const QByteArray &statement, const QList<database::Value> &values = {});

    /// The same as binary() with a statement that is made ready at its first use and kept: PQprepare, PQexecPrepared.
    [[nodiscard]] Rows prepared(const QByteArray &statement, const QList<database::Value> &values = {});

    /// COPY of the statement's rows in binary form, which are received and dropped: the least that reading them can
    /// cost. Returns their bytes. `query` has no semicolon and no values.
    qint64 copyOut(const QByteArray &query);

private:
    [[nodiscard]] Rows checked(PGresult *result) const;

    PGconn *m_connection;
    QHash<QByteArray, QByteArray> m_prepared; ///< names by statement
};

} // namespace bench

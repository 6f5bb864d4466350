#include "bench/bare_connection.h"

#include "database/bound_values.h"

#include <stdexcept>

#include <poll.h>

namespace bench {

using database::BoundValues;

namespace {

constexpr int kBinary = 1;

} // namespace

BareConnection::BareConnection(const std::string &description)
    : m_connection(PQconnectdb(description.c_str()))
{
    if (PQstatus(m_connection) == CONNECTION_OK)
        return;
    const std::string reason = PQerrorMessage(m_connection);
    PQfinish(m_connection);
    throw std::runtime_error(reason);
}

BareConnection::~BareConnection()
{
    PQfinish(m_connection);
}

Rows BareConnection::text(const QByteArray &statements)
{
    return checked(PQexec(m_connection, statements.constData()));
}

Rows BareConnection::binary(const Statement &statement)
{
    const BoundValues given(statement.values);
    return checked(PQexecParams(m_connection, statement.text.constData(), given.count(), given.types(), given.data(),
                                given.sizes(), given.formats(), kBinary));
}

void BareConnection::prepare(const Statement &statement)
{
    (void)nameOf(statement);
}

Rows BareConnection::prepared(const Statement &statement)
{
    const char *name = nameOf(statement);
    const BoundValues given(statement.values);
    return checked(
        PQexecPrepared(m_connection, name, given.count(), given.data(), given.sizes(), given.formats(), kBinary));
}

const char *BareConnection::nameOf(const Statement &statement)
{
    QByteArray &name = m_prepared[statement.text];
    if (name.isEmpty()) {
        const BoundValues given(statement.values);
        name = "statement_" + QByteArray::number(m_prepared.size());
        (void)checked(
            PQprepare(m_connection, name.constData(), statement.text.constData(), given.count(), given.types()));
    }
    return name.constData();
}

void BareConnection::pipelined(const std::vector<Statement> &statements)
{
    PQsetnonblocking(m_connection, 1);
    PQenterPipelineMode(m_connection);
    for (const Statement &statement : statements) {
        const BoundValues given(statement.values);
        if (PQsendQueryPrepared(m_connection, nameOf(statement), given.count(), given.data(), given.sizes(),
                                given.formats(), kBinary) == 0 ||
            PQpipelineSync(m_connection) == 0)
            throw std::runtime_error(PQerrorMessage(m_connection));
    }
    flush();
    // Of each statement: its result, the null that ends it, the sync.
    for (std::size_t i = 0; i < statements.size(); ++i) {
        (void)checked(PQgetResult(m_connection));
        PQclear(PQgetResult(m_connection));
        PQclear(PQgetResult(m_connection));
    }
    PQexitPipelineMode(m_connection);
    PQsetnonblocking(m_connection, 0);
}

/// Reads while it sends: the server may be waiting for that.
void BareConnection::flush()
{
    constexpr int kForever = -1;
    while (PQflush(m_connection) == 1) {
        pollfd socket{PQsocket(m_connection), POLLIN | POLLOUT, 0};
        if (poll(&socket, 1, kForever) > 0 && (socket.revents & POLLIN) != 0)
            PQconsumeInput(m_connection);
    }
}

qint64 BareConnection::copyOut(const QByteArray &query)
{
    constexpr int kWaiting = 0;
    const Rows begun(PQexec(m_connection, ("COPY (" + query + ") TO STDOUT (FORMAT binary)").constData()));
    if (PQresultStatus(begun.get()) != PGRES_COPY_OUT)
        throw std::runtime_error(PQerrorMessage(m_connection));
    qint64 bytes = 0;
    char *row = nullptr;
    for (int got = 0; (got = PQgetCopyData(m_connection, &row, kWaiting)) > 0; PQfreemem(row))
        bytes += got;
    (void)checked(PQgetResult(m_connection));
    // libpq is ready for the next statement once it has said that there is nothing more.
    while (PGresult *more = PQgetResult(m_connection))
        PQclear(more);
    return bytes;
}

QList<Oid> BareConnection::placeholderTypes(const QByteArray &text, const QList<Oid> &given)
{
    constexpr const char *kUnnamed = "";
    (void)checked(PQprepare(m_connection, kUnnamed, text.constData(), static_cast<int>(given.size()), given.data()));
    const Rows described = checked(PQdescribePrepared(m_connection, kUnnamed));
    QList<Oid> types;
    for (int i = 0; i < PQnparams(described.get()); ++i)
        types.append(PQparamtype(described.get(), i));
    return types;
}

Rows BareConnection::checked(PGresult *result) const
{
    Rows rows(result);
    const ExecStatusType status = PQresultStatus(result);
    if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK)
        throw std::runtime_error(PQerrorMessage(m_connection));
    return rows;
}

} // namespace bench

#include "bench/bare_connection.h"

#include <QVarLengthArray>

#include <stdexcept>

namespace bench {

namespace {

constexpr int kBinary = 1;

/// Values in libpq's form. They must outlive this.
struct Parameters
{
    explicit Parameters(const QList<database::Value> &values)
    {
        for (const database::Value &value : values) {
            data.append(value.data());
            sizes.append(value.size());
            formats.append(value.isBinary() ? 1 : 0);
        }
    }

    [[nodiscard]] int count() const { return static_cast<int>(data.size()); }

    QVarLengthArray<const char *, 16> data;
    QVarLengthArray<int, 16> sizes;
    QVarLengthArray<int, 16> formats;
};

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

Rows BareConnection::text(const QByteArray &statement)
{
    return checked(PQexec(m_connection, statement.constData()));
}

Rows BareConnection::binary(const QByteArray &statement, const QList<database::Value> &values)
{
    const Parameters given(values);
    return checked(PQexecParams(m_connection, statement.constData(), given.count(), nullptr, given.data.constData(),
                                given.sizes.constData(), given.formats.constData(), kBinary));
}

Rows BareConnection::prepared(const QByteArray &statement, const QList<database::Value> &values)
{
    const Parameters given(values);
    QByteArray &name = m_prepared[statement];
    if (name.isEmpty()) {
        name = "statement_" + QByteArray::number(m_prepared.size());
        (void)checked(PQprepare(m_connection, name.constData(), statement.constData(), given.count(), nullptr));
    }
    return checked(PQexecPrepared(m_connection, name.constData(), given.count(), given.data.constData(),
                                  given.sizes.constData(), given.formats.constData(), kBinary));
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

void BareConnection::execute(const QByteArray &statement, const QList<database::Value> &values)
{
    (void)binary(statement, values);
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

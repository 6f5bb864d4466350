#include "bench/bare_connection.h"

#include <QVarLengthArray>

#include <stdexcept>

namespace bench {

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
    QVarLengthArray<const char *, 16> data;
    QVarLengthArray<int, 16> sizes;
    QVarLengthArray<int, 16> formats;
    for (const database::Value &value : values) {
        data.append(value.data());
        sizes.append(value.size());
        formats.append(value.isBinary() ? 1 : 0);
    }
    constexpr int kBinary = 1;
    return checked(PQexecParams(m_connection, statement.constData(), static_cast<int>(values.size()), nullptr,
                                data.constData(), sizes.constData(), formats.constData(), kBinary));
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

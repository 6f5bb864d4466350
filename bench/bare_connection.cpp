#include "bench/bare_connection.h"

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

Rows BareConnection::binary(const QByteArray &statement)
{
    constexpr int kBinary = 1;
    return checked(PQexecParams(m_connection, statement.constData(), 0, nullptr, nullptr, nullptr, nullptr, kBinary));
}

Rows BareConnection::checked(PGresult *result) const
{
    Rows rows(result);
    if (PQresultStatus(result) != PGRES_TUPLES_OK)
        throw std::runtime_error(PQerrorMessage(m_connection));
    return rows;
}

} // namespace bench

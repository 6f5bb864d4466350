#include "database/result.h"

#include <QtEndian>

namespace database {

namespace {

constexpr Oid kBooleanType = 16;
constexpr char16_t kLastLatin1 = 255;

} // namespace

Result::Result(PGresult *result)
    : m_result(result)
{}

int Result::rowCount() const
{
    return m_result ? PQntuples(m_result.get()) : 0;
}

int Result::column(const char *name) const
{
    if (!m_result)
        return -1;
    const int columns = PQnfields(m_result.get());
    for (int column = 0; column < columns; ++column) {
        if (qstrcmp(PQfname(m_result.get(), column), name) == 0)
            return column;
    }
    return -1;
}

bool Result::isNull(int row, int column) const
{
    return column < 0 || PQgetisnull(m_result.get(), row, column) != 0;
}

qint32 Result::integer(int row, int column) const
{
    if (isNull(row, column))
        return 0;
    const char *value = PQgetvalue(m_result.get(), row, column);
    switch (PQgetlength(m_result.get(), row, column)) {
    case 1:
        return *value;
    case 2:
        return qFromBigEndian<qint16>(value);
    case 4:
        return qFromBigEndian<qint32>(value);
    case 8:
        return static_cast<qint32>(qFromBigEndian<qint64>(value));
    default:
        return 0;
    }
}

QString Result::text(int row, int column) const
{
    if (isNull(row, column))
        return {};
    return QString::fromUtf8(PQgetvalue(m_result.get(), row, column), PQgetlength(m_result.get(), row, column));
}

QByteArray Result::bytes(int row, int column) const
{
    if (isNull(row, column))
        return {};
    return {PQgetvalue(m_result.get(), row, column), PQgetlength(m_result.get(), row, column)};
}

qint16 Result::character(int row, int column) const
{
    if (isNull(row, column))
        return 0;
    if (PQftype(m_result.get(), column) == kBooleanType)
        return integer(row, column) != 0 ? 't' : 'f';
    const QString value = text(row, column);
    return value.isEmpty() || value.front().unicode() > kLastLatin1 ? qint16(0)
                                                                    : static_cast<qint16>(value.front().unicode());
}

} // namespace database

#include "database/result.h"

#include "database/binary_value.h"

#include <cmath>
#include <limits>

namespace database {

namespace {

constexpr Oid kBooleanType = 16;
constexpr char16_t kLastLatin1 = 255;

/// Scripts give their results as text, of whatever type a client has asked for.
qint32 numberFromText(const char *text)
{
    if (qstrcmp(text, "t") == 0)
        return 1;
    bool isInteger = false;
    const int number = QByteArrayView(text).toInt(&isInteger);
    if (isInteger)
        return number;
    const double fraction = QByteArrayView(text).toDouble();
    return std::abs(fraction) <= std::numeric_limits<qint32>::max() ? qRound(fraction) : 0;
}

} // namespace

Result::Result(PGresult *result)
    : m_result(result)
    , m_binary(result && PQbinaryTuples(result) != 0)
{}

int Result::rowCount() const
{
    return m_result ? PQntuples(m_result.get()) : 0;
}

int Result::columnCount() const
{
    return m_result ? PQnfields(m_result.get()) : 0;
}

int Result::column(const char *name) const
{
    for (int column = 0; column < columnCount(); ++column) {
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
    const QByteArrayView bytes = view(row, column);
    if (bytes.isNull())
        return 0;
    return m_binary ? integerOf(bytes) : numberFromText(bytes.data());
}

QString Result::text(int row, int column) const
{
    const QByteArrayView value = view(row, column);
    return value.isNull() ? QString() : QString::fromUtf8(value);
}

QByteArray Result::bytes(int row, int column) const
{
    return view(row, column).toByteArray();
}

QByteArrayView Result::view(int row, int column) const
{
    const int length = column < 0 ? 0 : PQgetlength(m_result.get(), row, column);
    if (length == 0 && isNull(row, column))
        return {};
    return {PQgetvalue(m_result.get(), row, column), length};
}

qint16 Result::character(int row, int column) const
{
    const QByteArrayView bytes = view(row, column);
    if (bytes.isNull())
        return 0;
    if (PQftype(m_result.get(), column) == kBooleanType)
        return integer(row, column) != 0 ? 't' : 'f';
    const auto first = bytes.isEmpty() ? char(0) : bytes.front();
    if (static_cast<quint8>(first) < 0x80)
        return first;
    const QString value = QString::fromUtf8(bytes);
    return value.isEmpty() || value.front().unicode() > kLastLatin1 ? qint16(0)
                                                                    : static_cast<qint16>(value.front().unicode());
}

} // namespace database

#include "database/value.h"

#include <QtEndian>

#include <array>

namespace database {

namespace {

constexpr Oid kLeftToTheServer = 0;
constexpr Oid kBytesType = 17;
constexpr Oid kBigIntegerType = 20;
constexpr Oid kIntegerType = 23;
constexpr Oid kIntegersType = 1007;

template <typename Number>
QByteArray bigEndian(Number number)
{
    QByteArray bytes(sizeof(number), Qt::Uninitialized);
    qToBigEndian(number, bytes.data());
    return bytes;
}

} // namespace

Value::Value(QByteArray bytes, bool binary, Oid type)
    : m_bytes(std::move(bytes))
    , m_binary(binary)
    , m_type(type)
{}

Value Value::integer(qint32 number)
{
    return {bigEndian(number), true, kIntegerType};
}

Value Value::bigInteger(qint64 number)
{
    return {bigEndian(number), true, kBigIntegerType};
}

Value Value::boolean(bool flag)
{
    return {flag ? "t" : "f", false, kLeftToTheServer};
}

Value Value::text(const QString &text)
{
    if (text.isNull())
        return {QByteArray(), false, kLeftToTheServer};
    QByteArray utf8 = text.toUtf8();
    return {utf8.isNull() ? QByteArray("") : utf8, false, kLeftToTheServer};
}

Value Value::bytes(const QByteArray &bytes)
{
    return {bytes, true, kBytesType};
}

Value Value::integers(const QList<qint32> &numbers)
{
    // number of dimensions, null flag, element type, then size and lower bound of the one dimension; each element has
    // its length in front
    const std::array<qint32, 5> head{numbers.isEmpty() ? 0 : 1, 0, kIntegerType, static_cast<qint32>(numbers.size()),
                                     1};
    const qsizetype headSize = numbers.isEmpty() ? 3 : head.size();
    QByteArray bytes((headSize + 2 * numbers.size()) * qsizetype(sizeof(qint32)), Qt::Uninitialized);
    char *at = bytes.data();
    const auto put = [&at](qint32 number) {
        qToBigEndian(number, at);
        at += sizeof(number);
    };
    for (qsizetype i = 0; i < headSize; ++i)
        put(head[static_cast<size_t>(i)]);
    for (const qint32 number : numbers) {
        put(sizeof(number));
        put(number);
    }
    return {bytes, true, kIntegersType};
}

} // namespace database

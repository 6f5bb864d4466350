#include "database/value.h"

namespace database {

Value::Value(QByteArray bytes, bool binary)
    : m_bytes(std::move(bytes))
    , m_binary(binary)
{}

Value Value::integer(qint32 number)
{
    return {QByteArray::number(number), false};
}

Value Value::boolean(bool flag)
{
    return {flag ? "t" : "f", false};
}

Value Value::text(const QString &text)
{
    if (text.isNull())
        return {QByteArray(), false};
    QByteArray utf8 = text.toUtf8();
    return {utf8.isNull() ? QByteArray("") : utf8, false};
}

Value Value::bytes(const QByteArray &bytes)
{
    return {bytes, true};
}

} // namespace database

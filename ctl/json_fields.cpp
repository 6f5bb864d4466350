#include "ctl/json_fields.h"

#include "ctl/text.h"

#include <QJsonDocument>

#include <cmath>
#include <limits>

namespace ctl {

void JsonProblem::note(const QString &path, const QString &what)
{
    if (!m_failure)
        m_failure = Failure{printable(path) + QStringLiteral(": ") + what, true};
}

Result<QJsonObject> parseJsonObject(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError) {
        const QByteArray before = text.left(error.offset);
        return Failure{QStringLiteral("this is not JSON: line %1, byte %2: %3")
                           .arg(before.count('\n') + 1)
                           .arg(before.size() - before.lastIndexOf('\n'))
                           .arg(error.errorString()),
                       true};
    }
    if (!document.isObject())
        return Failure{QStringLiteral("the JSON is not an object ({...})"), true};
    return document.object();
}

JsonFields::JsonFields(const QJsonValue &value, QString path, JsonProblem &problem)
    : m_object(value.toObject())
    , m_path(std::move(path))
    , m_problem(problem)
{
    if (!value.isObject())
        m_problem.note(m_path, QStringLiteral("expected an object ({...})"));
}

qint32 JsonFields::int32(const QString &name)
{
    using Bounds = std::numeric_limits<qint32>;
    return qint32(integer(name, take(name), Bounds::min(), Bounds::max()));
}

qint16 JsonFields::int16(const QString &name)
{
    using Bounds = std::numeric_limits<qint16>;
    return qint16(integer(name, take(name), Bounds::min(), Bounds::max()));
}

QString JsonFields::text(const QString &name)
{
    return textFrom(take(name), pathOf(name));
}

QStringList JsonFields::texts(const QString &name)
{
    const QJsonArray values = array(name);
    QStringList texts;
    for (qsizetype index = 0; index < values.size(); ++index)
        texts.append(textFrom(values[index], elementPath(name, index)));
    return texts;
}

QByteArray JsonFields::bytes(const QString &name)
{
    const QJsonValue value = take(name);
    if (value.isNull())
        return {};
    if (value.isString()) {
        const QByteArray bytes = value.toString().toUtf8();
        return bytes.isNull() ? QByteArray("") : bytes;
    }
    const QJsonObject packed = value.toObject();
    if (packed.size() == 1 && packed.value(QStringLiteral("base64")).isString()) {
        const auto decoded = QByteArray::fromBase64Encoding(
            packed.value(QStringLiteral("base64")).toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (decoded)
            return decoded.decoded.isNull() ? QByteArray("") : decoded.decoded;
        note(name + QStringLiteral(".base64"), QStringLiteral("this is not base64"));
        return {};
    }
    note(name, QStringLiteral("expected a string, null or {\"base64\": \"...\"}"));
    return {};
}

qint16 JsonFields::flag(const QString &name)
{
    using Bounds = std::numeric_limits<qint16>;
    const QString character = QStringLiteral("a string of at most one character, or ");
    const QJsonValue value = take(name);
    if (!value.isString())
        return qint16(integer(name, value, Bounds::min(), Bounds::max(), character));
    const QString text = value.toString();
    if (text.isEmpty())
        return 0;
    if (text.size() == 1 && text[0].unicode() > 0 && text[0].unicode() <= 255)
        return qint16(text[0].unicode());
    note(name,
         QStringLiteral("expected %1an integer from %2 to %3").arg(character).arg(Bounds::min()).arg(Bounds::max()));
    return 0;
}

void JsonFields::expectObject(qint32 object, const char *what)
{
    const QString name = QStringLiteral("object");
    if (has(name) && int32(name) != object) {
        note(name, QStringLiteral("expected %1, as on the command line; leave the field out to save the %2 of one "
                                  "object to another")
                       .arg(QString::number(object), QLatin1String(what)));
    }
}

QJsonArray JsonFields::array(const QString &name)
{
    const QJsonValue value = take(name);
    if (!value.isArray())
        note(name, QStringLiteral("expected an array ([...])"));
    return value.toArray();
}

QString JsonFields::elementPath(const QString &name, qsizetype index) const
{
    return QStringLiteral("%1[%2]").arg(pathOf(name)).arg(index);
}

void JsonFields::refuseOthers()
{
    for (const QString &name : m_object.keys()) {
        if (!m_known.contains(name))
            note(name, QStringLiteral("there is no such field"));
    }
}

void JsonFields::note(const QString &name, const QString &what)
{
    m_problem.note(pathOf(name), what);
}

void JsonFields::refuseNul(const QString &name, const QString &text)
{
    if (text.contains(QChar(u'\0')))
        note(name, QStringLiteral("holds the character U+0000, which the registry cannot keep"));
}

QJsonValue JsonFields::take(const QString &name)
{
    m_known.insert(name);
    if (!m_object.contains(name))
        note(name, QStringLiteral("is missing"));
    return m_object.value(name);
}

QString JsonFields::pathOf(const QString &name) const
{
    return m_path.isEmpty() ? name : m_path + u'.' + name;
}

QString JsonFields::textFrom(const QJsonValue &value, const QString &path)
{
    if (value.isString()) {
        const QString text = value.toString();
        return text.isNull() ? QStringLiteral("") : text;
    }
    if (!value.isNull())
        m_problem.note(path, QStringLiteral("expected a string or null"));
    return {};
}

qint64 JsonFields::integer(const QString &name, const QJsonValue &value, qint64 lowest, qint64 highest,
                           const QString &otherForm)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (number >= double(lowest) && number <= double(highest) && number == std::floor(number))
        return qint64(number);
    note(name, QStringLiteral("expected %1an integer from %2 to %3").arg(otherForm).arg(lowest).arg(highest));
    return 0;
}

} // namespace ctl

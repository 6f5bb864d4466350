#include "ctl/json_text.h"

#include "ctl/text.h"

#include <QStringList>

namespace ctl {
namespace {

QString escapedUnit(QChar unit)
{
    return QStringLiteral("\\u%1").arg(uint(unit.unicode()), 4, 16, QLatin1Char('0'));
}

} // namespace

QString jsonText(const QString &text)
{
    if (text.isNull())
        return QStringLiteral("null");
    QString result(u'"');
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text[at];
        const bool pair = unit.isHighSurrogate() && at + 1 < text.size() && text[at + 1].isLowSurrogate();
        const QStringView character = QStringView(text).mid(at, pair ? 2 : 1);
        if (unit == u'"' || unit == u'\\')
            result.append(u'\\').append(unit);
        else if (unit == u'\n')
            result += QStringLiteral("\\n");
        else if (unit == u'\t')
            result += QStringLiteral("\\t");
        else if (printable(character) == character)
            result += character;
        else
            for (const QChar half : character)
                result += escapedUnit(half);
        at += character.size() - 1;
    }
    return result + u'"';
}

QString jsonBytes(const QByteArray &bytes)
{
    if (bytes.isNull())
        return QStringLiteral("null");
    if (bytes.isEmpty())
        return QStringLiteral("\"\"");
    if (const auto text = utf8Text(bytes))
        return jsonText(*text);
    return jsonObject({{QStringLiteral("base64"), jsonText(QString::fromLatin1(bytes.toBase64()))}});
}

QString jsonFlag(qint16 code)
{
    if (code == 0)
        return QStringLiteral("\"\"");
    if (code >= '!' && code <= '~')
        return jsonText(QString(QLatin1Char(char(code))));
    return QString::number(code);
}

QString jsonBool(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString jsonNumbers(const QList<qint32> &numbers)
{
    QString text(u'[');
    for (const qint32 number : numbers)
        text += (text.size() > 1 ? QStringLiteral(", ") : QString()) + QString::number(number);
    return text + u']';
}

QString jsonObject(const QList<JsonMember> &members)
{
    QStringList parts;
    for (const auto &[name, value] : members)
        parts.append(jsonText(name) + QStringLiteral(": ") + value);
    return u'{' + parts.join(QStringLiteral(", ")) + u'}';
}

QString jsonArray(const QStringList &elements)
{
    return u'[' + elements.join(QStringLiteral(", ")) + u']';
}

QString jsonLines(const QStringList &elements)
{
    if (elements.isEmpty())
        return QStringLiteral("[]");
    return QStringLiteral("[\n  ") + elements.join(QStringLiteral(",\n  ")) + QStringLiteral("\n]");
}

} // namespace ctl

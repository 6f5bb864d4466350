#include "ctl/arguments.h"

#include "ctl/text.h"

#include <QString>
#include <QStringList>

namespace ctl {
namespace {

/// Nothing when `text` is not the plain decimal form of a number of the range.
std::optional<qint64> readDecimal(const QString &text, qint64 lowest, qint64 highest)
{
    bool ok = false;
    const qint64 number = text.toLongLong(&ok, 10);
    if (!ok || QString::number(number) != text || number < lowest || number > highest)
        return std::nullopt;
    return number;
}

} // namespace

CLI::Validator decimal(qint64 lowest, qint64 highest)
{
    const auto check = [lowest, highest](const std::string &text) -> std::string {
        if (readDecimal(QString::fromStdString(text), lowest, highest))
            return {};
        return "expected an integer from " + std::to_string(lowest) + " to " + std::to_string(highest) + ", not \"" +
               printable(QString::fromStdString(text)).toStdString() + '"';
    };
    return CLI::Validator(check, std::string());
}

Result<QList<qint32>> readNumberList(const std::string &text, const char *option, const char *thing)
{
    QList<qint32> numbers;
    for (const QString &word : QString::fromStdString(text).split(u',')) {
        const auto number = readDecimal(word.trimmed(), 0, std::numeric_limits<qint32>::max());
        if (!number)
            return Failure{QStringLiteral("%1: expected %2 numbers like 3,7,12, not \"%3\"")
                               .arg(QLatin1String(option), QLatin1String(thing), printable(word)),
                           true};
        if (numbers.contains(qint32(*number)))
            return Failure{QStringLiteral("%1: %2 %3 is given twice")
                               .arg(QLatin1String(option), QLatin1String(thing), QString::number(*number)),
                           true};
        numbers.append(qint32(*number));
    }
    return numbers;
}

Result<QList<qint32>> readObjectList(const std::string &text)
{
    return readNumberList(text, "--objects", "object");
}

Outcome refuseQuote(const QString &name, const char *field, const char *instead)
{
    if (!name.contains(u'\''))
        return std::nullopt;
    return Failure{QStringLiteral("%1: the service cannot look for a name that holds a single quote; %2")
                       .arg(QLatin1String(field), QLatin1String(instead)),
                   true};
}

Result<QByteArray> readBase64(const std::string &text)
{
    auto decoded =
        QByteArray::fromBase64Encoding(QByteArray::fromStdString(text), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return Failure{QStringLiteral("the value is not base64"), true};
    return decoded.decoded.isNull() ? QByteArray("") : std::move(decoded.decoded);
}

Result<QByteArray> readHex(const std::string &text)
{
    const QByteArray digits = QByteArray::fromStdString(text).replace(' ', QByteArray());
    const QByteArray bytes = QByteArray::fromHex(digits);
    if (bytes.toHex() != digits.toLower())
        return Failure{QStringLiteral("the data is not hexadecimal: expected pairs of the digits 0-9 and a-f"), true};
    return bytes;
}

QByteArray argumentBytes(const std::string &text)
{
    return QByteArray(text.data(), qsizetype(text.size()));
}

} // namespace ctl

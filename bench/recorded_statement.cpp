#include "bench/recorded_statement.h"

#include <stdexcept>

namespace bench {

namespace {

/// "parameters: $1 = '7', $2 = NULL, $3 = 'it''s'"
QList<QByteArray> valuesIn(const QByteArray &detail)
{
    QList<QByteArray> values;
    for (qsizetype at = detail.indexOf(" = "); at >= 0; at = detail.indexOf(" = ", at)) {
        at += 3;
        if (detail.mid(at, 4) == "NULL") {
            values.append(QByteArray());
            continue;
        }
        QByteArray value("");
        for (++at; at < detail.size(); ++at) {
            if (detail[at] == '\'' && detail.mid(at + 1, 1) != "'")
                break;
            value += detail[at];
            if (detail[at] == '\'')
                ++at;
        }
        values.append(value);
    }
    return values;
}

} // namespace

std::optional<RecordedStatement> recordedStatement(const QByteArray &message, const QByteArray &detail)
{
    constexpr QByteArrayView kSimple("statement: ");
    constexpr QByteArrayView kExtended("execute ");
    constexpr QByteArrayView kUnnamed("<unnamed>");
    constexpr QByteArrayView kCopy("COPY (");
    constexpr QByteArrayView kCopied(") TO STDOUT (FORMAT binary)");
    if (message.startsWith(kSimple)) {
        const QByteArray text = message.sliced(kSimple.size());
        // The query alone; how its rows are had is the limit's own choice.
        if (text.startsWith(kCopy) && text.endsWith(kCopied))
            return RecordedStatement{RecordedStatement::Way::Once,
                                     text.sliced(kCopy.size(), text.size() - kCopy.size() - kCopied.size()),
                                     {}};
        return RecordedStatement{RecordedStatement::Way::Simple, text, {}};
    }
    if (!message.startsWith(kExtended))
        return std::nullopt;
    const qsizetype end = message.indexOf(": ");
    if (end < 0)
        throw std::runtime_error("the server's log tells of a statement in another form");
    const QByteArray name = message.sliced(kExtended.size(), end - kExtended.size());
    return RecordedStatement{name == kUnnamed ? RecordedStatement::Way::Once : RecordedStatement::Way::Kept,
                             message.sliced(end + 2), valuesIn(detail)};
}

} // namespace bench

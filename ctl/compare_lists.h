#pragma once

#include "ctl/session.h"
#include "ctl/text.h"

#include <QList>

#include <algorithm>
#include <iterator>
#include <optional>

namespace ctl {

/// Holding what was sent against what was read back.

/// How a list is called in messages: "sensors", "the sensors", "sensors" of "it has 2 sensors".
struct ListWords
{
    const char *member; ///< in JSON
    const char *whole;
    const char *things;
};

/// Nothing when `stored`, read back from the registry, is what was sent as `isSame` sees it; else a text that names the
/// first difference. `nameOf`: what people call a record.
template <typename Record, typename NameOf>
[[nodiscard]] std::optional<QString> firstDifference(const QList<Record> &sent, const QList<Record> &stored,
                                                     bool (*isSame)(const Record &, const Record &),
                                                     const ListWords &words, NameOf nameOf)
{
    for (qsizetype index = 0; index < std::min(sent.size(), stored.size()); ++index) {
        if (!isSame(sent[index], stored[index])) {
            return QStringLiteral("%1[%2] (\"%3\") as it was sent")
                .arg(QLatin1String(words.member), QString::number(index), printable(nameOf(sent[index])));
        }
    }
    if (sent.size() == stored.size())
        return std::nullopt;
    return QStringLiteral("%1 as sent: it has %2 %3 instead of %4")
        .arg(QLatin1String(words.whole), QString::number(stored.size()), QLatin1String(words.things),
             QString::number(sent.size()));
}

/// Reads the records of every object by `fetch` and holds those that `concerns` picks against `isRight`.
template <typename Record, typename Concerns, typename Check>
[[nodiscard]] Outcome checkOnObjects(Session &session, const QList<qint32> &objects,
                                     Result<QList<Record>> (*fetch)(Session &, qint32), Concerns concerns,
                                     Check isRight)
{
    for (const qint32 object : objects) {
        Result<QList<Record>> records = fetch(session, object);
        if (!records)
            return Session::unconfirmed(records.failure());
        QList<Record> concerned;
        std::copy_if(records->cbegin(), records->cend(), std::back_inserter(concerned), concerns);
        if (!isRight(concerned))
            return Failure{QStringLiteral("the service did not store the change on object %1").arg(object)};
    }
    return std::nullopt;
}

} // namespace ctl

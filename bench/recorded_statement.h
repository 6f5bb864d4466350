#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace bench {

/// A statement as a session has run it.
struct RecordedStatement
{
    enum class Way {
        Simple, ///< by the simple protocol: one or several statements without values
        Once,   ///< planned for this time
        Kept,   ///< prepared before
    };

    Way way = Way::Simple;
    QByteArray text;
    QList<QByteArray> values; ///< in PostgreSQL's text form, null for NULL
};

/// What one message of the server's log (log_statement=all) and its detail say; nothing where they tell of no
/// statement.
[[nodiscard]] std::optional<RecordedStatement> recordedStatement(const QByteArray &message, const QByteArray &detail);

} // namespace bench

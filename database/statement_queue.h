#pragma once

#include "database/value.h"

#include <QByteArray>
#include <QHash>
#include <QList>

#include <chrono>
#include <deque>

namespace database {

/// Statements on their way to the server, each with a success and a commit of its own, and the texts that the session
/// keeps prepared for them.
///
/// They travel in libpq's pipeline mode: the next one is sent before the outcome of the one before is known. A text is
/// prepared when it first comes, and then kept as long as the session lasts.
class StatementQueue
{
public:
    /// Statements that may wait for their outcome at a time: enough that the server never waits for us, and few enough
    /// that a command which is being told of failures has not run far ahead.
    static constexpr qsizetype kMost = 64;

    /// The session is a new one, or was cleaned: nothing is prepared in it, and nothing is on its way.
    void forgetAll();

    /// The server does not have this text prepared any more.
    void forget(const QByteArray &text) { m_names.remove(text); }

    /// True where `prepared`, the names that the session has with whether a text of SQL has prepared them, tells of all
    /// statements that are taken for prepared, and of none that somebody else has made.
    [[nodiscard]] bool isAllThatIs(const PGresult *prepared) const;

    /// Sends a statement. Its placeholders are "?" in order, or "%0", "%1", ... for the values in that order. False
    /// where libpq could not take it and says why.
    [[nodiscard]] bool add(PGconn *connection, const QByteArray &text, const QList<Value> &values);

    [[nodiscard]] bool isEmpty() const { return m_waiting.empty(); }

    /// Sends a statement that is not kept. Its placeholders are "$1", "$2", ...
    [[nodiscard]] bool addOnce(PGconn *connection, const QByteArray &text, const QList<Value> &values);

    /// True when the next statement must not be added before the outcomes are taken.
    [[nodiscard]] bool isFull() const;

    /// Waits for the outcome of the oldest statement: its result, or the error that it or its preparation failed with;
    /// null when the connection has nothing to say. See nextResult() for `limit`. The caller owns the result.
    [[nodiscard]] PGresult *takeOldest(PGconn *connection, std::chrono::milliseconds limit);

private:
    struct Waiting
    {
        QByteArray text;
        bool prepares; ///< the server has still to say whether it could prepare the text
    };

    [[nodiscard]] bool end(PGconn *connection, const Waiting &statement, int sent);

    QHash<QByteArray, QByteArray> m_names; ///< of the prepared statements, by their texts
    std::deque<Waiting> m_waiting;
    int m_lastName = 0;
};

} // namespace database

#pragma once

#include "database/copied_row.h"
#include "database/result.h"
#include "database/statement.h"
#include "database/statement_queue.h"

#include <QDeadlineTimer>
#include <QList>
#include <QSqlDatabase>
#include <QSqlError>
#include <QString>

#include <chrono>
#include <deque>
#include <functional>

namespace database {

/// The service's one connection, opened by QtSql under a name; statements run on its libpq handle.
///
/// The handle is used directly because QtSql's way of running a statement never returns from a COPY that a client's
/// text may hold, hides the errors of all but the first of several statements, and takes three trips for one with bound
/// values.
class Connection
{
public:
    using Observer = std::function<void(const QSqlError &)>;

    /// Nothing is opened here; statements fail until a QtSql connection named `name` has been added.
    void setName(const QString &name);
    [[nodiscard]] QSqlDatabase qtDatabase() const { return QSqlDatabase::database(m_name, false); }

    /// Bounds each statement; 0 is no bound. Holds from the next command on.
    void setStatementTimeout(std::chrono::milliseconds limit);

    /// Called with the error of each statement that fails.
    void onFailure(Observer observer) { m_onFailure = std::move(observer); }

    /// Called after the connection, having been lost or never open, has been opened.
    void onOpened(std::function<void()> observer) { m_onOpened = std::move(observer); }

    /// Called once when a connection that was open is found to be gone.
    void onLost(std::function<void()> observer) { m_onLost = std::move(observer); }

    /// Called once per outage, with the reason why opening failed.
    void onUnavailable(Observer observer) { m_onUnavailable = std::move(observer); }

    /// Called when a command is about to wait for the server.
    void onWait(std::function<void()> observer) { m_onWait = std::move(observer); }

    /// The outage that is on has been told already.
    void outageIsKnown() { m_outageTold = true; }

    /// Begins a command: its first statement will look whether the server is still there and connect anew if it is not.
    /// Within a command that is not repeated.
    void beginCommand();

    /// True when the connection is usable; opens it if this command has not tried yet.
    ///
    /// While the server refuses at once (within 1 s) every command tries again; one that keeps us waiting is left
    /// alone for up to 5 s.
    bool ready();

    /// Runs one statement, which the session keeps prepared: its text must be one of a limited number.
    [[nodiscard]] Result query(const Statement &statement);
    [[nodiscard]] Result query(const QByteArray &text, const QList<Value> &values = {})
    {
        return query({text, values});
    }

    /// Sends a statement that changes nothing before it is asked for: the next query() of the same takes its outcome.
    /// Any other statement in between makes it one that nobody has asked for. False where it cannot be sent, which is
    /// no failure, and no more can be.
    bool sendAhead(const Statement &statement);
    [[nodiscard]] bool isAhead() const { return !m_ahead.empty(); }

    /// What has not been asked for by now was read too early for whoever asks later: that runs anew.
    void forgetAhead();

    /// The same for a statement whose outcome nobody looks at. It may still be on its way when this returns, and the
    /// statements behind it do not wait for it; each has a success and a commit of its own, in the order of the calls.
    void post(const QByteArray &text, const QList<Value> &values);

    /// Waits for all that has been posted. Everything here that runs another statement does so first.
    void settle();

    /// Runs one statement that is put together for this time only, with the placeholders "$1", "$2", ...; see
    /// resetSession() for one in which a client's words stand.
    [[nodiscard]] Result queryOnce(const QString &text, const QList<Value> &values = {});

    /// Runs a query of the service's own (without a semicolon) whose result is large, and never in memory whole: `take`
    /// gets it row by row. False when it failed; that may be after rows have been taken.
    [[nodiscard]] bool forEachRow(const QByteArray &query, const std::function<void(const CopiedRow &)> &take);

    /// Runs a text of one or several statements, which may hold a client's words, as one implicit transaction and gives
    /// the last result. It has failed if any statement did. A text that leaves the session in the middle of something
    /// (a transaction, a COPY) has failed too, and costs the connection.
    [[nodiscard]] Result script(const QString &text);

    /// A script that is a client's own: whatever it has changed of the session (settings, role, locks, temporary
    /// tables) is undone behind it.
    [[nodiscard]] Result foreignScript(const QString &text);

    /// Undoes what a client's words inside a statement of ours may have changed of the session.
    void resetSession();

    /// The last statement's error; invalid when it succeeded.
    [[nodiscard]] const QSqlError &lastError() const { return m_error; }

private:
    /// A process of the database server, with the server as the connection names it: of several hosts each has numbers
    /// of its own.
    struct Backend
    {
        QByteArray server;
        int process = 0; ///< 0: none
    };

    [[nodiscard]] PGconn *handleOfQt() const;
    [[nodiscard]] Backend backend() const;
    [[nodiscard]] bool isAlive() const;
    bool open();
    bool openAnew();
    void tellLost();
    void prepareSession();
    void applySettings();
    using Add = bool (StatementQueue::*)(PGconn *, const QByteArray &, const QList<Value> &);
    bool send(Add add, const QByteArray &text, const QList<Value> &values);
    PGresult *takeAllButLast();
    PGresult *takeAhead();
    void dropAhead();
    PGresult *leavePipeline(PGresult *outcome);
    PGresult *run(const QByteArray &text);
    void aboutToWait() const;
    void noteAbandoned();
    [[nodiscard]] QSqlError notOpenError() const;
    Result take(PGresult *result);
    Result fail(const QSqlError &error);

    QString m_name;
    PGconn *m_native = nullptr; ///< while QtSql's connection is open; looked up once a command
    QSqlError m_error;
    QSqlError m_openError;
    std::chrono::milliseconds m_statementTimeout{0};
    StatementQueue m_queue;
    std::deque<Statement> m_ahead; ///< those in the queue that nobody has asked for yet; then it holds no others
    bool m_prepared = false;       ///< the session has our settings
    Backend m_backend;             ///< of the session
    Backend m_abandonedBackend;    ///< of a session that was given up at work
    bool m_wasOpen = false;        ///< and its loss has not been told
    bool m_checked = false;
    bool m_outageTold = false;
    QDeadlineTimer m_nextAttempt;
    Observer m_onFailure;
    Observer m_onUnavailable;
    std::function<void()> m_onLost;
    std::function<void()> m_onOpened;
    std::function<void()> m_onWait;
};

} // namespace database

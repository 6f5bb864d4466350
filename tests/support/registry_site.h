#pragma once

#include "installation.h"

#include <QByteArrayList>

namespace support {

/// A running service for one test class, with the checks that its functions share. The local log is at level 2, where
/// every failed statement leaves a line of its own.
class RegistrySite : public Installation
{
public:
    /// Drops what an earlier function left unread, empties every table, makes operator 4 ("ivanov") and begins to count
    /// lines of the local log.
    void beginFunction();
    /// Says what is left over after a test function, nothing when all is well: a frame, an event-log record, a local
    /// log that did not grow by `failedStatements` lines, a service that has gone. In a function that has failed
    /// already it prints the lines.
    [[nodiscard]] QString leftover(int failedStatements);
    /// The lines that the local log got since beginFunction().
    [[nodiscard]] QStringList newLogLines() const;

    /// Sends a command of operator 4 and an "About" behind it; the frames that came before the answer to that.
    [[nodiscard]] QByteArrayList replies(const QByteArray &name, const QByteArray &request);
    /// The lines of the event-log records that have come to the client.
    [[nodiscard]] QByteArrayList recordedLines();
    /// Ends the service's connection to the database for good: it cannot open another one.
    void closeDatabaseToService();

private:
    qsizetype m_logLines = 0;
};

/// While it lives, the statements that do `event` ("INSERT", "UPDATE" or "DELETE") to rows of `table` (quoted where it
/// must be) for which `condition` (over NEW or OLD) holds fail with the text "made to fail".
class StatementFault
{
public:
    StatementFault(TestDatabase &database, const QString &table, const QString &event,
                   const QString &condition = "true");
    ~StatementFault();
    Q_DISABLE_COPY_MOVE(StatementFault)

private:
    TestDatabase &m_database;
};

/// While it lives, the service may not do `action` ("SELECT", "DELETE") on `table`.
class RightTaken
{
public:
    RightTaken(TestDatabase &database, const QString &action, const QString &table);
    ~RightTaken();
    Q_DISABLE_COPY_MOVE(RightTaken)

private:
    TestDatabase &m_database;
    QString m_right;
};

} // namespace support

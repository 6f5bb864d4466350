#include "registry/dispatcher.h"

#include "keystone/log.h"
#include "registry/command_call.h"

#include <QElapsedTimer>

namespace registry {

namespace {

constexpr int kLogFailures = 2;
constexpr int kLogCommands = 3;
constexpr qint64 kNanosecondsPerMicrosecond = 1000;

/// The lines below may quote the row that failed, and so an operator's password.
QString firstLine(const QString &text)
{
    return text.section(QLatin1Char('\n'), 0, 0, QString::SectionSkipEmpty).trimmed();
}

void logFailedStatement(const char *command, const QSqlError &error)
{
    if (logHasLevel(kLogFailures))
        logMessage(QStringLiteral("%1: %2").arg(QLatin1String(command), firstLine(error.databaseText())));
}

} // namespace

Dispatcher::Dispatcher(std::initializer_list<std::span<const CommandRow>> tables, database::Connection &database,
                       Announcer &announcer)
    : m_database(database)
    , m_announcer(announcer)
{
    for (const auto table : tables) {
        for (const CommandRow &row : table) {
            if (!m_rows.contains(row.name))
                m_rows.insert(row.name, &row);
        }
    }
}

void Dispatcher::dispatch(const QByteArray &command, const QByteArray &request, int caller,
                          std::span<const bus::Frame> following)
{
    const CommandRow *row = m_rows.value(command);
    if (!row)
        return;
    m_database.beginCommand();
    if (row->reads && !following.empty() && !m_database.isAhead())
        sendAhead(readsOf(command, request, caller), following);
    run(*row, request, caller);
}

/// Empty where only the command itself knows.
QList<database::Statement> Dispatcher::readsOf(const QByteArray &command, const QByteArray &request, int caller) const
{
    const CommandRow *row = m_rows.value(command);
    if (!row || !row->reads)
        return {};
    RequestReader in(request);
    return row->reads(in, caller);
}

/// Does nothing for a command that comes alone: what it asks for in vain then does not hold up the next.
void Dispatcher::sendAhead(QList<database::Statement> statements, std::span<const bus::Frame> following)
{
    bool isAlone = true;
    for (const bus::Frame &frame : following) {
        const auto *command = std::get_if<bus::Command>(&frame);
        const auto more =
            command ? readsOf(command->name, command->data, command->idConnection) : QList<database::Statement>();
        if (more.isEmpty())
            break;
        statements += more;
        isAlone = false;
    }
    if (isAlone)
        return;
    for (const database::Statement &statement : statements) {
        if (!m_database.sendAhead(statement))
            break;
    }
}

void Dispatcher::run(const CommandRow &row, const QByteArray &request, int caller)
{
    QElapsedTimer taken;
    taken.start();
    m_database.onFailure([&row](const QSqlError &error) { logFailedStatement(row.name, error); });
    CommandCall call(row.name, request, caller, m_database, m_announcer);
    row.handle(call);
    m_database.settle();
    m_database.onFailure({});

    const qsizetype replySize = call.reply.dataSize();
    const QString refusal = call.in.refusal();
    if (!refusal.isEmpty())
        logMessage(
            QStringLiteral("%1 of %2 refused: %3").arg(QLatin1String(row.name), QString::number(caller), refusal));
    // A refused command is answered as one whose statements have failed.
    if (row.reply == Reply::Sent && call.isReplying())
        m_announcer.sendAnswer(call.reply.take(Qt::blue, caller));
    call.sendLateNotices();
    if (logHasLevel(kLogCommands)) {
        logMessage(QStringLiteral("%1 of %2: %3 us, %4 bytes in, %5 out")
                       .arg(QLatin1String(row.name), QString::number(caller),
                            QString::number(taken.nsecsElapsed() / kNanosecondsPerMicrosecond),
                            QString::number(request.size()), QString::number(replySize)));
    }
}

} // namespace registry

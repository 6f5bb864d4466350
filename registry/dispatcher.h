#pragma once

#include "database/connection.h"
#include "registry/announcer.h"

#include <QByteArray>
#include <QHash>

#include <span>

namespace registry {

class CommandCall;

/// Whether the caller is sent what the handler wrote, even if that is nothing.
enum class Reply { Sent, None };

/// One command of a subject's table.
struct CommandRow
{
    const char *name; ///< compared exactly
    void (*handle)(CommandCall &call);
    Reply reply;
};

/// Finds the handler of a command, runs it and sends its reply.
///
/// What holds for every command stands here: a refused request ends without reply, a failed statement and (at log level
/// 3) the command itself get a line in the local log. An unknown name is dropped without a word.
class Dispatcher
{
public:
    /// `tables` are searched in order; they, `database` and `announcer` must outlive the dispatcher.
    Dispatcher(std::initializer_list<std::span<const CommandRow>> tables, database::Connection &database,
               Announcer &announcer);

    void dispatch(const QByteArray &command, const QByteArray &request, int caller);

private:
    void run(const CommandRow &row, const QByteArray &request, int caller);

    QHash<QByteArray, const CommandRow *> m_rows;
    database::Connection &m_database;
    Announcer &m_announcer;
};

} // namespace registry

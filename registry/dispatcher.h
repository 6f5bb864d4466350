#pragma once

#include "bus/frame.h"
#include "database/connection.h"
#include "registry/announcer.h"

#include <QByteArray>
#include <QHash>

#include <span>

namespace registry {

class CommandCall;
class RequestReader;

/// Whether the caller is sent what the handler wrote, even if that is nothing.
enum class Reply { Sent, None };

/// One command of a subject's table.
struct CommandRow
{
    const char *name; ///< compared exactly
    void (*handle)(CommandCall &call);
    Reply reply;
    /// The statements of a command that only reads, all of them and in their order, where its request decides on them.
    QList<database::Statement> (*reads)(RequestReader &in, int caller) = nullptr;
};

/// Finds the handler of a command, runs it and sends its reply.
///
/// What holds for every command stands here: a refused request ends without reply, a failed statement and (at log level
/// 3) the command itself get a line in the local log. An unknown name is dropped without a word.
///
/// The statements of commands that only read and have arrived together are sent together, so that the database need not
/// wait for each of the commands: nothing stands between two of them that could change what they read.
class Dispatcher
{
public:
    /// `tables` are searched in order; they, `database` and `announcer` must outlive the dispatcher.
    Dispatcher(std::initializer_list<std::span<const CommandRow>> tables, database::Connection &database,
               Announcer &announcer);

    /// `following` are the frames that will be handled next.
    void dispatch(const QByteArray &command, const QByteArray &request, int caller,
                  std::span<const bus::Frame> following = {});

private:
    [[nodiscard]] QList<database::Statement> readsOf(const QByteArray &command, const QByteArray &request,
                                                     int caller) const;
    void sendAhead(QList<database::Statement> statements, std::span<const bus::Frame> following);
    void run(const CommandRow &row, const QByteArray &request, int caller);

    QHash<QByteArray, const CommandRow *> m_rows;
    database::Connection &m_database;
    Announcer &m_announcer;
};

} // namespace registry

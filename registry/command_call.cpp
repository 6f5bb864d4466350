#include "registry/command_call.h"

#include "database/user_names.h"

namespace registry {

QByteArray numberBlock(qint32 number)
{
    QByteArray block;
    keystone::ByteWriter stream(&block);
    stream << number;
    return block;
}

CommandCall::CommandCall(const QByteArray &command, const QByteArray &request, int caller,
                         database::Connection &database, Announcer &outside)
    : in(request)
    , reply(command)
    , out(&reply.bytes())
    , db(database)
    , announcer(outside)
    , m_caller(caller)
{}

QString CommandCall::callerName()
{
    return operatorName(static_cast<unsigned int>(m_caller));
}

QString CommandCall::operatorName(unsigned int id)
{
    return userNameByID(id, db);
}

void CommandCall::announce(const QByteArray &message, const QByteArray &data)
{
    // Who hears of a change must find it made.
    db.settle();
    announcer.sendAction("ServerMessage", message, data, Qt::red, kAllClients);
}

void CommandCall::announceSavedCard(qint32 object)
{
    announce("SavedCard", numberBlock(object));
}

void CommandCall::announceAfterReply(const QByteArray &message, const QByteArray &data)
{
    m_lateNotices.append({message, data});
}

void CommandCall::sendLateNotices()
{
    for (const Notice &notice : std::as_const(m_lateNotices))
        announce(notice.message, notice.data);
    m_lateNotices.clear();
}

void CommandCall::logEvent(const QString &line)
{
    constexpr quint8 kChangeLevel = 1;
    announcer.writeToLog(line.toUtf8(), kChangeLevel);
}

} // namespace registry

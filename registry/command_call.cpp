#include "registry/command_call.h"

#include "keystone/user_names.h"

namespace registry {

CommandCall::CommandCall(const QByteArray &request, int caller, database::Connection &database, Announcer &outside)
    : in(request)
    , out(&reply)
    , db(database)
    , announcer(outside)
    , m_caller(caller)
{}

QString CommandCall::callerName()
{
    if (!db.ready()) {
        db.noteOutcome(db.notOpenError());
        return {};
    }
    QSqlError error;
    const QString name = userNameByID(static_cast<unsigned int>(m_caller), db.qtDatabase(), &error);
    db.noteOutcome(error);
    return name;
}

void CommandCall::announceSavedCard(const QList<qint32> &objects)
{
    QByteArray data;
    keystone::ByteWriter stream(&data);
    for (const qint32 object : objects)
        stream << object;
    announcer.sendAction("ServerMessage", "SavedCard", data, Qt::red, kAllClients);
}

void CommandCall::logEvent(const QString &line)
{
    constexpr quint8 kChangeLevel = 1;
    announcer.writeToLog(line.toUtf8(), kChangeLevel);
}

} // namespace registry

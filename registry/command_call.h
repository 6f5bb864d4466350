#pragma once

#include "bus/action_frame.h"
#include "database/connection.h"
#include "keystone/byte_writer.h"
#include "registry/announcer.h"
#include "registry/request_reader.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace registry {

/// A notice's or reply's data block that holds one number.
[[nodiscard]] QByteArray numberBlock(qint32 number);

/// One command being handled: all that its handler may use. Lives only during that call.
class CommandCall
{
public:
    /// `command` is its name on the bus. Everything else given here must outlive the call.
    CommandCall(const QByteArray &command, const QByteArray &request, int caller, database::Connection &database,
                Announcer &outside);

    RequestReader in;
    bus::ActionFrame reply;
    keystone::ByteWriter out; ///< writes the data of `reply`
    database::Connection &db;
    Announcer &announcer;

    /// Connection number of the client that sent the command, which is also its operator account.
    [[nodiscard]] int caller() const { return m_caller; }

    /// Sends no reply although the command has one.
    void withholdReply() { m_replying = false; }
    [[nodiscard]] bool isReplying() const { return m_replying; }

    /// Login of the calling operator; empty for an unknown one.
    [[nodiscard]] QString callerName();

    /// Login of account `id`; empty for an unknown one.
    [[nodiscard]] QString operatorName(unsigned int id);

    /// Tells all clients what has changed: "SavedCard", "SavedUser" or "SavedPersonConfig" with the numbers concerned.
    void announce(const QByteArray &message, const QByteArray &data);
    void announceSavedCard(qint32 object);

    /// The same, but only once the caller has his reply.
    void announceAfterReply(const QByteArray &message, const QByteArray &data);
    void sendLateNotices();

    /// Sends `line` to the installation's event log.
    void logEvent(const QString &line);

private:
    struct Notice
    {
        QByteArray message;
        QByteArray data;
    };

    int m_caller;
    QList<Notice> m_lateNotices;
    bool m_replying = true;
};

} // namespace registry

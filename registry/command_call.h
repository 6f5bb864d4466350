#pragma once

#include "database/connection.h"
#include "keystone/stream.h"
#include "registry/announcer.h"
#include "registry/request_reader.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace registry {

/// One command being handled: all that its handler may use. Lives only during that call.
class CommandCall
{
public:
    /// Everything given here must outlive the call.
    CommandCall(const QByteArray &request, int caller, database::Connection &database, Announcer &outside);

    RequestReader in;
    QByteArray reply;         ///< what `out` has written
    keystone::ByteWriter out; ///< appends to `reply`
    database::Connection &db;
    Announcer &announcer;

    /// Connection number of the client that sent the command, which is also its operator account.
    [[nodiscard]] int caller() const { return m_caller; }

    /// Login of the calling operator; empty for an unknown one.
    [[nodiscard]] QString callerName();

    /// Tells all clients that the cards of `objects` have changed.
    void announceSavedCard(const QList<qint32> &objects);

    /// Sends `line` to the installation's event log.
    void logEvent(const QString &line);

private:
    int m_caller;
};

} // namespace registry

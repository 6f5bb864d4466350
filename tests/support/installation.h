#pragma once

#include "peers.h"
#include "pg_server.h"
#include "service_process.h"

namespace support {

/// A running service with everything around it: a database, the administration server, one attached client.
struct Installation
{
    std::unique_ptr<TestDatabase> database = PgServer::shared().cloneDatabase();
    ServiceProcess service;
    AdminPeer admin{service.adminPath()};
    ClientPeer client;

    /// Starts the service without waiting for it; `more` are further settings lines.
    void begin(const QByteArray &more = {});
    /// Waits until it greets and its own server has taken the client: about ten seconds after begin().
    [[nodiscard]] bool isUp();
    /// Drops what an earlier test left unread on the links and attaches the client where it has gone.
    void settle();
    /// Empties the tables that card commands touch and makes operator 4, called "ivanov".
    void reset() const;
};

} // namespace support

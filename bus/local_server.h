#pragma once

#include "bus/local_socket.h"

#include <QLocalServer>

/// The service's own server: hands out its links as TMyLocalSocket (children of the server) instead of queueing them.
class TMyLocalServer : public QLocalServer
{
    Q_OBJECT

public:
    using QLocalServer::QLocalServer;

signals:
    void newConnection(TMyLocalSocket *socket);

protected:
    void incomingConnection(quintptr descriptor) override;
};

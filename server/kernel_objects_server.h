#pragma once

#include "bus/local_socket.h"
#include "database/connection.h"
#include "registry/announcer.h"
#include "registry/dispatcher.h"
#include "server/server_plugin.h"

/// The object-registry service: takes commands from the bus, runs them on the database, answers and announces.
class TKernelObjectsServer : public TServerPlugin, private registry::Announcer
{
    Q_OBJECT

public:
    explicit TKernelObjectsServer(QObject *parent);

    /// Besides the base class's settings: opens the database and brings the operators' table up to date. False when the
    /// database cannot be opened; the service then serves the bus without it and opens it when it is there.
    bool LoadSettings(QString path) override;

    /// Sends a line to the installation's event log: to every sibling and every client of the service's own server.
    void WriteToLog(const QByteArray &text, unsigned char level);

public slots:
    /// Handles one command; the answer goes to the administration link whichever link the command came on.
    void AdminCommand(QByteArray &command, QByteArray &data, int IDConnection, TMyLocalSocket *socket);

private:
    void upgradeConnections();

    void sendAnswer(const QByteArray &frame) override;
    void sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data, const QColor &colour,
                    int idConnection) override;
    void writeToLog(const QByteArray &text, quint8 level) override;
    void stop(int code) override;

    QString m_connectionName;
    bool m_upgradePending = false;
    database::Connection m_database;
    registry::Dispatcher m_dispatcher;
};

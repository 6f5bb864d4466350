#pragma once

#include "bus/frame.h"
#include "bus/socket_mode.h"
#include "hub/link.h"
#include "hub/request_queue.h"

#include <QLocalServer>
#include <QObject>
#include <QSet>

#include <map>

namespace hub {

/// Bounds that keep one peer from taking the hub's memory or descriptors.
struct Limits
{
    qint64 bytesWaiting = 128LL * 1024 * 1024; ///< per link
    qsizetype requestsPerService = 10'000;
    qsizetype operatorsPerClient = 1'000; ///< operator numbers remembered; answers to further ones need a request
    qsizetype links = 500;                ///< services and clients together, below the usual limit of open files
};

/// A small administration server: services attach on one socket, clients on another.
///
/// A client's command goes to every service, under the operator number that the client gives. An answer goes to the
/// client that asked, a notice to all clients. Links that close or misbehave end alone; the hub itself only ends with
/// its process.
class Hub : public QObject
{
    Q_OBJECT

public:
    explicit Hub(const Limits &limits = {}, QObject *parent = nullptr);
    ~Hub() override;

    /// Opens both sockets (paths that claimSocket() found free) for those of `mode`. Empty on success, else one line
    /// saying what failed.
    [[nodiscard]] QString listen(const QString &servicesPath, const QString &clientsPath,
                                 bus::SocketMode mode = bus::SocketMode::User);

    [[nodiscard]] qsizetype serviceCount() const { return qsizetype(m_services.size()); }
    [[nodiscard]] qsizetype clientCount() const { return qsizetype(m_clients.size()); }

private:
    struct Service
    {
        Link *link;
        RequestQueue waiting;
    };
    struct Client
    {
        Link *link;
        QSet<qint32> operators; ///< numbers under which it has sent commands
    };

    [[nodiscard]] Link *accept(QLocalServer &server);
    void acceptServices();
    void acceptClients();
    void handleServiceFrame(LinkId id, const QByteArray &body);
    void handleClientFrame(LinkId id, const QByteArray &body);
    void passCommand(LinkId clientId, const bus::Command &command, const QByteArray &body);
    void passAnswer(Service &service, const bus::Action &action, const QByteArray &body);
    void dropService(LinkId id);
    void dropClient(LinkId id);
    void sendToClient(LinkId id, const QByteArray &frame);
    void tellClient(LinkId id, qint32 operatorNumber, const char *text);

    Limits m_limits;
    bool m_refusing = false; ///< since the last connection that was taken; told once
    QLocalServer m_serviceServer;
    QLocalServer m_clientServer;
    std::map<LinkId, Service> m_services;
    std::map<LinkId, Client> m_clients;
    LinkId m_lastId = 0;
};

} // namespace hub

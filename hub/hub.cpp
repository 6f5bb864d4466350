#include "hub/hub.h"

#include "hub/hub_protocol.h"
#include "hub/log_line.h"
#include "keystone/printable_name.h"

#include <QtEndian>

#include <ranges>

namespace hub {
namespace {

/// The frame as it came: what the cutter took, under its length again.
QByteArray wholeFrame(const QByteArray &body)
{
    QByteArray frame;
    frame.reserve(body.size() + qsizetype(sizeof(qint32)));
    frame.resize(sizeof(qint32));
    qToBigEndian(qint32(body.size()), frame.data());
    frame.append(body);
    return frame;
}

/// Links may close while frames are sent to them, so lists are walked by number.
template <typename Map>
QList<LinkId> idsOf(const Map &links)
{
    QList<LinkId> ids;
    for (const LinkId id : std::views::keys(links))
        ids.append(id);
    return ids;
}

} // namespace

Hub::Hub(const Limits &limits, QObject *parent)
    : QObject(parent)
    , m_limits(limits)
{
    connect(&m_serviceServer, &QLocalServer::newConnection, this, &Hub::acceptServices);
    connect(&m_clientServer, &QLocalServer::newConnection, this, &Hub::acceptClients);
}

Hub::~Hub()
{
    for (const auto &[id, service] : m_services)
        service.link->disconnect(this);
    for (const auto &[id, client] : m_clients)
        client.link->disconnect(this);
}

QString Hub::listen(const QString &servicesPath, const QString &clientsPath, bus::SocketMode mode)
{
    if (!bus::listenWithMode(m_serviceServer, servicesPath, mode))
        return QStringLiteral("cannot listen on %1: %2").arg(servicesPath, m_serviceServer.errorString());
    if (!bus::listenWithMode(m_clientServer, clientsPath, mode)) {
        m_serviceServer.close();
        return QStringLiteral("cannot listen on %1: %2").arg(clientsPath, m_clientServer.errorString());
    }
    return {};
}

Link *Hub::accept(QLocalServer &server)
{
    QLocalSocket *socket = server.nextPendingConnection();
    if (socket == nullptr)
        return nullptr;
    auto *link = new Link(++m_lastId, socket, m_limits.bytesWaiting, this);
    if (serviceCount() + clientCount() < m_limits.links) {
        m_refusing = false;
        return link;
    }
    if (!std::exchange(m_refusing, true))
        logLine(QStringLiteral("a connection is refused: %1 are open").arg(m_limits.links));
    link->deleteLater();
    return nullptr;
}

void Hub::acceptServices()
{
    while (m_serviceServer.hasPendingConnections()) {
        Link *link = accept(m_serviceServer);
        if (link == nullptr)
            continue;
        m_services.emplace(link->id(), Service{link, RequestQueue(m_limits.requestsPerService)});
        connect(link, &Link::frameArrived, this, &Hub::handleServiceFrame);
        connect(link, &Link::closed, this, &Hub::dropService);
        logLine(QStringLiteral("a service has connected (%1)").arg(link->name()));
    }
}

void Hub::acceptClients()
{
    while (m_clientServer.hasPendingConnections()) {
        Link *link = accept(m_clientServer);
        if (link == nullptr)
            continue;
        m_clients.emplace(link->id(), Client{link, {}});
        connect(link, &Link::frameArrived, this, &Hub::handleClientFrame);
        connect(link, &Link::closed, this, &Hub::dropClient);
    }
}

void Hub::handleServiceFrame(LinkId id, const QByteArray &body)
{
    const auto service = m_services.find(id);
    if (service == m_services.end())
        return;
    const bus::Frame frame = bus::decode(body);
    if (const auto *greeting = std::get_if<bus::Greeting>(&frame)) {
        service->second.link->setName(QStringLiteral("service \"%1\"").arg(printableName(greeting->name)));
        logLine(QStringLiteral("link %1 is %2").arg(id).arg(service->second.link->name()));
    } else if (const auto *action = std::get_if<bus::Action>(&frame)) {
        passAnswer(service->second, *action, body);
    }
}

void Hub::passAnswer(Service &service, const bus::Action &action, const QByteArray &body)
{
    const QByteArray frame = wholeFrame(body);
    if (action.idConnection != kEveryone) {
        if (const auto asker = service.waiting.takeAsker(action.idConnection, action.action)) {
            sendToClient(*asker, frame);
            return;
        }
    }
    for (const LinkId id : idsOf(m_clients)) {
        const auto client = m_clients.find(id);
        if (client == m_clients.end())
            continue;
        if (action.idConnection == kEveryone || client->second.operators.contains(action.idConnection))
            client->second.link->send(frame);
    }
}

void Hub::handleClientFrame(LinkId id, const QByteArray &body)
{
    const auto client = m_clients.find(id);
    if (client == m_clients.end())
        return;
    const bus::Frame frame = bus::decode(body);
    if (const auto *greeting = std::get_if<bus::Greeting>(&frame))
        client->second.link->setName(QStringLiteral("client \"%1\"").arg(printableName(greeting->name)));
    else if (const auto *command = std::get_if<bus::Command>(&frame))
        passCommand(id, *command, body);
}

void Hub::passCommand(LinkId clientId, const bus::Command &command, const QByteArray &body)
{
    QSet<qint32> &operators = m_clients.at(clientId).operators;
    if (operators.size() < m_limits.operatorsPerClient)
        operators.insert(command.idConnection);
    if (m_services.empty()) {
        tellClient(clientId, command.idConnection, kNoService);
        return;
    }
    const QByteArray frame = wholeFrame(body);
    for (const LinkId id : idsOf(m_services)) {
        const auto service = m_services.find(id);
        if (service == m_services.end())
            continue;
        // A service that loses this link ends, so a flood is held back here instead.
        if (!service->second.link->hasRoomFor(frame.size())) {
            tellClient(clientId, command.idConnection, kServiceBusy);
            continue;
        }
        service->second.waiting.push({clientId, command.idConnection, command.name});
        service->second.link->send(frame);
    }
}

void Hub::dropService(LinkId id)
{
    auto service = m_services.extract(id);
    if (service.empty())
        return;
    const char *reason = service.mapped().link->sentTooLongFrame() ? kServiceTooLong : kServiceGone;
    service.mapped().link->deleteLater();
    logLine(QStringLiteral("%1 is gone").arg(service.mapped().link->name()));
    for (const Request &request : service.mapped().waiting.takeAskers())
        tellClient(request.client, request.operatorNumber, reason);
}

void Hub::dropClient(LinkId id)
{
    // Its requests stay queued: their answers must still be recognised, lest another client under the same operator
    // number gets them.
    const auto client = m_clients.extract(id);
    if (!client.empty())
        client.mapped().link->deleteLater();
}

void Hub::sendToClient(LinkId id, const QByteArray &frame)
{
    const auto client = m_clients.find(id);
    if (client != m_clients.end())
        client->second.link->send(frame);
}

void Hub::tellClient(LinkId id, qint32 operatorNumber, const char *text)
{
    sendToClient(id, bus::encode(bus::Action{kHubMessage, text, QByteArray(""), QColor(Qt::red), operatorNumber}));
}

} // namespace hub

#include "bus/connector.h"

#include "bus/local_server.h"
#include "keystone/log.h"
#include "keystone/printable_name.h"

#include <QCoreApplication>

#include <type_traits>

namespace {

constexpr int kTickMs = 5000;
constexpr int kWaitMs = 30000;
constexpr int kNoConnection = -1;
constexpr int kAdminLinkClosed = 5;

/// No server has a longer name, and a peer shall not fill our memory with one.
constexpr qsizetype kNameLimit = 4096;

/// Writing or closing one link may at once remove others from the list it stands in, and delete them soon after.
QList<QPointer<TMyLocalSocket>> guarded(const QList<TMyLocalSocket *> &links)
{
    return {links.begin(), links.end()};
}

/// Peers drop a link on which a longer frame comes.
bool mayBeSent(const QByteArray &frame)
{
    if (frame.size() - qsizetype(sizeof(qint32)) <= bus::kFrameLimit)
        return true;
    logMessage(TConnector::tr("Frame not sent: %0 bytes are too many\n").arg(frame.size()));
    return false;
}

QString nameText(const TMyLocalSocket *link)
{
    return QString::fromUtf8(link->peerName);
}

/// The link with the most bytes by `bytesOf` when all together have more than `limit`; null otherwise.
template <typename BytesOf>
TMyLocalSocket *heaviest(const QList<TMyLocalSocket *> &links, qint64 limit, BytesOf bytesOf)
{
    qint64 sum = 0;
    TMyLocalSocket *most = nullptr;
    for (TMyLocalSocket *link : links) {
        sum += bytesOf(*link);
        if (!most || bytesOf(*link) > bytesOf(*most))
            most = link;
    }
    return sum > limit ? most : nullptr;
}

} // namespace

TConnector::TConnector(QObject *parent)
    : QObject(parent)
    , m_server(new TMyLocalServer(this))
    , m_admin(new TMyLocalSocket(this))
{
    connect(m_admin, &QLocalSocket::disconnected, this, &TConnector::DisconnectAdminConnection);
    connect(m_admin, &QLocalSocket::connected, this, &TConnector::newOutConnection);
    connect(m_admin, &QLocalSocket::errorOccurred, this, &TConnector::connectionAdminError);
    connect(m_admin, &TMyLocalSocket::NewData, this, &TConnector::SlotNewData);
    connect(m_server, &TMyLocalServer::newConnection, this, &TConnector::newInConnection);
}

void TConnector::SetAdminServerName(const QByteArray &name)
{
    m_admin->peerName = name;
}

void TConnector::SetServerName(const QString &name)
{
    m_serverName = name;
    m_firstStart = true;
    startTimer(kTickMs);
}

void TConnector::addOutServerName(const QString &name)
{
    for (const TMyLocalSocket *link : std::as_const(m_outgoing)) {
        if (nameText(link) == name)
            return;
    }
    auto *link = new TMyLocalSocket(this);
    link->peerName = name.toUtf8();
    connect(link, &QLocalSocket::disconnected, this, &TConnector::DisconnectOutConnection);
    connect(link, &QLocalSocket::connected, this, &TConnector::newOutConnection);
    connect(link, &QLocalSocket::errorOccurred, this, &TConnector::connectionOutError);
    connect(link, &TMyLocalSocket::NewData, this, &TConnector::SlotNewData);
    m_outgoing.append(link);
}

void TConnector::SetDataAll(unsigned char type, const QByteArray &data)
{
    const QByteArray frame = bus::encode(bus::Data{type, data});
    if (!mayBeSent(frame))
        return;
    const auto outgoing = guarded(m_outgoing);
    const auto incoming = guarded(m_incoming);
    for (const auto &link : outgoing) {
        if (link && link->isOpen())
            writeTo(link, frame);
    }
    for (const auto &link : incoming) {
        if (link)
            writeTo(link, frame);
    }
    boundWaiting();
}

void TConnector::SetOutDataAll(unsigned char type, const QByteArray &data)
{
    const QByteArray frame = bus::encode(bus::Data{type, data});
    if (!mayBeSent(frame))
        return;
    const auto outgoing = guarded(m_outgoing);
    for (const auto &link : outgoing) {
        if (link && link->isOpen())
            writeTo(link, frame);
    }
}

void TConnector::SetData(unsigned char type, const QString &name, const QByteArray &data)
{
    const QByteArray frame = bus::encode(bus::Data{type, data});
    if (!mayBeSent(frame))
        return;
    const auto links = guarded(m_outgoing + m_incoming);
    for (const auto &link : links) {
        if (link && link->isValid() && nameText(link) == name)
            writeTo(link, frame);
    }
    boundWaiting();
}

void TConnector::writeToAdmin(const QByteArray &frame)
{
    if (m_admin->isOpen() && mayBeSent(frame))
        writeTo(m_admin, frame, kAdminWaitingLimit);
}

void TConnector::stop(int code)
{
    if (m_stopping)
        return;
    m_stopping = true;
    QCoreApplication::exit(code);
}

void TConnector::timerEvent(QTimerEvent *)
{
    const QByteArray greeting = bus::encode(bus::Greeting{m_serverName.toUtf8()});
    const bool siblingsWereThere = connectSiblings(greeting);
    if (!siblingsWereThere && m_firstStart)
        return;
    if (m_admin->state() != QLocalSocket::ConnectedState && !m_admin->peerName.isEmpty()) {
        reconnect(m_admin, greeting);
        if (m_firstStart)
            return;
    }
    if (m_server->isListening())
        watchServerName();
    if (!m_server->isListening())
        openServer();
    m_firstStart = false;
}

/// True when every sibling link was connected before this tick.
bool TConnector::connectSiblings(const QByteArray &greeting)
{
    int connected = 0;
    const auto links = guarded(m_outgoing);
    for (const auto &link : links) {
        if (!link)
            continue;
        if (link->state() == QLocalSocket::ConnectedState)
            ++connected;
        else
            reconnect(link, greeting);
    }
    return connected == m_outgoing.size();
}

bool TConnector::reconnect(TMyLocalSocket *link, const QByteArray &greeting)
{
    link->flush();
    link->disconnectFromServer();
    if (link->state() != QLocalSocket::UnconnectedState)
        link->waitForDisconnected(kWaitMs);
    // A link that was still closing has been replaced by now; the next tick connects its successor.
    if (link != m_admin && !m_outgoing.contains(link))
        return false;
    link->connectToServer(nameText(link), QIODevice::ReadWrite);
    if (link->waitForConnected(kWaitMs)) {
        link->send(greeting);
        return true;
    }
    link->abort();
    return false;
}

void TConnector::openServer()
{
    if (bus::isListenedOn(bus::socketPath(m_serverName)))
        logMessage(tr("Server name taken over: another process listens on %0\n").arg(m_serverName));
    QLocalServer::removeServer(m_serverName);
    if (bus::listenWithMode(*m_server, m_serverName, m_socketMode)) {
        m_serverFile.remember(*m_server);
        m_nameIsLost = false;
        logMessage(tr("Start server: %1 Ok!!!! \n").arg(m_serverName));
        return;
    }
    logMessage(tr("Start Error: %1\n").arg(m_server->errorString()));
    m_server->close();
}

/// Another process that takes the name leaves this one with a server that no new client finds. The name is not taken
/// back, lest the two fight for it; once it is free the server is to be opened anew.
void TConnector::watchServerName()
{
    const auto state = m_serverFile.state();
    if (state == bus::SocketFile::State::Free)
        m_server->close();
    if (state != bus::SocketFile::State::Taken || m_nameIsLost)
        return;
    m_nameIsLost = true;
    logMessage(tr("Server name lost: new connections to %0 go to another process\n").arg(m_serverName));
}

void TConnector::writeTo(TMyLocalSocket *link, const QByteArray &frame, qint64 waitingLimit)
{
    const QPointer<TMyLocalSocket> alive(link);
    if (m_gatherer != link)
        sendGathered();
    if (m_gathering) {
        m_gatherer = link;
        link->gather(frame);
    } else {
        link->send(frame);
    }
    if (alive && link->bytesToWrite() > waitingLimit)
        cutOffReader(link);
}

void TConnector::sendGathered()
{
    if (m_gatherer)
        m_gatherer->sendGathered();
}

void TConnector::cutOffReader(TMyLocalSocket *link)
{
    logMessage(tr("Connection cut off: %0 leaves %1 bytes unread\n")
                   .arg(printableName(link->peerName), QString::number(link->bytesToWrite())));
    link->abort();
}

void TConnector::boundWaiting()
{
    const auto waiting = [](const TMyLocalSocket &link) { return link.bytesToWrite(); };
    while (TMyLocalSocket *link = heaviest(m_incoming, kAllWaitingLimit, waiting))
        cutOffReader(link);
}

void TConnector::boundUnfinished()
{
    const auto unfinished = [](const TMyLocalSocket &link) { return qint64(link.cutter.keptBytes()); };
    if (TMyLocalSocket *link = heaviest(m_incoming, kAllUnfinishedLimit, unfinished)) {
        logMessage(tr("Connection cut off: %0 has %1 bytes of a frame unfinished\n")
                       .arg(printableName(link->peerName), QString::number(unfinished(*link))));
        link->abort();
    }
}

TMyLocalSocket *TConnector::senderLink() const
{
    return qobject_cast<TMyLocalSocket *>(sender());
}

bool TConnector::mayStay(const TMyLocalSocket *link)
{
    const auto verdict = m_incomingBound.judge(m_incoming.size(), link->socketDescriptor());
    if (verdict == bus::IncomingBound::Verdict::Refuse)
        logMessage(tr("Connections refused: %0 are open\n").arg(m_incoming.size()));
    return verdict == bus::IncomingBound::Verdict::Take;
}

void TConnector::newInConnection(TMyLocalSocket *socket)
{
    if (!mayStay(socket)) {
        socket->abort();
        socket->deleteLater();
        return;
    }
    connect(socket, &QLocalSocket::disconnected, this, &TConnector::DisconnectInConnection);
    connect(socket, &QLocalSocket::errorOccurred, this, &TConnector::connectionInError);
    connect(socket, &TMyLocalSocket::NewData, this, &TConnector::SlotNewData);
    m_incoming.append(socket);
    logMessage(tr("New In Connection %0\n").arg(printableName(socket->peerName)));
}

void TConnector::newOutConnection()
{
    // Three n: the line is known by this spelling.
    logMessage(tr("New Out Connnection\n"));
}

void TConnector::connectionOutError(QLocalSocket::LocalSocketError)
{
    TMyLocalSocket *link = senderLink();
    if (!link)
        return;
    logMessage(tr("Connnection Out Error: %1 %2\n").arg(printableName(link->peerName), link->errorString()));
    link->abort();
}

void TConnector::DisconnectOutConnection()
{
    TMyLocalSocket *link = senderLink();
    if (!link)
        return;
    logMessage(tr("Connnection Disconnect: %0\n").arg(printableName(link->peerName)));
    link->abort();
    m_outgoing.removeOne(link);
    // A peer's greeting may have put any bytes in the name; the name of a server ends at the first zero byte.
    addOutServerName(QString::fromUtf8(link->peerName.constData()));
    link->deleteLater();
}

void TConnector::connectionInError(QLocalSocket::LocalSocketError)
{
    TMyLocalSocket *link = senderLink();
    if (!link)
        return;
    m_incoming.removeOne(link);
    link->abort();
    link->setParent(nullptr);
    link->deleteLater();
    logMessage(tr("Connection In Error: %0\n").arg(printableName(link->peerName)));
}

void TConnector::DisconnectInConnection()
{
    TMyLocalSocket *link = senderLink();
    if (!link)
        return;
    m_incoming.removeOne(link);
    link->setParent(nullptr);
    link->deleteLater();
    logMessage(tr("Connection in disconnection: %0\n").arg(printableName(link->peerName)));
}

void TConnector::connectionAdminError(QLocalSocket::LocalSocketError)
{
    m_admin->abort();
}

void TConnector::DisconnectAdminConnection()
{
    logMessage(tr("Admin connection is closed. Stopping application."));
    stop(kAdminLinkClosed);
}

void TConnector::SlotNewData(TMyLocalSocket *socket)
{
    m_gathering = true;
    takeFrames(socket);
    m_gathering = false;
    m_arrived.forget();
    sendGathered();
    emit arrivalHandled();
}

void TConnector::takeFrames(TMyLocalSocket *socket)
{
    const QPointer<TMyLocalSocket> alive(socket);
    while (!m_stopping) {
        const auto result = m_arrived.next(socket->cutter);
        if (result == bus::FrameCutter::Result::TooLong) {
            sendGathered();
            socket->abort();
        }
        if (result == bus::FrameCutter::Result::NeedMore && socket->bytesAvailable() > 0 &&
            socket->cutter.readFrom(*socket))
            continue;
        if (result == bus::FrameCutter::Result::NeedMore && socket->cutter.keptBytes() > 0) {
            sendGathered();
            boundUnfinished();
        }
        if (result != bus::FrameCutter::Result::FrameReady)
            return;
        deliver(m_arrived.current(), socket);
        // A link that was closed meanwhile takes what it had still to say with it.
        if (!alive || socket->state() == QLocalSocket::UnconnectedState)
            return;
    }
}

void TConnector::deliver(bus::Frame &frame, TMyLocalSocket *socket)
{
    std::visit(
        [&](auto &fields) {
            using Fields = std::decay_t<decltype(fields)>;
            if constexpr (std::is_same_v<Fields, bus::Greeting>) {
                socket->peerName = fields.name.left(kNameLimit);
            } else if constexpr (std::is_same_v<Fields, bus::Action>) {
                emit NewAction(fields.action, fields.message, fields.data, fields.colour, fields.idConnection, socket);
            } else if constexpr (std::is_same_v<Fields, bus::Command>) {
                if (fields.name == "Watch_Arrow_On")
                    m_watch = true;
                else if (fields.name == "Watch_Arrow_Off")
                    m_watch = false;
                else
                    emit NewCommand(fields.name, fields.data, fields.idConnection, socket);
            } else if constexpr (std::is_same_v<Fields, bus::BusMessage>) {
                emit NewBusMessage(fields.iface, fields.data, fields.idConnect);
            } else {
                deliverData(fields, socket);
            }
        },
        frame);
}

void TConnector::deliverData(bus::Data &frame, TMyLocalSocket *socket)
{
    if (frame.data.isEmpty())
        return;
    if (m_watch && m_admin->isOpen()) {
        writeTo(m_admin,
                bus::encode(bus::Action{"Watch_Arrow", QStringLiteral("%1").arg(frame.kind).toUtf8(), frame.data,
                                        QColor(Qt::blue), kNoConnection}),
                kAdminWaitingLimit);
    }
    emit NewData(frame.kind, frame.data, socket);
}

#pragma once

#include "bus/arrived_frames.h"
#include "bus/frame.h"
#include "bus/incoming_bound.h"
#include "bus/local_socket.h"
#include "bus/socket_file.h"
#include "bus/socket_mode.h"

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QLocalSocket>
#include <QObject>
#include <QPointer>
#include <QString>

#include <span>

class TMyLocalServer;

/// Keeps all links of a service's bus; frames are read and written here only.
///
/// There are three kinds of link: the administration link (commands come in, answers and notices go out; losing it ends
/// the process with code 5), the incoming links of the service's own server, and the outgoing links to sibling servers.
/// A timer of 5 s makes what is missing: siblings first, then the administration link, then the own server. Its
/// attempts block the event loop, up to 30 s a wait.
///
/// A peer that leaves more than kWaitingLimit bytes unread is cut off, on incoming and sibling links; the
/// administration server at kAdminWaitingLimit. A frame beyond what peers take (bus::kFrameLimit) is not sent but told
/// in the log. A process that takes the server's name, or loses it, is told as well. Incoming links beyond
/// bus::IncomingBound are closed at once; the first of each burst is told.
class TConnector : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 kWaitingLimit = 64LL * 1024 * 1024;

    static constexpr qint64 kAdminWaitingLimit = 512LL * 1024 * 1024;

    /// What all incoming links together may leave unread; then the one with the most is cut off.
    static constexpr qint64 kAllWaitingLimit = 1024LL * 1024 * 1024;

    /// What all incoming links together may have sent of frames that are not whole yet; then the one with the most is
    /// cut off.
    static constexpr qint64 kAllUnfinishedLimit = 512LL * 1024 * 1024;

    explicit TConnector(QObject *parent);

    /// The server behind the administration link (UTF-8). While it is empty the link is not made.
    void SetAdminServerName(const QByteArray &name);

    /// The name of the service's own server. Starts the timer: without a name nothing is ever connected. Each call
    /// starts one more timer.
    void SetServerName(const QString &name);
    [[nodiscard]] QString GetServerName() const { return m_serverName; }

    /// Who may connect to the service's own server, from its next opening on. Only its user until this is called.
    void SetSocketMode(bus::SocketMode mode) { m_socketMode = mode; }

    /// Adds a sibling server to keep connected; a name that is there already is not added again.
    void addOutServerName(const QString &name);

    /// Sends a data frame to every open sibling link, then to every incoming link.
    void SetDataAll(unsigned char type, const QByteArray &data);

    /// Sends a data frame to every open sibling link.
    void SetOutDataAll(unsigned char type, const QByteArray &data);

    /// Sends a data frame to the valid links, siblings first, whose peer name is `name`.
    void SetData(unsigned char type, const QString &name, const QByteArray &data);

    /// Sends a whole frame on the administration link. Lost while the link is down.
    void writeToAdmin(const QByteArray &frame);

    /// Sends what is gathered. While the frames that have arrived are handled, those that they bring about are gathered
    /// and go out together at the end. Whoever lets the handling wait for something else has to call this before.
    void sendGathered();

    /// The frames that have arrived behind the one being handled, as far as they have been looked at.
    [[nodiscard]] std::span<const bus::Frame> following() const { return m_arrived.following(); }

    /// Ends the event loop with `code`; the frame being handled is finished, none after it is. The first call decides.
    void stop(int code);

signals:
    void NewCommand(QByteArray &command_name, QByteArray &data, int IDConnection, TMyLocalSocket *socket);
    void NewData(unsigned char version, QByteArray &data, TMyLocalSocket *socket);
    void NewAction(QByteArray &action_name, QByteArray &message, QByteArray &data, QColor &color, int IDConnection,
                   TMyLocalSocket *socket);
    void NewBusMessage(const QByteArray &iface, const QByteArray &data, int idConnect);
    /// Behind the signals of all frames that arrived together.
    void arrivalHandled();

protected:
    void timerEvent(QTimerEvent *event) override;

private slots:
    void connectionInError(QLocalSocket::LocalSocketError error);
    void connectionAdminError(QLocalSocket::LocalSocketError error);
    void DisconnectInConnection();
    void newInConnection(TMyLocalSocket *socket);
    void newOutConnection();
    void connectionOutError(QLocalSocket::LocalSocketError error);
    void DisconnectOutConnection();
    void DisconnectAdminConnection();
    void SlotNewData(TMyLocalSocket *socket);

private:
    [[nodiscard]] TMyLocalSocket *senderLink() const;
    bool reconnect(TMyLocalSocket *link, const QByteArray &greeting);
    [[nodiscard]] bool connectSiblings(const QByteArray &greeting);
    void openServer();
    void watchServerName();
    [[nodiscard]] bool mayStay(const TMyLocalSocket *link);
    void cutOffReader(TMyLocalSocket *link);
    void boundWaiting();
    void boundUnfinished();
    void writeTo(TMyLocalSocket *link, const QByteArray &frame, qint64 waitingLimit = kWaitingLimit);
    void takeFrames(TMyLocalSocket *socket);
    void deliver(bus::Frame &frame, TMyLocalSocket *socket);
    void deliverData(bus::Data &frame, TMyLocalSocket *socket);

    bool m_firstStart = true;
    TMyLocalServer *m_server;
    bus::SocketFile m_serverFile;
    bool m_nameIsLost = false; ///< to another process; told once
    QString m_serverName;
    bus::SocketMode m_socketMode = bus::SocketMode::User;
    bool m_watch = false;
    bool m_stopping = false;
    QList<TMyLocalSocket *> m_incoming;
    bus::IncomingBound m_incomingBound;
    QList<TMyLocalSocket *> m_outgoing; ///< in the order in which the names were added
    TMyLocalSocket *m_admin;
    bus::ArrivedFrames m_arrived;
    bool m_gathering = false;
    QPointer<TMyLocalSocket> m_gatherer; ///< of all links at most one has gathered frames: no other overtakes them
};

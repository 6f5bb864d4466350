#pragma once

#include "bus/frame_cutter.h"
#include "hub/request_queue.h"

#include <QLocalSocket>
#include <QObject>

namespace hub {

/// One connected peer, service or client: its socket, the frames that arrive on it, and a bound on what waits for it.
///
/// Owns the socket. closed() comes exactly once, possibly from inside send(); the owner then lets go of the link with
/// deleteLater().
class Link : public QObject
{
    Q_OBJECT

public:
    /// `sendLimit`: bytes that may wait for a peer that does not read; one more aborts the link.
    Link(LinkId id, QLocalSocket *socket, qint64 sendLimit, QObject *parent);

    [[nodiscard]] LinkId id() const { return m_id; }

    /// Name for log lines: a peer has none until it greets.
    [[nodiscard]] QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    /// True when a frame of `size` bytes can be sent without cutting the peer off.
    [[nodiscard]] bool hasRoomFor(qsizetype size) const { return m_socket->bytesToWrite() + size <= m_sendLimit; }

    /// Queues one whole frame. A closed link drops it.
    void send(const QByteArray &frame);

    /// True once the peer was cut off because of the length of its frame.
    [[nodiscard]] bool sentTooLongFrame() const { return m_sentTooLongFrame; }

signals:
    /// Type byte and body of one frame, as FrameCutter cuts them.
    void frameArrived(hub::LinkId id, const QByteArray &body);
    void closed(hub::LinkId id);

private:
    void readFrames();
    void abortBecause(const QString &reason);

    LinkId m_id;
    QLocalSocket *m_socket;
    qint64 m_sendLimit;
    QString m_name;
    bus::FrameCutter m_cutter;
    bool m_open = true;
    bool m_sentTooLongFrame = false;
};

} // namespace hub

#pragma once

#include "bus/frame_cutter.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QLocalSocket>
#include <QSocketNotifier>

#include <memory>

/// One link of the bus.
class TMyLocalSocket : public QLocalSocket
{
    Q_OBJECT

public:
    explicit TMyLocalSocket(QObject *parent = nullptr);
    ~TMyLocalSocket() override;

    /// The server to connect to (UTF-8) for a link that we make; for a link made to us the name that its greeting gave,
    /// empty until then.
    QByteArray peerName;

    /// What of the peer's bytes is not a whole frame yet.
    bus::FrameCutter cutter;

    /// Writes a whole frame, in place of write(): at once, as far as the peer's socket takes it, the rest when it takes
    /// more. A peer that has gone is noticed here and now, by the signals of a socket.
    void send(const QByteArray &frame);

    /// The same for one of several frames in a row: a small one is kept back until sendGathered(), or until the next
    /// one that is sent.
    void gather(const QByteArray &frame);
    void sendGathered();

    /// Of what was sent or gathered, the bytes that the peer's socket has not taken yet.
    [[nodiscard]] qint64 bytesToWrite() const override
    {
        return QLocalSocket::bytesToWrite() + m_waitingBytes + m_gathered.size();
    }

signals:
    void NewData(TMyLocalSocket *socket);

private slots:
    void processReadyRead();

private:
    [[nodiscard]] qint64 sendNow(QByteArrayView bytes);
    void sendOrWait(const QByteArray &frames);
    void sendWaiting();
    void dropWaiting();
    void stopWaiting();

    QByteArray m_gathered;       ///< frames
    QList<QByteArray> m_waiting; ///< frames, each alone or several in one
    qsizetype m_sentOfFirst = 0; ///< bytes of the first of them
    qint64 m_waitingBytes = 0;
    std::unique_ptr<QSocketNotifier> m_writable; ///< while something waits
};

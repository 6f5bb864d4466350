#pragma once

#include "bus/frame_cutter.h"

#include <QByteArray>
#include <QLocalSocket>

/// One link of the bus.
class TMyLocalSocket : public QLocalSocket
{
    Q_OBJECT

public:
    explicit TMyLocalSocket(QObject *parent = nullptr);

    /// The server to connect to (UTF-8) for a link that we make; for a link made to us the name that its greeting gave,
    /// empty until then.
    QByteArray peerName;

    /// What of the peer's bytes is not a whole frame yet.
    bus::FrameCutter cutter;

signals:
    void NewData(TMyLocalSocket *socket);

private slots:
    void processReadyRead();
};

#include "bus/local_socket.h"

TMyLocalSocket::TMyLocalSocket(QObject *parent)
    : QLocalSocket(parent)
{
    connect(this, &QLocalSocket::readyRead, this, &TMyLocalSocket::processReadyRead);
}

void TMyLocalSocket::processReadyRead()
{
    emit NewData(this);
}

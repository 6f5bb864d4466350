#include "bus/local_server.h"

namespace {

constexpr qint64 kReadBufferBytes = 0x20000000;

} // namespace

void TMyLocalServer::incomingConnection(quintptr descriptor)
{
    auto *socket = new TMyLocalSocket(this);
    if (!socket->setSocketDescriptor(static_cast<qintptr>(descriptor), QLocalSocket::ConnectedState,
                                     QIODevice::ReadWrite)) {
        delete socket;
        return;
    }
    socket->setReadBufferSize(kReadBufferBytes);
    emit newConnection(socket);
}

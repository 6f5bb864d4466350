#pragma once

#include "bus/frame.h"
#include "bus/frame_cutter.h"

#include <QList>
#include <QLocalSocket>
#include <QObject>

namespace testing {

/// A service or client as the hub sees it. Collects what arrives while the event loop runs.
class Peer : public QObject
{
public:
    explicit Peer(const QString &path)
    {
        connect(&socket, &QLocalSocket::readyRead, this, [this] {
            const QByteArray bytes = socket.readAll();
            received += bytes;
            m_cutter.append(bytes);
            QByteArray body;
            while (m_cutter.next(body) == bus::FrameCutter::Result::FrameReady) {
                const bus::Frame frame = bus::decode(body);
                if (const auto *action = std::get_if<bus::Action>(&frame))
                    actions.append(*action);
                else if (const auto *command = std::get_if<bus::Command>(&frame))
                    commands.append(*command);
            }
        });
        socket.connectToServer(path);
    }

    void command(const QByteArray &name, qint32 operatorNumber, const QByteArray &data = "request")
    {
        socket.write(bus::encode(bus::Command{name, data, operatorNumber}));
    }

    void action(const QByteArray &name, qint32 connection, const QByteArray &data = "answer")
    {
        socket.write(bus::encode(bus::Action{name, name, data, QColor(Qt::blue), connection}));
    }

    /// Data of the actions that have arrived, for short comparisons.
    [[nodiscard]] QList<QByteArray> answers() const
    {
        QList<QByteArray> data;
        for (const bus::Action &action : actions)
            data.append(action.data);
        return data;
    }

    [[nodiscard]] bool isConnected() const { return socket.state() == QLocalSocket::ConnectedState; }

    QLocalSocket socket;
    QByteArray received;
    QList<bus::Action> actions;
    QList<bus::Command> commands;

private:
    bus::FrameCutter m_cutter;
};

} // namespace testing

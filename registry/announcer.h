#pragma once

#include <QByteArray>
#include <QColor>

namespace registry {

/// The connection number that addresses all clients.
inline constexpr int kAllClients = -1;

/// What a command may say to the outside besides filling its reply.
class Announcer
{
public:
    virtual ~Announcer() = default;

    /// An action frame for the client `idConnection`, or for all of them.
    virtual void sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data,
                            const QColor &colour, int idConnection) = 0;

    /// The answer to a command, in an action frame that is ready to be sent.
    virtual void sendAnswer(const QByteArray &frame) = 0;

    /// A line for the installation's event log.
    virtual void writeToLog(const QByteArray &text, quint8 level) = 0;

    /// Ends the process with exit code `code` once the current frame is done.
    virtual void stop(int code) = 0;

protected:
    Announcer() = default;
    Announcer(const Announcer &) = default;
    Announcer &operator=(const Announcer &) = default;
};

} // namespace registry

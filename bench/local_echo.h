#pragma once

#include "bench/bare_echo.h"

#include <QLocalSocket>
#include <QObject>
#include <QString>

namespace bench {

/// Connects to `socket` and sends every frame back through a bare QLocalSocket: frames are cut with read() and answered
/// with write(), and behind each with flush() where answers shall not wait for each other.
class LocalEcho : public QObject
{
public:
    /// Throws std::runtime_error where nobody listens. The application ends when the other end goes.
    LocalEcho(const QString &socket, EchoPace pace);

private:
    void answer();

    QLocalSocket m_socket;
    EchoPace m_pace;
    qint64 m_awaited = 0; ///< size of the frame that is arriving, with its length; 0: not known yet
};

} // namespace bench

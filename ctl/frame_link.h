#pragma once

#include "bus/frame.h"
#include "bus/frame_cutter.h"
#include "ctl/result.h"

#include <QDeadlineTimer>
#include <QLocalSocket>
#include <QObject>

#include <deque>

namespace ctl {

/// A connection to a local server that speaks frames, used from top to bottom: every wait runs the event loop.
class FrameLink : public QObject
{
    Q_OBJECT

public:
    explicit FrameLink(QObject *parent = nullptr);

    /// `path` is absolute. On failure the text says what the system said; isMissing() tells whether nobody listens.
    [[nodiscard]] Outcome open(const QString &path, QDeadlineTimer deadline);
    [[nodiscard]] bool isMissing() const { return m_missing; }

    /// Queues a frame. A frame above bus::kFrameLimit would end the link, so it is refused.
    [[nodiscard]] Outcome send(const QByteArray &frame);

    /// Waits until everything queued is on its way.
    [[nodiscard]] Outcome flush(QDeadlineTimer deadline);

    /// The next frame in order of arrival, for bus::decode(). Nothing when the deadline passes or the link ends first:
    /// see hasEnded().
    [[nodiscard]] std::optional<QByteArray> next(QDeadlineTimer deadline);

    [[nodiscard]] bool hasEnded() const { return m_socket.state() != QLocalSocket::ConnectedState; }

    /// Why the link ended, for a message: the peer closed it, or sent something that cannot be taken.
    [[nodiscard]] QString endReason() const { return m_endReason; }

signals:
    void changed();

private:
    void readFrames();
    void waitForChange(QDeadlineTimer deadline);

    QLocalSocket m_socket;
    bus::FrameCutter m_cutter;
    std::deque<QByteArray> m_frames; ///< as FrameCutter cuts them
    QString m_endReason = QStringLiteral("closed the connection");
    bool m_missing = false;
};

} // namespace ctl

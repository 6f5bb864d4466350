#pragma once

#include "ctl/frame_link.h"

#include <QList>

#include <chrono>

namespace ctl {

/// A client of the hub: sends commands under one operator number and waits for their answers.
class HubClient
{
public:
    /// `operatorNumber`: 0 or above. `timeout`: longest wait for a connection, and for each answer.
    HubClient(qint32 operatorNumber, std::chrono::milliseconds timeout);

    [[nodiscard]] Outcome connectTo(const QString &name);

    /// Queues a command without waiting for anything.
    [[nodiscard]] Outcome send(const QByteArray &command, const QByteArray &data);

    /// Waits until the commands are on their way; for those that nobody answers.
    [[nodiscard]] Outcome flush();

    /// The answer under the name `action`; an empty name takes any answer to this operator number. Notices that
    /// arrive meanwhile are kept. The hub's own "HubMessage" is a failure unless it is what `action` names.
    [[nodiscard]] Result<bus::Action> answer(const QByteArray &action);

    /// Sends the command and waits for the answer under its name.
    ///
    /// A service that cannot answer says nothing. So one that keeps us waiting is asked "About" as well: commands are
    /// taken in order, and where that is answered and the other is not when the time is up, the failure says so.
    [[nodiscard]] Result<bus::Action> ask(const QByteArray &command, const QByteArray &data);

    /// The next notice, those kept first.
    [[nodiscard]] Result<bus::Action> nextNotice(QDeadlineTimer deadline);

    /// What a person can do about a message of the hub.
    [[nodiscard]] static Failure hubFailure(const QByteArray &message);

private:
    [[nodiscard]] QDeadlineTimer deadline() const { return QDeadlineTimer(m_timeout); }
    [[nodiscard]] Result<bus::Action> answer(const QByteArray &action, QDeadlineTimer patience);
    [[nodiscard]] Failure missing() const;
    void keepNotice(bus::Action notice);

    qint32 m_operatorNumber;
    std::chrono::milliseconds m_timeout;
    FrameLink m_link;
    int m_probesSent = 0; ///< "About" asked for the sake of another answer
    int m_probesAnswered = 0;
    std::deque<bus::Action> m_notices;
};

} // namespace ctl

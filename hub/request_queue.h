#pragma once

#include <QByteArray>
#include <QList>

#include <deque>
#include <optional>

namespace hub {

/// Number that the hub gives a link when it is accepted; never used twice.
using LinkId = quint64;

/// A command that a client has sent and that has not been answered.
struct Request
{
    LinkId client = 0;
    qint32 operatorNumber = 0;
    QByteArray command;
};

/// The requests that one service may still answer, oldest first.
///
/// An answer names the operator and the command, not the client. A service takes commands strictly in order and leaves
/// some without an answer, so the first request that fits is the one answered, and those before it never will be.
class RequestQueue
{
public:
    /// Longer command names are not kept: no service has such a command, and a peer decides how long a name is.
    static constexpr qsizetype kLongestName = 256;

    /// Keeps at most `limit` requests (above 0); the oldest goes when one more comes.
    explicit RequestQueue(qsizetype limit);

    void push(Request request);

    /// The client that asked `action` as `operatorNumber`; that request and all before it are forgotten. Nothing when
    /// no such request waits, and then nothing is forgotten.
    [[nodiscard]] std::optional<LinkId> takeAsker(qint32 operatorNumber, const QByteArray &action);

    /// The waiting requests, without repeating a pair of client and operator; the queue is empty afterwards.
    [[nodiscard]] QList<Request> takeAskers();

    [[nodiscard]] qsizetype size() const { return qsizetype(m_waiting.size()); }

private:
    std::deque<Request> m_waiting;
    qsizetype m_limit;
};

} // namespace hub

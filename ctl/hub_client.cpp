#include "ctl/hub_client.h"

#include "bus/socket_file.h"
#include "ctl/text.h"
#include "hub/hub_protocol.h"

#include <algorithm>

namespace ctl {
namespace {

constexpr size_t kKeptNotices = 1000; ///< while an answer is awaited; the oldest goes when one more comes

constexpr char kProbe[] = "About";
constexpr std::chrono::milliseconds kPatience{1000}; ///< until a service is asked whether it is still at work

Failure unanswered(const QByteArray &command)
{
    return {
        QStringLiteral("the service leaves %1 without an answer: the answer is more than the %2 bytes that a frame may "
                       "hold, or the database failed; its log says which")
            .arg(printable(QString::fromUtf8(command)))
            .arg(bus::kFrameLimit),
        false, true};
}

} // namespace

HubClient::HubClient(qint32 operatorNumber, std::chrono::milliseconds timeout)
    : m_operatorNumber(operatorNumber)
    , m_timeout(timeout)
{}

Outcome HubClient::connectTo(const QString &name)
{
    const QString path = bus::socketPath(name);
    const Outcome failure = m_link.open(path, deadline());
    if (!failure)
        return m_link.send(bus::encode(bus::Greeting{"objectsctl"}));
    if (m_link.isMissing())
        return Failure{QStringLiteral("no hub at %1: start it with ./run or build/bin/admin_hub").arg(printable(path))};
    return Failure{QStringLiteral("cannot connect to the hub at %1: %2").arg(printable(path), failure->message)};
}

Outcome HubClient::send(const QByteArray &command, const QByteArray &data)
{
    Outcome failure = m_link.send(bus::encode(bus::Command{command, data, m_operatorNumber}));
    if (failure && !failure->wrongUsage)
        failure->message.prepend(QStringLiteral("the hub "));
    return failure;
}

Outcome HubClient::flush()
{
    Outcome failure = m_link.flush(deadline());
    if (failure)
        failure->message.prepend(QStringLiteral("the hub "));
    return failure;
}

Result<bus::Action> HubClient::answer(const QByteArray &action)
{
    return answer(action, QDeadlineTimer(QDeadlineTimer::Forever));
}

Result<bus::Action> HubClient::answer(const QByteArray &action, QDeadlineTimer patience)
{
    const QDeadlineTimer limit = deadline();
    int probe = 0;
    for (;;) {
        const auto body = m_link.next(probe > 0 ? limit : std::min(patience, limit));
        if (!body && (probe > 0 || m_link.hasEnded() || limit.hasExpired()))
            return probe > 0 && m_probesAnswered >= probe && !m_link.hasEnded() ? unanswered(action) : missing();
        if (!body) {
            if (Outcome failure = send(kProbe, {}))
                return *failure;
            probe = ++m_probesSent;
            continue;
        }
        bus::Frame frame = bus::decode(*body);
        auto *arrived = std::get_if<bus::Action>(&frame);
        if (arrived == nullptr)
            continue;
        if (arrived->idConnection == hub::kEveryone)
            keepNotice(std::move(*arrived));
        else if (arrived->idConnection != m_operatorNumber)
            continue;
        else if (probe > 0 && arrived->action == hub::kHubMessage && arrived->message == hub::kServiceBusy)
            continue; // the probe was one too many
        else if (arrived->action == hub::kHubMessage && action != hub::kHubMessage)
            return hubFailure(arrived->message);
        else if (arrived->action == kProbe && m_probesAnswered < m_probesSent)
            ++m_probesAnswered;
        else if (action.isEmpty() || arrived->action == action)
            return std::move(*arrived);
    }
}

Result<bus::Action> HubClient::ask(const QByteArray &command, const QByteArray &data)
{
    if (Outcome failure = send(command, data))
        return *failure;
    return answer(command, QDeadlineTimer(command == kProbe ? m_timeout : std::min(kPatience, m_timeout / 2)));
}

/// Why no answer has come.
Failure HubClient::missing() const
{
    if (m_link.hasEnded())
        return {QStringLiteral("the hub ") + m_link.endReason(), false, true};
    return {QStringLiteral("no answer within %1 s").arg(double(m_timeout.count()) / 1000), false, true};
}

Result<bus::Action> HubClient::nextNotice(QDeadlineTimer deadline)
{
    if (!m_notices.empty()) {
        bus::Action notice = std::move(m_notices.front());
        m_notices.pop_front();
        return notice;
    }
    while (const auto body = m_link.next(deadline)) {
        bus::Frame frame = bus::decode(*body);
        if (auto *action = std::get_if<bus::Action>(&frame); action && action->idConnection == hub::kEveryone)
            return std::move(*action);
    }
    if (m_link.hasEnded())
        return Failure{QStringLiteral("the hub ") + m_link.endReason()};
    return Failure{QStringLiteral("the time is up before all notices came")};
}

Failure HubClient::hubFailure(const QByteArray &message)
{
    if (message == hub::kNoService) {
        return {QStringLiteral("the hub has no service connected: start build/bin/objects_server (or ./run); "
                               "it attaches within about 5 s")};
    }
    if (message == hub::kServiceGone)
        return {QStringLiteral("the service went away before it answered: look into its log and start it again"), false,
                true};
    if (message == hub::kServiceTooLong)
        return {
            QStringLiteral("the answer is longer than the %1 bytes that a frame may hold; the hub has cut the service "
                           "off: start it again")
                .arg(bus::kFrameLimit),
            false, true};
    return {QStringLiteral("the hub says: ") + printable(QString::fromUtf8(message))};
}

void HubClient::keepNotice(bus::Action notice)
{
    if (m_notices.size() >= kKeptNotices)
        m_notices.pop_front();
    m_notices.push_back(std::move(notice));
}

} // namespace ctl

#include "hub/request_queue.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace hub {

RequestQueue::RequestQueue(qsizetype limit)
    : m_limit(limit)
{}

void RequestQueue::push(Request request)
{
    if (request.command.size() > kLongestName)
        return;
    if (size() >= m_limit)
        m_waiting.pop_front();
    m_waiting.push_back(std::move(request));
}

std::optional<LinkId> RequestQueue::takeAsker(qint32 operatorNumber, const QByteArray &action)
{
    const auto asked = std::find_if(m_waiting.begin(), m_waiting.end(), [&](const Request &request) {
        return request.operatorNumber == operatorNumber && request.command == action;
    });
    if (asked == m_waiting.end())
        return std::nullopt;
    const LinkId client = asked->client;
    m_waiting.erase(m_waiting.begin(), std::next(asked));
    return client;
}

QList<Request> RequestQueue::takeAskers()
{
    std::set<std::pair<LinkId, qint32>> seen;
    QList<Request> askers;
    for (Request &request : std::exchange(m_waiting, {})) {
        if (seen.emplace(request.client, request.operatorNumber).second)
            askers.append(std::move(request));
    }
    return askers;
}

} // namespace hub

#include "client.h"

#include "bytes.h"
#include "fields.h"

namespace soak {

namespace {

constexpr int kFirstOperator = 1000000000; // far from those that the database numbers
constexpr quint8 kActionType = 202;
constexpr int kColourBytes = 11;

} // namespace

Action readAction(const QByteArray &frame)
{
    Fields fields(frame, 4);
    if (quint8(fields.take(1).front()) != kActionType)
        return {};
    Action action;
    action.name = fields.bytes();
    action.message = fields.bytes();
    action.data = fields.bytes();
    (void)fields.take(kColourBytes);
    action.caller = fields.number();
    return action;
}

Client::Client(const QString &hubPath, int number, Tally &tally)
    : m_wire(support::Wire::connectTo(hubPath))
    , m_tally(tally)
{
    m_area.client = number;
    m_area.caller = kFirstOperator + number;
}

void Client::send(Order order, bool isSure)
{
    ++m_tally.commands[order.name].sent;
    m_wire.send(support::command(order.name, order.request, m_area.caller) +
                support::commandWithNoData("About", m_area.caller));
    m_order = std::move(order);
    m_isSure = isSure;
}

void Client::doubt()
{
    m_isSure = false;
}

void Client::conclude()
{
    if (!m_order)
        return;
    const Order order = *std::exchange(m_order, std::nullopt);
    Outcome outcome{.isSure = m_isSure};
    m_tally.unsure += m_isSure ? 0 : 1;
    if (!collect(order.name, outcome)) {
        m_tally.problems += QStringLiteral("\"About\" behind %1 of client %2 was not answered")
                                .arg(QString::fromUtf8(order.name))
                                .arg(m_area.client);
        return;
    }
    m_tally.owedRecords += order.records;
    m_tally.owedUserNotices += order.userNotices;
    m_tally.owedSetupNotices += order.setupNotices;
    Tally::Command &counted = m_tally.commands[order.name];
    counted.answered += outcome.data ? 1 : 0;
    counted.unanswered += order.isAnswered && !outcome.data ? 1 : 0;
    counted.announced += int(outcome.announced.size()) + (order.announcesNew && outcome.behindAnswer ? 1 : 0);
    judge(order, outcome);
}

/// False when the "About" was not answered in time.
bool Client::collect(const QByteArray &command, Outcome &outcome)
{
    const QList<int> own = m_area.objectNumbers();
    bool isBehindAnswer = false;
    for (;;) {
        const QByteArray frame = m_wire.nextFrame(kAboutBoundMs);
        if (frame.isEmpty())
            return false;
        const Action action = readAction(frame);
        if (action.name == "About")
            return support::isAbout(frame, m_area.caller);
        if (action.name == command) {
            outcome.data = action.data;
        } else if (action.name != "ServerMessage") {
            m_tally.problems += QString::fromUtf8(command + " is followed by " + action.name + ' ' + action.message);
        } else if (action.message == "SavedCard") {
            const int object = Fields(action.data).number();
            if (own.contains(object))
                outcome.announced += object;
            if (isBehindAnswer)
                outcome.behindAnswer = object;
        }
        isBehindAnswer = action.name != "ServerMessage";
    }
}

void Client::judge(const Order &order, const Outcome &outcome)
{
    QString wrong = outcome.isSure ? complaint(order, outcome) : QString();
    if (outcome.isSure && order.isConstant) {
        const QByteArray said = outcome.data.value_or(QByteArray());
        if (m_tally.firstAnswers.value(order.name, said) != said)
            wrong += " is not answered as it was before";
        m_tally.firstAnswers.insert(order.name, said);
    }
    if (order.conclude)
        wrong += order.conclude(outcome);
    if (!wrong.isEmpty())
        m_tally.problems += QStringLiteral("%1 of client %2: %3")
                                .arg(QString::fromUtf8(order.name), QString::number(m_area.client), wrong);
}

} // namespace soak

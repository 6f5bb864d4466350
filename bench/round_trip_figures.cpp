#include "bench/round_trip_figures.h"

#include "bench/command_frames.h"
#include "keystone/records.h"

#include <QtEndian>

#include <algorithm>
#include <numeric>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

constexpr int kConnection = 7;
constexpr int kRunsInRound = 50;
constexpr const char *kCardCommand = "Get_object_card_v2";

/// The service's own text.
constexpr const char *kCardStatement = R"( SELECT * FROM "Objects_property" where "Id_objects" = %0 order by "Id" )";

/// `column` in double quotes, since libpq folds the capitals of any other name.
QByteArray valueOf(const Rows &rows, int row, const char *column)
{
    const int number = PQfnumber(rows.get(), column);
    return {PQgetvalue(rows.get(), row, number), PQgetlength(rows.get(), row, number)};
}

/// Refuses an answer that is not the card in `rows` (binary values).
void checkCard(const QByteArray &answer, int object, const Rows &rows)
{
    const bus::Action action = answerIn(answer, kConnection);
    keystone::ByteReader in(action.data);
    qint32 number = 0;
    qint32 count = 0;
    in >> number >> count;
    bool same = action.action == kCardCommand && number == object && count == PQntuples(rows.get()) && count > 0;
    for (qint32 row = 0; same && row < count; ++row) {
        CardsProperty property;
        in >> property;
        same = property.name.toUtf8() == valueOf(rows, row, R"("Name")") &&
               property.value == valueOf(rows, row, R"("Value")") &&
               property.id == qFromBigEndian<qint32>(valueOf(rows, row, R"("Id")").constData());
    }
    if (!same || in.status() != QDataStream::Ok || !in.atEnd())
        throw std::runtime_error("the service's card is not what the database holds");
}

} // namespace

class RoundTrips::Turn
{
public:
    explicit Turn(std::shared_ptr<const std::vector<int>> order)
        : m_order(std::move(order))
    {}

    int next()
    {
        const int object = (*m_order)[m_at];
        m_at = (m_at + 1) % m_order->size();
        return object;
    }

private:
    std::shared_ptr<const std::vector<int>> m_order;
    std::size_t m_at = 0;
};

RoundTrips::RoundTrips(std::unique_ptr<Link> service, const std::string &database, int objects)
    : m_service(std::move(service))
    , m_database(database)
    , m_aboutRequest(commandFrame(kConnection, "About"))
{
    std::vector<int> order(static_cast<std::size_t>(objects));
    std::iota(order.begin(), order.end(), 1);
    std::shuffle(order.begin(), order.end(), std::mt19937());
    m_order = std::make_shared<const std::vector<int>>(std::move(order));
    for (int object = 0; object <= objects; ++object) {
        m_cardRequests.append(commandFrame(kConnection, kCardCommand, qint32(object)));
        m_statements.append(QString::fromLatin1(kCardStatement).arg(object).toLatin1());
    }

    m_service->send(m_aboutRequest);
    m_aboutAnswer = m_service->receive();
    if (answerIn(m_aboutAnswer, kConnection).action != "About")
        throw std::runtime_error("the service did not answer \"About\"");
    // Every card once: what is measured afterwards lies in memory on every side.
    for (const int object : *m_order) {
        m_service->send(m_cardRequests[object]);
        const QByteArray answer = m_service->receive();
        const Rows rows = m_database.binary(m_statements[object]);
        checkCard(answer, object, rows);
        if (!m_cardAnswer.isEmpty() && m_cardAnswer.size() != answer.size())
            throw std::runtime_error("the cards do not take the same number of bytes");
        m_cardAnswer = answer;
        m_properties = PQntuples(rows.get());
    }
    m_aboutEcho = std::make_unique<EchoPeer>(m_aboutAnswer);
    m_cardEcho = std::make_unique<EchoPeer>(m_cardAnswer);
}

void RoundTrips::askCard(int object)
{
    m_service->send(m_cardRequests[object]);
    if (m_service->receive().size() != m_cardAnswer.size())
        throw std::runtime_error("the service answered with another number of bytes than before");
}

void RoundTrips::queryText(int object)
{
    if (PQntuples(m_database.text(m_statements[object]).get()) != m_properties)
        throw std::runtime_error("the statement gave another number of rows than before");
}

void RoundTrips::queryBinary(int object)
{
    if (PQntuples(m_database.binary(m_statements[object]).get()) != m_properties)
        throw std::runtime_error("the statement gave another number of rows than before");
}

void RoundTrips::echo(EchoPeer &peer, const QByteArray &request)
{
    peer.link().send(request);
    (void)peer.link().receive();
}

Interleaved::Id RoundTrips::addCard(Interleaved &measured, std::string name, void (RoundTrips::*ask)(int))
{
    return measured.add({std::move(name), kRunsInRound, 1,
                         [this, ask, turn = Turn(m_order)](Stopwatch &) mutable { (this->*ask)(turn.next()); }});
}

std::vector<Figure> RoundTrips::addFigures(Interleaved &measured)
{
    const auto echoed = [&](const char *name, EchoPeer &peer, const QByteArray &request) {
        return measured.add({name, kRunsInRound, 1, [this, &peer, &request](Stopwatch &) { echo(peer, request); }});
    };
    const auto about = measured.add({"round trip of About", kRunsInRound, 1, [this](Stopwatch &) {
                                         m_service->send(m_aboutRequest);
                                         if (m_service->receive().size() != m_aboutAnswer.size())
                                             throw std::runtime_error("the service's \"About\" has changed");
                                     }});
    const auto aboutEcho = echoed("echo of these sizes", *m_aboutEcho, m_aboutRequest);
    const auto card = addCard(measured, "round trip of Get_object_card_v2", &RoundTrips::askCard);
    const auto binary = addCard(measured, "PQexecParams, binary", &RoundTrips::queryBinary);
    const auto text = addCard(measured, "PQexec, text", &RoundTrips::queryText);
    const auto cardEcho = echoed("echo", *m_cardEcho, m_cardRequests.last());
    const auto control = echoed("control: the card's echo once more", *m_cardEcho, m_cardRequests.last());
    return {{about, {aboutEcho}}, {card, {binary}},           {card, {text}},
            {card, {cardEcho}},   {card, {cardEcho, binary}}, {control, {cardEcho}}};
}

std::string RoundTrips::sizesText() const
{
    const auto line = [](const char *name, const QByteArray &request, const QByteArray &answer) {
        return std::string(name) + ": " + std::to_string(request.size()) + " bytes asked, " +
               std::to_string(answer.size()) + " answered";
    };
    return line("About", m_aboutRequest, m_aboutAnswer) + "\n" +
           line(kCardCommand, m_cardRequests.last(), m_cardAnswer) + ", " + std::to_string(m_properties) +
           " properties\n";
}

} // namespace bench

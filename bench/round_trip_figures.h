#pragma once

#include "bench/bare_connection.h"
#include "bench/echo_peer.h"
#include "bench/interleaved.h"
#include "bench/link.h"
#include "bench/report.h"

#include <QByteArray>
#include <QList>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// Round trips through the running service, beside the same statement on a bare connection and beside an echo.
///
/// The registry holds the objects 1 to `objects`, whose cards all take the same number of bytes. Every variant asks for
/// them one after the other in the same drawn order.
class RoundTrips
{
public:
    /// Asks the service once for everything; throws where its answers are not what the database holds.
    RoundTrips(std::unique_ptr<Link> service, const std::string &database, int objects);

    /// Returns the table's lines. This object must outlive the measurement.
    [[nodiscard]] std::vector<Figure> addFigures(Interleaved &measured);

    /// What was asked and answered, in bytes, as lines for a person.
    [[nodiscard]] std::string sizesText() const;

private:
    /// Walks the drawn order, from its beginning.
    class Turn;

    void askCard(int object);
    void queryText(int object);
    void queryBinary(int object);
    void echo(EchoPeer &peer, const QByteArray &request);
    [[nodiscard]] Interleaved::Id addCard(Interleaved &measured, std::string name, void (RoundTrips::*ask)(int));

    std::unique_ptr<Link> m_service;
    BareConnection m_database;
    std::shared_ptr<const std::vector<int>> m_order;
    QList<QByteArray> m_cardRequests; ///< by object number; 0 is not used
    QList<QByteArray> m_statements;   ///< likewise
    QByteArray m_aboutRequest;
    QByteArray m_aboutAnswer;
    QByteArray m_cardAnswer;
    int m_properties = 0; ///< of every card
    std::unique_ptr<EchoPeer> m_aboutEcho;
    std::unique_ptr<EchoPeer> m_cardEcho;
};

} // namespace bench

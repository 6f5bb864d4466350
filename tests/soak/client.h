#pragma once

#include "area.h"
#include "tally.h"
#include "wire.h"

namespace soak {

/// How long "About" may take at most, whatever is done to the service and on however busy a machine. The longest that
/// is expected is a locked table: each statement on it takes the service's limit, and commands wait for each other.
inline constexpr int kAboutBoundMs = 60000;

/// An action frame, taken apart.
struct Action
{
    QByteArray name;
    QByteArray message;
    QByteArray data;
    int caller = 0;
};
[[nodiscard]] Action readAction(const QByteArray &frame);

/// An operator at work through the hub. Has at most one command on its way, with an "About" behind it: once that is
/// answered, all that the service had to say about the command has come.
class Client
{
public:
    Client(const QString &hubPath, int number, Tally &tally);

    [[nodiscard]] Area &area() { return m_area; }
    [[nodiscard]] bool isBusy() const { return m_order.has_value(); }
    void send(Order order, bool isSure);
    /// The command on its way may have been disturbed.
    void doubt();
    /// Takes all that has come for the command on its way, if there is one, and notes what it has changed.
    void conclude();

private:
    [[nodiscard]] bool collect(const QByteArray &command, Outcome &outcome);
    void judge(const Order &order, const Outcome &outcome);

    support::Wire m_wire;
    Area m_area;
    Tally &m_tally;
    std::optional<Order> m_order;
    bool m_isSure = true;
};

} // namespace soak

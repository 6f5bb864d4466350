#pragma once

#include "client.h"
#include "fault.h"

#include <vector>

namespace soak {

/// Clients at work while faults happen, and the comparison of the database with what they have done.
class Campaign : public Scene
{
public:
    static constexpr int kClients = 20;

    Campaign(Site &site, std::mt19937 &generator, Tally &tally);

    /// The database as it is before the first command is what must be there.
    void begin();
    /// Some commands, the fault at a random moment of them, recovery, and a comparison of every row.
    void round(const Fault &fault);
    void settle();

    void run(int steps) override;
    void runUnanswered(int steps) override;
    void concludeAll() override;
    void doubt() override;

private:
    [[nodiscard]] Order orderFor(Client &client, const Draw &draw);
    void step(bool mayWait);
    void recover();
    void compare();
    void takeOver();
    void countLines(const QString &name, const Lines &expected);

    std::vector<std::unique_ptr<Client>> m_clients;
    std::vector<Kind> m_kinds; ///< each as often as its weight
    Model m_model;
    bool m_isSure = true;
    int m_steps = 0;
};

} // namespace soak

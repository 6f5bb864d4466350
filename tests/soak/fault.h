#pragma once

#include "order.h"
#include "site.h"

namespace soak {

/// What a fault is given: the installation, the generator that all is drawn from, and the stream of commands.
class Scene
{
public:
    Scene(Site &site, std::mt19937 &generator, Tally &tally)
        : m_site(site)
        , m_generator(generator)
        , m_tally(tally)
    {}
    virtual ~Scene() = default;
    Q_DISABLE_COPY_MOVE(Scene)

    [[nodiscard]] Site &site() { return m_site; }
    [[nodiscard]] Draw nextDraw() { return Draw(m_generator); }
    [[nodiscard]] int random(int below) { return int(m_generator() % quint32(below)); }
    [[nodiscard]] QByteArray randomBytes(int count);

    /// Lets that many commands be sent.
    virtual void run(int steps) = 0;
    /// The same, without waiting for an answer: who still waits for one sends nothing.
    virtual void runUnanswered(int steps) = 0;
    /// Waits for all answers.
    virtual void concludeAll() = 0;
    /// From here on, and for what is on its way, a command may fail.
    virtual void doubt() = 0;

    /// Begins `action` in a thread at a random moment and lets commands be sent meanwhile.
    void during(const std::function<void()> &action, int steps);
    void complain(const QString &what) { m_tally.problems += what; }
    /// `isWell`, or the problem is noted.
    void expect(bool isWell, const QString &what);
    [[nodiscard]] Tally &tally() { return m_tally; }

private:
    Site &m_site;
    std::mt19937 &m_generator;
    Tally &m_tally;
};

/// How many lines of the local log a fault must cost.
struct Lines
{
    int lost = 0;        ///< "Database connection lost"
    int maybeLost = 0;   ///< that line so many times more
    int unavailable = 0; ///< "Cannot open database"
    int cutOff = 0;      ///< "Connection cut off", in the service's log or the hub's
};

struct Fault
{
    const char *name;
    bool isOnDatabase;
    Lines lines;
    void (*strike)(Scene &);
};

[[nodiscard]] QList<Fault> databaseFaults();
[[nodiscard]] QList<Fault> busFaults();

} // namespace soak

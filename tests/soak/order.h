#pragma once

#include "model.h"

#include <QByteArray>

#include <array>
#include <functional>
#include <optional>
#include <random>

namespace soak {

/// All that one step may choose by, drawn at once: how much a step takes from the generator never depends on what has
/// come back, so the same seed gives the same steps.
class Draw
{
public:
    explicit Draw(std::mt19937 &generator)
    {
        for (quint32 &number : m_numbers)
            number = quint32(generator());
    }
    /// A number from 0 up, below `below`; `which` of the draw's eight.
    [[nodiscard]] int pick(int which, int below) const { return int(m_numbers[size_t(which)] % quint32(below)); }
    [[nodiscard]] bool has(int which, int bit) const { return ((m_numbers[size_t(which)] >> bit) & 1) != 0; }

private:
    std::array<quint32, 8> m_numbers{};
};

/// What came back for a command.
struct Outcome
{
    bool isSure = true;                ///< nothing was done to the database meanwhile
    std::optional<QByteArray> data{};  ///< of its answer
    QList<int> announced{};            ///< objects of this client, in the order of their notices
    std::optional<int> behindAnswer{}; ///< object that a notice right behind the answer names
};

/// A command, what must come back while nothing is done to the database, and what it changes.
struct Order
{
    QByteArray name;
    QByteArray request{};
    bool isAnswered = false;
    QByteArray begin{};        ///< of the answer's data
    QByteArrayList parts = {}; ///< what the data holds behind that, in this order
    bool isConstant = false;   ///< the answer is the same every time
    QList<int> notices = {};   ///< objects that are announced
    bool announcesNew = false; ///< a notice stands behind the answer
    int records = 0;           ///< event-log records; these and the next two come whatever happens to the database
    int userNotices = 0;
    int setupNotices = 0;
    /// Notes the changes; says what is wrong with the outcome.
    std::function<QString(const Outcome &)> conclude = {};
};

/// What is wrong with an outcome that is sure; nothing when all is as it must be.
[[nodiscard]] QString complaint(const Order &order, const Outcome &outcome);

} // namespace soak

#pragma once

#include "bench/bare_connection.h"

#include <QByteArray>
#include <QList>

#include <vector>

namespace bench {

/// A command of many clients about the same object, which is answered with one frame.
struct CrowdCommand
{
    QByteArray message;                ///< of the answer
    int share = 0;                     ///< so many of the mixture's commands
    bool changes = false;              ///< answered by the notice that goes to all clients, and by nothing else
    QList<QByteArray> requests;        ///< by client
    std::vector<Statement> statements; ///< the service's own, in its order
    QByteArray proof;                  ///< gives the count that a right answer holds, or 1 where the change was made
    qsizetype answerBytes = 0;
};

/// Reads and a few changes of one object, by the clients 1 to `clients`.
[[nodiscard]] std::vector<CrowdCommand> crowdCommands(int object, int clients);

} // namespace bench

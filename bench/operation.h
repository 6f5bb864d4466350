#pragma once

#include "bench/replay.h"

#include <QByteArray>
#include <QList>

#include <string>
#include <vector>

namespace bench {

/// What a command is measured for, and so what it has to reach.
enum class Kind {
    Reads,     ///< of one object, account or template
    Writes,    ///< likewise
    WritesAll, ///< very many rows
    ReadsAll,  ///< whole lists
    Searches,  ///< with words of the client's
    Plain,     ///< without the database
};

/// One command as it is measured.
struct Operation
{
    std::string name; ///< the command's and, where it is measured in several ways, which
    Kind kind;
    QByteArray request;
    /// How what it writes is seen: a query of one value, which must be the same after its statements alone.
    QByteArray evidence = {};
    /// What puts back what it has changed, where a further run would not find the same otherwise.
    QList<QByteArray> restoration = {};
    Limit limit = Limit::Prepared;
    bool inAnyOrder = false; ///< its answer holds the same each time, but not in the same order
};

/// The operator whose commands they are.
inline constexpr int kCaller = 5;

} // namespace bench

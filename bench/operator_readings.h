#pragma once

#include "bench/reply_form.h"

#include <QByteArray>

#include <string>
#include <vector>

namespace bench {

/// One statement of a command, and how its rows stand in the reply.
struct ReplyPart
{
    QByteArray statement;
    std::vector<Field> fields;
};

/// A command that only reads, with all its statements in their order.
struct Reading
{
    std::string name;
    int runs; ///< in a round
    int caller;
    QByteArray request;
    QByteArray begin; ///< of the reply, before the first statement's rows
    std::vector<ReplyPart> parts;
    bool inAnyOrder = false; ///< the statement has no order; the reply is then one list of numbers
};

/// The commands that an operator's client reads with, for a registry of operators.sql; the full tree first.
[[nodiscard]] std::vector<Reading> operatorReadings();

} // namespace bench

#include "bench/checked_reading.h"

#include "bench/command_frames.h"

#include <QList>

#include <algorithm>
#include <stdexcept>

namespace bench {

namespace {

/// A reply that is one list of numbers, in ascending order.
QList<qint32> sortedNumbers(const QByteArray &reply)
{
    keystone::ByteReader in(reply);
    QList<qint32> numbers;
    in >> numbers;
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

bool isSame(const Reading &reading, const QByteArray &reply, const QByteArray &expected)
{
    if (!reading.inAnyOrder)
        return reply == expected;
    return reply.size() == expected.size() && sortedNumbers(reply) == sortedNumbers(expected);
}

} // namespace

Answered askChecked(Link &service, BareConnection &database, const Reading &reading)
{
    service.send(reading.request);
    const QByteArray frame = service.receive();
    Answered answered{frame.size(), 0};
    QByteArray expected = reading.begin;
    for (const ReplyPart &part : reading.parts) {
        const Rows rows = database.binary(part.statement);
        if (PQntuples(rows.get()) == 0)
            throw std::runtime_error(reading.name + ": the registry holds nothing to read");
        expected += replyOf(rows, part.fields);
        answered.rows += PQntuples(rows.get());
    }
    if (!isSame(reading, answerIn(frame, reading.caller).data, expected))
        throw std::runtime_error("the service's " + reading.name + " is not what the database holds");
    return answered;
}

} // namespace bench

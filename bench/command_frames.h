#pragma once

#include "bus/frame.h"
#include "keystone/byte_writer.h"

#include <QByteArray>
#include <QList>

namespace bench {

/// A command of the operator `caller`; the fields stream one behind the other, and a list as its length and its
/// elements.
template <typename... Fields>
[[nodiscard]] QByteArray commandFrame(int caller, const char *command, const Fields &...fields)
{
    QByteArray payload;
    keystone::ByteWriter out(&payload);
    static_cast<void>((out << ... << fields));
    return bus::encode(bus::Command{command, payload, caller});
}

/// What the first of `frames` holds, which must be an answer to `caller`; throws std::runtime_error where it is not.
[[nodiscard]] bus::Action answerIn(const QByteArray &frames, int caller);

/// What each of `frames`, which are whole, holds; they must be answers and notices.
[[nodiscard]] QList<bus::Action> actionsIn(const QByteArray &frames);

} // namespace bench

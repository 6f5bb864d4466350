#include "bench/command_frames.h"

#include <QtEndian>

#include <stdexcept>

namespace bench {

bus::Action answerIn(const QByteArray &frames, int caller)
{
    const auto length = qFromBigEndian<qint32>(frames.constData());
    bus::Frame frame = bus::decode(frames.sliced(sizeof length, length));
    auto *action = std::get_if<bus::Action>(&frame);
    if (!action || action->idConnection != caller)
        throw std::runtime_error("the service answered with another frame than an answer to this caller");
    return std::move(*action);
}

} // namespace bench

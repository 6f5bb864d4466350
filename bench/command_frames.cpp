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

QList<bus::Action> actionsIn(const QByteArray &frames)
{
    QList<bus::Action> actions;
    for (qsizetype at = 0; at < frames.size();) {
        const auto length = qFromBigEndian<qint32>(frames.constData() + at);
        bus::Frame frame = bus::decode(frames.sliced(at + qsizetype(sizeof length), length));
        auto *action = std::get_if<bus::Action>(&frame);
        if (!action)
            throw std::runtime_error("the service sent another frame than an answer or a notice");
        actions.append(std::move(*action));
        at += qsizetype(sizeof length) + length;
    }
    return actions;
}

} // namespace bench

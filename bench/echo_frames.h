#pragma once

#include "bus/frame.h"

#include <QByteArray>

namespace bench {

inline constexpr const char *kEchoCommand = "E"; // its length is part of the sizes below
inline constexpr int kEchoCaller = 7;

/// So many bytes more of an answer than of a command are no data: its name once more and the colour.
inline constexpr qsizetype kLongerAnswerHead = 16;

/// A command that takes `bytes` as a frame, length included.
[[nodiscard]] inline QByteArray echoFrame(qsizetype bytes)
{
    constexpr qsizetype kHead = 18;
    QByteArray data(bytes - kHead, Qt::Uninitialized);
    for (qsizetype i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i % 251);
    return bus::encode(bus::Command{kEchoCommand, data, kEchoCaller});
}

} // namespace bench

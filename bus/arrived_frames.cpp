#include "bus/arrived_frames.h"

#include <QByteArray>

#include <utility>

namespace bus {

FrameCutter::Result ArrivedFrames::next(FrameCutter &cutter)
{
    // What is there for a frame is not more than is read at once.
    constexpr std::size_t kMost = 32;
    if (following().empty()) {
        forget();
        QByteArray body;
        while (m_frames.size() < kMost) {
            const auto result = cutter.next(body);
            if (result == FrameCutter::Result::FrameReady)
                m_frames.push_back(decode(std::move(body)));
            else if (m_frames.empty())
                return result;
            else
                break;
        }
    }
    ++m_next;
    return FrameCutter::Result::FrameReady;
}

void ArrivedFrames::forget()
{
    m_frames.clear();
    m_next = 0;
}

} // namespace bus

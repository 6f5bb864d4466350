#pragma once

#include "bus/frame.h"
#include "bus/frame_cutter.h"

#include <cstddef>
#include <span>
#include <vector>

namespace bus {

/// The frames that have arrived on one link: that which is being handled and, so that whoever handles it may look at
/// them, those behind it.
class ArrivedFrames
{
public:
    /// Goes on to the next frame, current() from now on, where it is there. Frames are cut in advance, some at a time:
    /// before another link's come, those of this one have to be gone through or forgotten.
    [[nodiscard]] FrameCutter::Result next(FrameCutter &cutter);

    /// To be moved from, if its handler likes.
    [[nodiscard]] Frame &current() { return m_frames[m_next - 1]; }

    /// Those behind it that have been cut.
    [[nodiscard]] std::span<const Frame> following() const { return std::span(m_frames).subspan(m_next); }

    void forget();

private:
    std::vector<Frame> m_frames;
    std::size_t m_next = 0; ///< place of the one behind current()
};

} // namespace bus

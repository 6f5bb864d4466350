#pragma once

#include "bench/link.h"

#include <QByteArray>
#include <QByteArrayView>

namespace bench {

/// What arrives on a link whose ends do not take turns, cut into frames.
class FrameStream
{
public:
    /// `link` must outlive this, and nothing else may read from it meanwhile.
    explicit FrameStream(Link &link);

    /// The next whole frame with its length, valid until the next call; empty once the other end has closed the link.
    [[nodiscard]] QByteArrayView next();

    /// As many whole frames as have arrived, one behind the other; waits for one.
    [[nodiscard]] QByteArrayView nextFrames();

    /// Bytes that have arrived and were not taken.
    [[nodiscard]] qsizetype left() const { return m_end - m_begin; }

private:
    [[nodiscard]] qsizetype frameSizeAt(qsizetype place) const;
    bool fill(qsizetype wanted);

    Link &m_link;
    QByteArray m_bytes;
    qsizetype m_begin = 0; ///< of what was not taken
    qsizetype m_end = 0;   ///< of what has arrived
};

} // namespace bench

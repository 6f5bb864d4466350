#pragma once

#include <QByteArray>

namespace bus {

/// Cuts one link's byte stream into frames. Keeps only bytes that have arrived; a declared length reserves nothing.
class FrameCutter
{
public:
    enum class Result {
        FrameReady, ///< a whole frame was taken
        NeedMore,   ///< wait for more bytes
        TooLong     ///< the frame in progress is longer than kFrameLimit and not complete: abort the link
    };

    /// Adds arrived bytes, in order.
    void append(QByteArray bytes);

    /// Takes the next whole frame's type byte and body into `body` (empty for a declared length of 0 or below).
    [[nodiscard]] Result next(QByteArray &body);

    /// Bytes kept of frames that have not been taken.
    [[nodiscard]] qsizetype keptBytes() const { return m_bytes.size() - m_taken; }

private:
    void clear();

    QByteArray m_bytes;
    qsizetype m_taken = 0;      ///< bytes at the front of m_bytes that frames have consumed
    qint32 m_pendingLength = 0; ///< length of the frame in progress; 0: none has begun
};

} // namespace bus

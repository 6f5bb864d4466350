#pragma once

#include <QByteArray>

class QIODevice;

namespace bus {

/// Cuts one link's byte stream into frames. Keeps only bytes that have arrived; a declared length reserves
/// memory only once a good part of the frame is there.
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

    /// The same with bytes that `device` has at hand: all of them, or, in the middle of a frame, only those that it
    /// lacks, which then are read to where they stay. To be called again while the device has bytes.
    /// False when it gave none.
    bool readFrom(QIODevice &device);

    /// Takes the next whole frame's type byte and body into `body` (empty for a declared length of 0 or below).
    [[nodiscard]] Result next(QByteArray &body);

    /// Bytes kept of frames that have not been taken.
    [[nodiscard]] qsizetype keptBytes() const { return m_bytes.size() - m_taken; }

private:
    [[nodiscard]] QByteArray take(qsizetype size);
    void clear();

    QByteArray m_bytes;
    qsizetype m_taken = 0;      ///< bytes at the front of m_bytes that frames have consumed
    qint32 m_pendingLength = 0; ///< length of the frame in progress; 0: none has begun
};

} // namespace bus

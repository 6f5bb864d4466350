#pragma once

#include <QByteArray>
#include <QColor>

namespace bus {

/// An answer in the making: its data are written where they will be sent from, so that a large one is in memory once.
class ActionFrame
{
public:
    /// `name` is both the action and the message, as in every answer that holds data.
    explicit ActionFrame(const QByteArray &name);

    /// The frame so far. Data go to its end; what stands there now must stay.
    [[nodiscard]] QByteArray &bytes() { return m_bytes; }

    /// Bytes of data written so far.
    [[nodiscard]] qsizetype dataSize() const { return m_bytes.size() - m_headSize; }

    /// The whole frame, ready to be sent. A frame that no data were written to has a null data block. To be called
    /// once.
    [[nodiscard]] QByteArray take(const QColor &colour, qint32 idConnection);

private:
    QByteArray m_bytes;
    qsizetype m_headSize;
};

} // namespace bus

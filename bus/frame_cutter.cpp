#include "bus/frame_cutter.h"

#include "bus/frame.h"

#include <QtEndian>

namespace bus {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);

} // namespace

void FrameCutter::append(QByteArray bytes)
{
    if (m_taken == m_bytes.size()) {
        m_bytes = std::move(bytes);
    } else {
        if (m_taken > 0)
            m_bytes.remove(0, m_taken);
        m_bytes += bytes;
    }
    m_taken = 0;
}

FrameCutter::Result FrameCutter::next(QByteArray &body)
{
    body.clear();
    if (m_pendingLength == 0) {
        if (keptBytes() == 0)
            clear(); // gives the memory of what has been cut back
        if (keptBytes() < kLengthBytes)
            return Result::NeedMore;
        m_pendingLength = qFromBigEndian<qint32>(m_bytes.constData() + m_taken);
        m_taken += kLengthBytes;
    }
    // Only a frame that is still incomplete is held against the limit: one that has arrived whole costs nothing more.
    if (m_pendingLength > keptBytes())
        return m_pendingLength > kFrameLimit ? Result::TooLong : Result::NeedMore;
    if (m_pendingLength > 0) {
        body = m_bytes.mid(m_taken, m_pendingLength);
        m_taken += m_pendingLength;
    }
    m_pendingLength = 0;
    return Result::FrameReady;
}

void FrameCutter::clear()
{
    m_bytes.clear();
    m_taken = 0;
    m_pendingLength = 0;
}

} // namespace bus

#include "bus/frame_cutter.h"

#include "bus/frame.h"
#include "keystone/memory.h"

#include <QIODevice>
#include <QtEndian>

#include <utility>

namespace bus {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);

/// How many times as much may be reserved for a frame as has arrived of it.
constexpr qsizetype kReservedTimes = 8;

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

bool FrameCutter::readFrom(QIODevice &device)
{
    const qsizetype lacking = m_pendingLength - keptBytes();
    if (m_pendingLength <= 0 || lacking <= 0) {
        QByteArray bytes = device.readAll();
        const bool hasBytes = !bytes.isEmpty();
        append(std::move(bytes));
        return hasBytes;
    }
    m_bytes.remove(0, m_taken);
    m_taken = 0;
    const qsizetype kept = m_bytes.size();
    if (m_pendingLength / kReservedTimes <= kept && m_bytes.capacity() < m_pendingLength) {
        m_bytes.reserve(m_pendingLength);
        keystone::preferLargePages(m_bytes.constData(), static_cast<std::size_t>(m_bytes.capacity()));
    }
    m_bytes.resize(kept + qMin(lacking, qsizetype(device.bytesAvailable())));
    const qint64 got = device.read(m_bytes.data() + kept, m_bytes.size() - kept);
    m_bytes.resize(kept + qMax(got, qint64(0)));
    return got > 0;
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
    if (m_pendingLength > 0)
        body = take(m_pendingLength);
    m_pendingLength = 0;
    return Result::FrameReady;
}

/// The next bytes; without copying them where they are all that is left.
QByteArray FrameCutter::take(qsizetype size)
{
    if (size < keptBytes()) {
        const QByteArray bytes = m_bytes.mid(m_taken, size);
        m_taken += size;
        return bytes;
    }
    m_bytes.remove(0, m_taken);
    m_taken = 0;
    return std::exchange(m_bytes, {});
}

void FrameCutter::clear()
{
    m_bytes.clear();
    m_taken = 0;
    m_pendingLength = 0;
}

} // namespace bus

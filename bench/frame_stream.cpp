#include "bench/frame_stream.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace bench {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);
constexpr qsizetype kRoomBytes = 64 * 1024;

} // namespace

FrameStream::FrameStream(Link &link)
    : m_link(link)
    , m_bytes(kRoomBytes, Qt::Uninitialized)
{}

QByteArrayView FrameStream::next()
{
    for (;;) {
        const qsizetype size = frameSizeAt(m_begin);
        if (size <= left()) {
            const QByteArrayView frame(m_bytes.constData() + m_begin, size);
            m_begin += size;
            return frame;
        }
        if (!fill(size))
            return {};
    }
}

QByteArrayView FrameStream::nextFrames()
{
    const QByteArrayView first = next();
    if (first.isEmpty())
        return {};
    qsizetype size = frameSizeAt(m_begin);
    while (size <= left()) {
        m_begin += size;
        size = frameSizeAt(m_begin);
    }
    return {first.data(), m_bytes.constData() + m_begin};
}

/// Of the frame that begins at `place`, whose length may still be under way.
qsizetype FrameStream::frameSizeAt(qsizetype place) const
{
    if (m_end - place < kLengthBytes)
        return kLengthBytes + 1;
    return kLengthBytes + qFromBigEndian<qint32>(m_bytes.constData() + place);
}

/// Reads once, with room for a frame of `wanted` bytes.
bool FrameStream::fill(qsizetype wanted)
{
    std::memmove(m_bytes.data(), m_bytes.constData() + m_begin, static_cast<std::size_t>(left()));
    m_end -= m_begin;
    m_begin = 0;
    m_bytes.resize(std::max(wanted, m_bytes.size()));
    const qsizetype got = m_link.readSome(m_bytes.data() + m_end, m_bytes.size() - m_end);
    m_end += got;
    return got > 0;
}

} // namespace bench

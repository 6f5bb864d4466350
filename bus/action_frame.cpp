#include "bus/action_frame.h"

#include "bus/frame.h"
#include "keystone/stream.h"

#include <QtEndian>

#include <utility>

namespace bus {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);
constexpr quint32 kNull = 0xFFFFFFFF; ///< length of a block that is not there

} // namespace

ActionFrame::ActionFrame(const QByteArray &name)
{
    keystone::ByteWriter out(&m_bytes);
    out << qint32(0) << static_cast<quint8>(FrameType::Action) << name << name << kNull;
    m_headSize = m_bytes.size();
}

QByteArray ActionFrame::take(const QColor &colour, qint32 idConnection)
{
    const qsizetype size = dataSize();
    QByteArray tail;
    keystone::ByteWriter out(&tail);
    out << colour << idConnection;
    m_bytes.append(tail);
    if (size > 0)
        qToBigEndian(static_cast<quint32>(size), m_bytes.data() + m_headSize - kLengthBytes);
    qToBigEndian(static_cast<qint32>(m_bytes.size() - kLengthBytes), m_bytes.data());
    return std::exchange(m_bytes, {});
}

} // namespace bus

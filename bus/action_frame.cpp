#include "bus/action_frame.h"

#include "bus/colour.h"
#include "bus/frame.h"
#include "keystone/byte_writer.h"

#include <utility>

namespace bus {

namespace {

constexpr qsizetype kLengthBytes = sizeof(qint32);

} // namespace

ActionFrame::ActionFrame(const QByteArray &name)
{
    constexpr qsizetype kUsual = 4096; // many are shorter, and growing costs more than room
    m_bytes.reserve(kUsual);
    keystone::ByteWriter out(&m_bytes);
    out << qint32(0) << static_cast<quint8>(FrameType::Action) << name << name << QByteArrayView();
    m_headSize = m_bytes.size();
}

QByteArray ActionFrame::take(const QColor &colour, qint32 idConnection)
{
    const qsizetype size = dataSize();
    keystone::ByteWriter out(&m_bytes);
    writeColour(out, colour);
    out << idConnection;
    if (size > 0)
        out.overwrite(m_headSize - kLengthBytes, static_cast<quint32>(size));
    out.overwrite(0, static_cast<qint32>(m_bytes.size() - kLengthBytes));
    return std::exchange(m_bytes, {});
}

} // namespace bus

#include "bus/frame.h"

#include "keystone/stream.h"

#include <QtEndian>

#include <utility>

namespace bus {

namespace {

constexpr qint32 kLengthBytes = sizeof(qint32);

/// Writes a frame of `type` whose fields `writeFields` streams, and puts the length in front once it is known.
template <typename WriteFields>
QByteArray encodeFrame(quint8 type, qsizetype payloadBytes, WriteFields writeFields)
{
    constexpr qsizetype kHeadBytes = 64; // length, type and the counts and numbers around the payload
    QByteArray bytes;
    bytes.reserve(payloadBytes + kHeadBytes);
    keystone::ByteWriter out(&bytes);
    out << qint32(0) << type;
    writeFields(out);
    out.device()->seek(0);
    out << qint32(bytes.size() - kLengthBytes);
    return bytes;
}

quint8 typeByte(FrameType type)
{
    return static_cast<quint8>(type);
}

/// Where a block of bytes lies in a body.
struct Extent
{
    qsizetype start = 0;
    qsizetype size = 0;
    bool isNull = false;
};

/// Reads a body's fields as QDataStream does: what is not all there takes the rest and reads as empty or zero.
class FieldReader
{
public:
    explicit FieldReader(const QByteArray &body)
        : m_body(body)
    {}

    quint8 byte() { return has(1) ? static_cast<quint8>(m_body[m_at++]) : quint8(0); }

    qint32 number()
    {
        if (!has(sizeof(qint32)))
            return 0;
        return qFromBigEndian<qint32>(m_body.constData() + std::exchange(m_at, m_at + qsizetype(sizeof(qint32))));
    }

    Extent passBlock()
    {
        constexpr quint32 kNull = 0xFFFFFFFF;
        const auto length = static_cast<quint32>(number());
        if (length == kNull)
            return {.isNull = true};
        if (!has(length))
            return {.isNull = true};
        return {std::exchange(m_at, m_at + qsizetype(length)), qsizetype(length)};
    }

    QByteArray block()
    {
        const Extent extent = passBlock();
        return extent.isNull ? QByteArray() : QByteArray(m_body.constData() + extent.start, extent.size);
    }

    QColor colour()
    {
        keystone::ByteReader in(m_body);
        in.device()->seek(m_at);
        QColor colour;
        in >> colour;
        m_at = in.device()->pos();
        return colour;
    }

private:
    /// Goes to the end where fewer bytes are left.
    bool has(qsizetype size)
    {
        if (size <= m_body.size() - m_at)
            return true;
        m_at = m_body.size();
        return false;
    }

    const QByteArray &m_body;
    qsizetype m_at = 0;
};

QByteArray cutOut(QByteArray body, const Extent &extent)
{
    if (extent.isNull)
        return {};
    body.truncate(extent.start + extent.size);
    body.remove(0, extent.start);
    return body.isEmpty() ? QByteArray("") : body;
}

} // namespace

QByteArray encode(const Greeting &frame)
{
    return encodeFrame(typeByte(FrameType::Greeting), frame.name.size(), [&](QDataStream &out) { out << frame.name; });
}

QByteArray encode(const Action &frame)
{
    const qsizetype payload = frame.action.size() + frame.message.size() + frame.data.size();
    return encodeFrame(typeByte(FrameType::Action), payload, [&](QDataStream &out) {
        out << frame.action << frame.message << frame.data << frame.colour << frame.idConnection;
    });
}

QByteArray encode(const Command &frame)
{
    return encodeFrame(typeByte(FrameType::Command), frame.name.size() + frame.data.size(),
                       [&](QDataStream &out) { out << frame.name << frame.data << frame.idConnection; });
}

QByteArray encode(const BusMessage &frame)
{
    return encodeFrame(typeByte(FrameType::BusMessage), frame.iface.size() + frame.data.size(),
                       [&](QDataStream &out) { out << frame.iface << frame.data << frame.idConnect; });
}

QByteArray encode(const Data &frame)
{
    return encodeFrame(frame.kind, frame.data.size(), [&](QDataStream &out) { out << frame.data; });
}

Frame decode(QByteArray body)
{
    FieldReader in(body);
    const quint8 type = in.byte();
    switch (static_cast<FrameType>(type)) {
    case FrameType::Greeting:
        return Greeting{in.block()};
    case FrameType::Action: {
        Action frame;
        frame.action = in.block();
        frame.message = in.block();
        const auto data = in.passBlock();
        frame.colour = in.colour();
        frame.idConnection = in.number();
        frame.data = cutOut(std::move(body), data);
        return frame;
    }
    case FrameType::Command: {
        Command frame;
        frame.name = in.block();
        const auto data = in.passBlock();
        frame.idConnection = in.number();
        frame.data = cutOut(std::move(body), data);
        return frame;
    }
    case FrameType::BusMessage: {
        BusMessage frame;
        frame.iface = in.block();
        frame.data = in.block();
        frame.idConnect = in.number();
        return frame;
    }
    }
    return Data{type, in.block()};
}

} // namespace bus

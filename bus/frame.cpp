#include "bus/frame.h"

#include "keystone/stream.h"

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

Frame decode(const QByteArray &body)
{
    keystone::ByteReader in(body);
    quint8 type = 0;
    in >> type;
    switch (static_cast<FrameType>(type)) {
    case FrameType::Greeting: {
        Greeting frame;
        in >> frame.name;
        return frame;
    }
    case FrameType::Action: {
        Action frame;
        in >> frame.action >> frame.message >> frame.data >> frame.colour >> frame.idConnection;
        return frame;
    }
    case FrameType::Command: {
        Command frame;
        in >> frame.name >> frame.data >> frame.idConnection;
        return frame;
    }
    case FrameType::BusMessage: {
        BusMessage frame;
        in >> frame.iface >> frame.data >> frame.idConnect;
        return frame;
    }
    }
    Data frame;
    frame.kind = type;
    in >> frame.data;
    return frame;
}

} // namespace bus

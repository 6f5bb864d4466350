#include "bus/frame.h"

#include "bus/colour.h"
#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

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
    out.overwrite(0, qint32(bytes.size() - kLengthBytes));
    return bytes;
}

quint8 typeByte(FrameType type)
{
    return static_cast<quint8>(type);
}

template <typename Value>
Value next(keystone::ByteReader &in)
{
    Value value{};
    in >> value;
    return value;
}

/// The block that lies in `body`.
QByteArray cutOut(QByteArray body, QByteArrayView block)
{
    if (block.isNull())
        return {};
    const qsizetype start = block.data() - body.constData();
    body.truncate(start + block.size());
    body.remove(0, start);
    return body.isEmpty() ? QByteArray("") : body;
}

} // namespace

QByteArray encode(const Greeting &frame)
{
    return encodeFrame(typeByte(FrameType::Greeting), frame.name.size(),
                       [&](keystone::ByteWriter &out) { out << frame.name; });
}

QByteArray encode(const Action &frame)
{
    const qsizetype payload = frame.action.size() + frame.message.size() + frame.data.size();
    return encodeFrame(typeByte(FrameType::Action), payload, [&](keystone::ByteWriter &out) {
        out << frame.action << frame.message << frame.data;
        writeColour(out, frame.colour);
        out << frame.idConnection;
    });
}

QByteArray encode(const Command &frame)
{
    return encodeFrame(typeByte(FrameType::Command), frame.name.size() + frame.data.size(),
                       [&](keystone::ByteWriter &out) { out << frame.name << frame.data << frame.idConnection; });
}

QByteArray encode(const BusMessage &frame)
{
    return encodeFrame(typeByte(FrameType::BusMessage), frame.iface.size() + frame.data.size(),
                       [&](keystone::ByteWriter &out) { out << frame.iface << frame.data << frame.idConnect; });
}

QByteArray encode(const Data &frame)
{
    return encodeFrame(frame.kind, frame.data.size(), [&](keystone::ByteWriter &out) { out << frame.data; });
}

Frame decode(QByteArray body)
{
    keystone::ByteReader in(body);
    const auto type = next<quint8>(in);
    switch (static_cast<FrameType>(type)) {
    case FrameType::Greeting:
        return Greeting{next<QByteArray>(in)};
    case FrameType::Action: {
        Action frame;
        in >> frame.action >> frame.message;
        const auto data = in.readBlock();
        frame.colour = readColour(in);
        in >> frame.idConnection;
        frame.data = cutOut(std::move(body), data);
        return frame;
    }
    case FrameType::Command: {
        Command frame;
        in >> frame.name;
        const auto data = in.readBlock();
        in >> frame.idConnection;
        frame.data = cutOut(std::move(body), data);
        return frame;
    }
    case FrameType::BusMessage: {
        BusMessage frame;
        in >> frame.iface >> frame.data >> frame.idConnect;
        return frame;
    }
    }
    return Data{type, next<QByteArray>(in)};
}

} // namespace bus

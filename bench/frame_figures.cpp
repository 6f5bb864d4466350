#include "bench/frame_figures.h"

#include "bus/frame.h"
#include "bus/frame_cutter.h"

#include <QByteArray>
#include <QList>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace bench {

namespace {

constexpr qsizetype kStreamBytes = 8 * 1024 * 1024; ///< about as many bytes of frames in one run
constexpr qsizetype kChunkBytes = 64 * 1024;        ///< what a link takes out of its socket at once
constexpr int kConnection = 7;
constexpr const char *kCommandName = "Get_object_card_v2";

struct Payload
{
    const char *name;
    qsizetype bytes;
};

constexpr std::array kPayloads = {Payload{"100 B", 100}, Payload{"10 KB", 10'000}, Payload{"1 MB", 1'000'000}};

/// Equal frames one behind the other, and room to copy them to.
struct FrameStream
{
    explicit FrameStream(const QByteArray &oneFrame)
        : frame(oneFrame)
        , count(static_cast<int>(std::max<qsizetype>(1, kStreamBytes / oneFrame.size())))
        , bytes(oneFrame.repeated(count))
        , copy(bytes.size(), '\0')
    {}

    QByteArray frame;
    int count;
    QByteArray bytes;
    QByteArray copy;
};

QByteArray payloadOf(qsizetype bytes)
{
    return QByteArray(bytes, 'p');
}

/// Taking bytes out of a socket is not part of cutting them; as from a socket, each chunk comes in memory of its own.
QByteArray chunkAt(const FrameStream &stream, qsizetype at, Stopwatch &watch)
{
    watch.pause();
    QByteArray chunk(stream.bytes.constData() + at, std::min(kChunkBytes, stream.bytes.size() - at));
    watch.resume();
    return chunk;
}

void cut(const FrameStream &stream, qsizetype payloadBytes, Stopwatch &watch)
{
    bus::FrameCutter cutter;
    QByteArray body;
    int whole = 0;
    for (qsizetype at = 0; at < stream.bytes.size(); at += kChunkBytes) {
        cutter.append(chunkAt(stream, at, watch));
        while (cutter.next(body) == bus::FrameCutter::Result::FrameReady) {
            const bus::Frame frame = bus::decode(body);
            const auto *command = std::get_if<bus::Command>(&frame);
            if (command && command->data.size() == payloadBytes)
                ++whole;
        }
    }
    if (whole != stream.count)
        throw std::runtime_error("frames were lost in cutting");
}

/// Frame by frame, as the cutter takes them: from one end of memory to the other.
void copyAlong(FrameStream &stream)
{
    const auto size = static_cast<std::size_t>(stream.frame.size());
    const char *from = stream.bytes.constData();
    char *to = stream.copy.data();
    for (int i = 0; i < stream.count; ++i, from += size, to += size) {
        std::memcpy(to, from, size);
        keep(to);
    }
}

void build(const bus::Action &action, const FrameStream &stream)
{
    for (int i = 0; i < stream.count; ++i) {
        const QByteArray frame = bus::encode(action);
        keep(frame.constData());
        if (frame.size() != stream.frame.size())
            throw std::runtime_error("a frame was built with another length");
    }
}

/// Each frame to the same place, as the builder's frames are freed before the next one is made.
void copyInPlace(FrameStream &stream)
{
    const auto size = static_cast<std::size_t>(stream.frame.size());
    char *to = stream.copy.data();
    for (int i = 0; i < stream.count; ++i) {
        std::memcpy(to, stream.frame.constData(), size);
        keep(to);
    }
}

Figure addCutting(Interleaved &measured, const Payload &payload)
{
    const auto stream =
        std::make_shared<FrameStream>(bus::encode(bus::Command{kCommandName, payloadOf(payload.bytes), kConnection}));
    const auto subject =
        measured.add({std::string("cut command frames, ") + payload.name + " payload", 1, stream->count,
                      [stream, bytes = payload.bytes](Stopwatch &watch) { cut(*stream, bytes, watch); }});
    const auto reference =
        measured.add({"memcpy of the frame", 1, stream->count, [stream](Stopwatch &) { copyAlong(*stream); }});
    return {subject, {reference}};
}

Figure addBuilding(Interleaved &measured, const Payload &payload)
{
    const bus::Action action{kCommandName, kCommandName, payloadOf(payload.bytes), Qt::blue, kConnection};
    const auto stream = std::make_shared<FrameStream>(bus::encode(action));
    const auto subject = measured.add({std::string("build action frames, ") + payload.name + " payload", 1,
                                       stream->count, [stream, action](Stopwatch &) { build(action, *stream); }});
    const auto reference =
        measured.add({"memcpy of the frame", 1, stream->count, [stream](Stopwatch &) { copyInPlace(*stream); }});
    return {subject, {reference}};
}

} // namespace

std::vector<Figure> addFrameFigures(Interleaved &measured)
{
    std::vector<Figure> figures;
    for (const Payload &payload : kPayloads)
        figures.push_back(addCutting(measured, payload));
    for (const Payload &payload : kPayloads)
        figures.push_back(addBuilding(measured, payload));
    return figures;
}

} // namespace bench

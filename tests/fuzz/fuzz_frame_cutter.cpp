// A byte stream cut into frames: the same frames however it arrives, and those that its lengths say.
// Input: two bytes that choose the pieces, then the stream.

#include "bus/frame.h"
#include "bus/frame_cutter.h"
#include "fuzz.h"

#include <QBuffer>
#include <QByteArrayList>

#include <algorithm>
#include <random>

namespace {

using Result = bus::FrameCutter::Result;

struct Cut
{
    QByteArrayList frames;
    Result end = Result::NeedMore;

    bool operator==(const Cut &other) const = default;
};

void takeFrames(bus::FrameCutter &cutter, Cut &cut)
{
    QByteArray body;
    while ((cut.end = cutter.next(body)) == Result::FrameReady)
        cut.frames.append(body);
    FUZZ_CHECK(body.isEmpty());
}

Cut cutWhole(const QByteArray &stream)
{
    bus::FrameCutter cutter;
    Cut cut;
    cutter.append(stream);
    takeFrames(cutter, cut);
    FUZZ_CHECK(cutter.keptBytes() >= 0 && cutter.keptBytes() <= stream.size());
    return cut;
}

Cut cutPieces(const QByteArray &stream, unsigned seed)
{
    std::minstd_rand random(seed + 1);
    const unsigned sizes = 2 + seed % 40; // 0 is one of them
    bus::FrameCutter cutter;
    Cut cut;
    for (qsizetype at = 0; at < stream.size() && cut.end != Result::TooLong;) {
        const auto size = std::min<qsizetype>(qsizetype(random() % sizes), stream.size() - at);
        cutter.append(stream.mid(at, size));
        at += size;
        // Several pieces may arrive before the frames are taken.
        if (random() % 4 != 0)
            takeFrames(cutter, cut);
    }
    if (cut.end != Result::TooLong)
        takeFrames(cutter, cut);
    return cut;
}

/// From a socket on which they have arrived: all of them, whenever something lacks.
Cut cutFromDevice(QByteArray stream)
{
    QBuffer device(&stream);
    device.open(QIODevice::ReadOnly);
    bus::FrameCutter cutter;
    // A length first, so that what follows is read into its place.
    cutter.append(device.read(5));
    Cut cut;
    do {
        takeFrames(cutter, cut);
    } while (cut.end == Result::NeedMore && cutter.readFrom(device));
    return cut;
}

/// What the frame format says, read byte by byte.
Cut cutByHand(const QByteArray &stream)
{
    Cut cut;
    qsizetype at = 0;
    while (stream.size() - at >= 4) {
        quint32 length = 0;
        for (int i = 0; i < 4; ++i)
            length = length << 8 | static_cast<quint8>(stream[at + i]);
        const auto wanted = static_cast<qint32>(length);
        if (wanted > stream.size() - at - 4) {
            cut.end = wanted > bus::kFrameLimit ? Result::TooLong : Result::NeedMore;
            return cut;
        }
        cut.frames.append(wanted > 0 ? stream.mid(at + 4, wanted) : QByteArray());
        at += 4 + std::max(wanted, 0);
    }
    return cut;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    QByteArray stream = fuzz::bytesOf(data, size);
    const unsigned high = fuzz::takeByte(stream);
    const unsigned seed = high << 8 | fuzz::takeByte(stream);
    const Cut expected = cutByHand(stream);
    FUZZ_CHECK(cutWhole(stream) == expected);
    FUZZ_CHECK(cutPieces(stream, seed) == expected);
    // A frame beyond the limit ends the link there, unless it was there at once.
    const Cut read = cutFromDevice(stream);
    FUZZ_CHECK(read == expected || read.end == Result::TooLong);
    return 0;
}

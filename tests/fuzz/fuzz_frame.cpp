// A frame decoded from any bytes: once it has been encoded it comes back as it is.
// Input: type byte and body.

#include "bus/frame.h"
#include "fuzz.h"

#include <QtEndian>

#include <variant>

namespace {

QByteArray encodeAny(const bus::Frame &frame)
{
    return std::visit([](const auto &fields) { return bus::encode(fields); }, frame);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr qsizetype lengthBytes = sizeof(qint32);
    const bus::Frame frame = bus::decode(fuzz::bytesOf(data, size));
    const QByteArray encoded = encodeAny(frame);
    FUZZ_CHECK(qFromBigEndian<qint32>(encoded.constData()) == encoded.size() - lengthBytes);
    FUZZ_CHECK(size == 0 || quint8(encoded[lengthBytes]) == data[0]);
    const bus::Frame again = bus::decode(encoded.mid(lengthBytes));
    FUZZ_CHECK(again.index() == frame.index());
    FUZZ_CHECK(encodeAny(again) == encoded);
    return 0;
}

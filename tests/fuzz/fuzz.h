#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// What every target states of every input; one that breaks it ends the process, which the fuzzer keeps as a find.
#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #condition);                        \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv);

namespace fuzz {

/// A copy, so that a read beyond its end is found.
[[nodiscard]] inline QByteArray bytesOf(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), static_cast<qsizetype>(size)};
}

/// The first byte, which is taken away; 0 where there is none.
[[nodiscard]] inline std::uint8_t takeByte(QByteArray &input)
{
    if (input.isEmpty())
        return 0;
    const auto first = static_cast<std::uint8_t>(input.front());
    input.remove(0, 1);
    return first;
}

} // namespace fuzz

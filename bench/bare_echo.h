#pragma once

#include <string>

namespace bench {

enum class EchoPace {
    TogetherWhenTogether, ///< answers to frames that arrived together leave together
    EachAtOnce            ///< each answer leaves before the next frame is looked at
};

/// Connects to `socket` and sends every frame back, with poll, read and write alone, until the other end goes.
void echoBare(const std::string &socket, EchoPace pace);

} // namespace bench

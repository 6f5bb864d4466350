#pragma once

#include "bench/link.h"

#include <QtGlobal>

#include <string>

namespace bench {

/// Physical memory of the service's process around a large answer, in bytes.
struct AnswerMemory
{
    qint64 idle = 0; ///< after an "About"
    qint64 peak = 0; ///< until the service was done with the answer
    qint64 later = 0;
    qint64 answer = 0; ///< of the frame

    [[nodiscard]] qint64 beyondIdle() const { return peak - idle; }
};

/// Lets `caller` ask once for the full tree of objects. The service must not have answered anything large before: what
/// is left of that would count as idle.
[[nodiscard]] AnswerMemory measureTreeMemory(Link &service, int caller);

/// For a person.
[[nodiscard]] std::string memoryText(const AnswerMemory &memory);

} // namespace bench

#pragma once

#include "bench/link.h"
#include "bench/operator_readings.h"

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

/// Asks for the reading once. The service must not have answered anything large before: what is left of that would
/// count as idle.
[[nodiscard]] AnswerMemory measureMemory(Link &service, const Reading &reading);

/// For a person.
[[nodiscard]] std::string memoryText(const AnswerMemory &memory);

} // namespace bench

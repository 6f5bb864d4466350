#include "bench/answer_memory.h"

#include "bench/command_frames.h"
#include "bench/process_memory.h"

#include <cstdio>

namespace bench {

namespace {

constexpr double kMegabyte = 1e6;

} // namespace

AnswerMemory measureMemory(Link &service, const Reading &reading)
{
    AnswerMemory measured;
    const QByteArray about = commandFrame(reading.caller, "About");
    const ProcessMemory memory(service.peer());
    service.send(about);
    (void)service.receive();
    memory.forgetPeak();
    measured.idle = memory.resident();
    service.send(reading.request);
    measured.answer = service.receive().size();
    // Its answer comes when the service is done with the reading.
    service.send(about);
    (void)service.receive();
    measured.peak = memory.peak();
    measured.later = memory.resident();
    return measured;
}

std::string memoryText(const AnswerMemory &memory)
{
    char line[256];
    std::snprintf(line, sizeof line,
                  "the service's memory: %.1f MB idle, %.1f MB at most while it answers the first full tree, %.1f MB "
                  "afterwards:\n%.2f times the reply beyond idle\n",
                  static_cast<double>(memory.idle) / kMegabyte, static_cast<double>(memory.peak) / kMegabyte,
                  static_cast<double>(memory.later) / kMegabyte,
                  static_cast<double>(memory.beyondIdle()) / static_cast<double>(memory.answer));
    return line;
}

} // namespace bench

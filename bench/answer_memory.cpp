#include "bench/answer_memory.h"

#include "bench/command_frames.h"
#include "bench/process_memory.h"

#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

constexpr const char *kTree = "Get_full_objects_tree";
constexpr double kMegabyte = 1e6;

} // namespace

AnswerMemory measureTreeMemory(Link &service, int caller)
{
    AnswerMemory measured;
    const QByteArray about = commandFrame(caller, "About");
    const ProcessMemory memory(service.peer());
    service.send(about);
    (void)service.receive();
    memory.forgetPeak();
    measured.idle = memory.resident();
    service.send(commandFrame(caller, kTree));
    const QByteArray &answer = service.receive();
    measured.answer = answer.size();
    if (answerIn(answer, caller).action != kTree)
        throw std::runtime_error("the service did not answer with the tree");
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

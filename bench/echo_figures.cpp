#include "bench/echo_figures.h"

#include "bench/command_frames.h"
#include "bench/echo_frames.h"

#include <array>
#include <stdexcept>

namespace bench {

namespace {

constexpr const char *kSection = "Frames through the connector";
constexpr qsizetype kSmallest = 100;
constexpr int kStreamed = 500; ///< frames that are sent before the first answer is read
constexpr double kGoalLocal = 1.0;
constexpr double kGoalBare = 1.8;
constexpr double kGoalBareLargest = 2.5;

void ask(Link &link, const QByteArray &request, int frames, qsizetype expectedBytes)
{
    link.send(request);
    if (link.receive(frames).size() != expectedBytes)
        throw std::runtime_error("an answer of another length than before");
}

/// Refuses an echo that does not give back what it was sent.
void check(Echo &echo, const QByteArray &frame)
{
    echo.link().send(frame);
    const QByteArray answer = echo.link().receive();
    if (answer == frame)
        return;
    const bus::Action action = answerIn(answer, kEchoCaller);
    const QByteArray sent = std::get<bus::Command>(bus::decode(frame.sliced(sizeof(qint32)))).data;
    if (answer.size() != frame.size() || action.action != kEchoCommand || action.data != sent.sliced(kLongerAnswerHead))
        throw std::runtime_error("no echo from " + echo.name());
}

Interleaved::Id addAbout(Interleaved &measured, Link &service)
{
    constexpr int kRuns = 50;
    constexpr int kCaller = 1;
    const QByteArray request = commandFrame(kCaller, "About");
    service.send(request);
    const QByteArray answer = service.receive();
    if (answerIn(answer, kCaller).action != "About")
        throw std::runtime_error("the service did not answer \"About\"");
    return measured.add({"About of the running service", kRuns, 1,
                         [&service, request, bytes = answer.size()](Stopwatch &) { ask(service, request, 1, bytes); }});
}

} // namespace

Echo::Echo(std::string name, const std::vector<std::string> &kind, const std::string &socket)
    : m_name(std::move(name))
    , m_greets(kind.front() == "connector")
    , m_listener(std::make_unique<Listener>(socket))
{
    std::vector<std::string> commandLine{besideThisProgram("bus_echo"), socket};
    commandLine.insert(commandLine.end(), kind.begin(), kind.end());
    m_process = std::make_unique<Spawned>(commandLine);
}

Link &Echo::link()
{
    if (!m_link) {
        m_link = std::make_unique<Link>(m_listener->accept());
        m_listener.reset();
        if (m_greets)
            (void)m_link->receive();
    }
    return *m_link;
}

struct EchoFigures::Size
{
    const char *name;
    qsizetype bytes;
    int runs; ///< in a round
    std::optional<double> goalBare;
};

/// What takes part for one size.
struct EchoFigures::Trial
{
    Echo &connector;
    Echo &bare;
    Echo &bareEach;
    Echo &local;
    Echo &localEach;
};

EchoFigures::EchoFigures(std::string folder)
    : m_folder(std::move(folder))
{}

Echo &EchoFigures::start(const std::string &name, const std::vector<std::string> &kind)
{
    const std::string socket = m_folder + "/echo_" + std::to_string(m_echoes.size());
    return *m_echoes.emplace_back(std::make_unique<Echo>(name, kind, socket));
}

EchoFigures::Trial EchoFigures::startTrial()
{
    return {start("connector", {"connector"}), start("bare socket", {"bare"}),
            start("bare socket, a write each", {"bare", "--each"}), start("QLocalSocket", {"local"}),
            start("QLocalSocket, a flush each", {"local", "--each"})};
}

std::vector<HeldFigure> EchoFigures::addTurns(Interleaved &measured, const Size &size, const Trial &trial,
                                              Interleaved::Id about)
{
    const auto add = [&](Echo &echo) {
        const QByteArray frame = echoFrame(size.bytes);
        check(echo, frame);
        return measured.add({std::string(size.name) + ", " + echo.name(), size.runs, 1,
                             [&link = echo.link(), frame](Stopwatch &) { ask(link, frame, 1, frame.size()); }});
    };
    const auto connector = add(trial.connector);
    const auto bare = add(trial.bare);
    const auto local = add(trial.local);
    const auto localEach = add(trial.localEach);
    std::vector<HeldFigure> figures{{kSection, {connector, {bare}}, size.goalBare},
                                    {kSection, {connector, {local}}, kGoalLocal},
                                    {kSection, {connector, {localEach}}, {}}};
    if (size.bytes == kSmallest) {
        figures.push_back({kSection, {about, {bare}}, size.goalBare});
        figures.push_back({kSection, {about, {local}}, kGoalLocal});
    }
    return figures;
}

std::vector<HeldFigure> EchoFigures::addStreams(Interleaved &measured, const Trial &trial)
{
    constexpr int kRuns = 5;
    const auto add = [&](Echo &echo) {
        const QByteArray frame = echoFrame(kSmallest);
        check(echo, frame);
        return measured.add({"100 B streamed, " + echo.name(), kRuns, kStreamed,
                             [&link = echo.link(), frames = frame.repeated(kStreamed)](Stopwatch &) {
                                 ask(link, frames, kStreamed, frames.size());
                             }});
    };
    const auto connector = add(trial.connector);
    return {{kSection, {connector, {add(trial.bare)}}, kGoalBare},
            {kSection, {connector, {add(trial.bareEach)}}, {}},
            {kSection, {connector, {add(trial.local)}}, kGoalLocal},
            {kSection, {connector, {add(trial.localEach)}}, {}}};
}

std::vector<HeldFigure> EchoFigures::addFigures(Interleaved &measured, Link &service)
{
    static constexpr std::array<Size, 4> kSizes{{{"100 B", kSmallest, 50, kGoalBare},
                                                 {"10 KB", 10'000, 50, std::nullopt},
                                                 {"1 MB", 1'000'000, 5, kGoalBare},
                                                 {"40 MB", 40'000'000, 1, kGoalBareLargest}}};
    // All at once, since a connector makes its link 5 s after its start.
    std::vector<Trial> trials;
    for (std::size_t i = 0; i <= kSizes.size(); ++i)
        trials.push_back(startTrial());
    const auto about = addAbout(measured, service);
    std::vector<HeldFigure> figures;
    for (std::size_t i = 0; i < kSizes.size(); ++i) {
        const auto turns = addTurns(measured, kSizes[i], trials[i], about);
        figures.insert(figures.end(), turns.begin(), turns.end());
    }
    const auto streams = addStreams(measured, trials.back());
    figures.insert(figures.end(), streams.begin(), streams.end());
    return figures;
}

} // namespace bench

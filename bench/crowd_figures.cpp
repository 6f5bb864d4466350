#include "bench/crowd_figures.h"

#include "bench/command_frames.h"
#include "keystone/byte_reader.h"

#include <QtEndian>

#include <algorithm>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

constexpr const char *kSection = "Commands of many clients";
constexpr int kClients = 20;
constexpr std::size_t kCommandsInRun = 1000;
constexpr int kNobody = -1; ///< whom a notice names
constexpr double kGoal = 0.85;

const QByteArray &requestOf(const CrowdCommand &command, std::size_t number)
{
    return command.requests[static_cast<qsizetype>(number % kClients)];
}

int callerOf(const CrowdCommand &command, std::size_t number)
{
    return command.changes ? kNobody : static_cast<int>(number % kClients) + 1;
}

void checkAnswer(QByteArrayView answer, const CrowdCommand &command, int caller)
{
    if (answer.size() != command.answerBytes ||
        qFromBigEndian<qint32>(answer.data() + answer.size() - sizeof(qint32)) != caller)
        throw std::runtime_error(command.message.toStdString() + ": another answer");
}

} // namespace

CrowdFigures::CrowdFigures(Link &service, const std::string &database, int objects)
    : m_service(service)
    , m_database(database)
    , m_object(objects / 2 + 1)
    , m_commands(crowdCommands(m_object, kClients))
{
    std::vector<const CrowdCommand *> mixed;
    for (CrowdCommand &command : m_commands) {
        check(command);
        mixed.insert(mixed.end(), static_cast<std::size_t>(command.share), &command);
    }
    std::shuffle(mixed.begin(), mixed.end(), std::mt19937());
    for (std::size_t i = 0; i < kCommandsInRun; ++i)
        m_order.push_back(mixed[i % mixed.size()]);
}

/// Asks once alone and holds the answer against the database.
void CrowdFigures::check(CrowdCommand &command)
{
    m_service.send(requestOf(command, 0));
    const QByteArray frame = m_service.receive();
    command.answerBytes = frame.size();
    const bus::Action action = answerIn(frame, callerOf(command, 0));
    const Rows rows = m_database.text(command.proof);
    const int expected = QByteArray(PQgetvalue(rows.get(), 0, 0)).toInt();
    keystone::ByteReader in(action.data);
    qint32 object = 0;
    qint32 count = 1; // a notice holds none
    in >> object;
    if (!command.changes)
        in >> count;
    if (action.message != command.message || object != m_object || count != expected || count == 0)
        throw std::runtime_error(command.message.toStdString() + ": not what the database holds");
}

void CrowdFigures::askAll()
{
    FrameStream answers(m_service);
    // The service answers in order: whose answer comes is the one that has waited longest, and he asks again.
    std::size_t asked = 0;
    for (; asked < kClients; ++asked)
        m_service.send(requestOf(*m_order[asked], asked));
    for (std::size_t answered = 0; answered < m_order.size(); ++answered) {
        checkAnswer(answers.next(), *m_order[answered], callerOf(*m_order[answered], answered));
        if (asked < m_order.size()) {
            m_service.send(requestOf(*m_order[asked], asked));
            ++asked;
        }
    }
    if (answers.left() != 0)
        throw std::runtime_error("the service answered more than it was asked");
}

void CrowdFigures::queryAll()
{
    for (const CrowdCommand *command : m_order) {
        for (const Statement &statement : command->statements)
            (void)m_database.prepared(statement);
    }
}

std::vector<HeldFigure> CrowdFigures::addFigures(Interleaved &measured)
{
    constexpr int kRuns = 1;
    const int commands = static_cast<int>(m_order.size());
    const auto crowd = measured.add({"20 clients, one object", kRuns, commands, [this](Stopwatch &) { askAll(); }});
    const auto bare =
        measured.add({"PQexecPrepared, one connection", kRuns, commands, [this](Stopwatch &) { queryAll(); }});
    return {{kSection, {crowd, {bare}}, kGoal, true}};
}

void CrowdFigures::tidy()
{
    m_database.text(R"(VACUUM (INDEX_CLEANUP ON) "Objects_property")");
}

} // namespace bench

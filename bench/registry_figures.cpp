#include "bench/registry_figures.h"

#include "bench/attended_service.h"
#include "bench/command_frames.h"
#include "bench/object_operations.h"
#include "bench/operator_operations.h"
#include "bench/template_operations.h"
#include "keystone/byte_reader.h"

#include <QDeadlineTimer>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace bench {

namespace {

constexpr int kAsker = 9; ///< caller of what is asked besides the measured commands

/// How often it is run in a round: some milliseconds' worth.
int runsOf(MeasuredOperation &operation)
{
    constexpr double kWorth = 10e6;
    constexpr double kMost = 20;
    Stopwatch watch;
    operation.ask(watch);
    watch.pause();
    return static_cast<int>(std::clamp(std::round(kWorth / watch.nanoseconds()), 1.0, kMost));
}

} // namespace

RegistryFigures::RegistryFigures(RegistryPlace place, const std::string &log)
    : m_place(std::move(place))
    , m_service(attendService(m_place.admin))
    , m_database(m_place.database)
    , m_aside(m_place.database)
    , m_log(m_aside, log)
    , m_installation(installation(*m_service))
{
    if (!m_place.other.empty()) {
        m_other = attendService(m_place.other);
        m_otherInstallation.emplace(installation(*m_other));
    }
    // It puts back what commands have changed, which must not wait for the disk.
    m_aside.text("SET synchronous_commit = off");
    std::vector<Operation> operations{{"About", Kind::Plain, commandFrame(kCaller, "About")}};
    for (const std::vector<Operation> &some : {objectOperations(m_aside, static_cast<int>(m_place.objects)),
                                               operatorOperations(), templateOperations(*m_service, m_aside)})
        operations.insert(operations.end(), some.begin(), some.end());
    set("log_statement", "all");
    // What is read must be as it will be: what is written differs from what was there only the first time.
    for (const bool writing : {true, false}) {
        for (const Operation &operation : operations) {
            if (isWriting(operation) == writing)
                record(operation);
        }
    }
    set("log_statement", "none");
}

Installation RegistryFigures::installation(Link &service)
{
    const QByteArray about = commandFrame(kAsker, "About");
    service.send(about);
    return {service, m_database, m_aside, m_log, about, service.receive()};
}

void RegistryFigures::record(const Operation &operation)
{
    Pair pair{std::make_unique<MeasuredOperation>(operation, m_installation), nullptr};
    if (pair.own->isAnswered() && m_otherInstallation) {
        try {
            pair.other = std::make_unique<MeasuredOperation>(operation, *m_otherInstallation, pair.own.get());
        } catch (const std::runtime_error &error) {
            std::fprintf(stderr, "left out, since the other service does not do it: %s\n", error.what());
            for (const QByteArray &text : operation.restoration)
                m_aside.text(text);
            return;
        }
    }
    if (pair.own->isAnswered() && (!pair.other || pair.other->isAnswered()))
        m_operations.push_back(std::move(pair));
    else
        std::fprintf(stderr, "%s with %ld objects is left out: its answer would be too long to be sent\n",
                     operation.name.c_str(), m_place.objects);
}

bool RegistryFigures::sees(Link &service, const QByteArray &condition)
{
    service.send(commandFrame(kAsker, "Get_objs_by_query_v2", QString::fromUtf8("SELECT 1 WHERE " + condition)));
    const QByteArray data = answerIn(service.receive(), kAsker).data;
    keystone::ByteReader in(data);
    QList<qint32> numbers;
    in >> numbers;
    return numbers.size() == 1;
}

void RegistryFigures::set(const char *setting, const char *value)
{
    constexpr int kPatienceMs = 10000;
    const QByteArray condition = QByteArray("current_setting('") + setting + "') = '" + value + '\'';
    m_aside.text(QByteArray("ALTER SYSTEM SET ") + setting + " = '" + value + '\'');
    m_aside.text("SELECT pg_reload_conf()");
    const QDeadlineTimer deadline(kPatienceMs);
    while (!sees(*m_service, condition) || (m_other && !sees(*m_other, condition)) ||
           PQntuples(m_database.text("SELECT 1 WHERE " + condition).get()) != 1) {
        if (deadline.hasExpired())
            throw std::runtime_error(std::string("the database does not take ") + setting);
    }
}

void RegistryFigures::addTo(Interleaved &measured, Commits commits)
{
    m_commits = commits;
    m_lines.clear();
    for (const Pair &pair : m_operations) {
        // What writes many rows waits for the disk so long that nothing else is seen.
        if (commits == Commits::Asynchronous || pair.own->operation().kind == Kind::Writes)
            add(measured, pair);
    }
}

void RegistryFigures::add(Interleaved &measured, const Pair &pair)
{
    MeasuredOperation &own = *pair.own;
    const int runs = runsOf(own);
    const auto subject = measured.add({own.operation().name, runs, 1, [&own](Stopwatch &watch) { own.ask(watch); }});
    Line line{&own, subject, 0, std::nullopt};
    if (pair.other) {
        line.limit = measured.addBeside(
            subject, {m_place.otherName, runs, 1, [&other = *pair.other](Stopwatch &watch) { other.ask(watch); }});
    } else {
        line.limit =
            measured.addBeside(subject, {own.limitName(), runs, 1, [&own](Stopwatch &watch) { own.runAlone(watch); }});
        if (own.hasEcho() && !own.statements().empty())
            line.echo = measured.addBeside(subject, {"echo", runs, 1, [&own](Stopwatch &) { own.runEcho(); }});
    }
    m_lines.push_back(line);
}

void RegistryFigures::tidy()
{
    m_aside.text(
        R"(VACUUM (INDEX_CLEANUP ON) "Objects", "Objects_property", "Sensors", "Commands", "Params", "Connections", "Person_Setup", "Templates")");
}

double RegistryFigures::quit()
{
    Stopwatch watch;
    m_service->send(commandFrame(kAsker, "QuitSignal"));
    if (m_service->receiveOrEnd())
        throw std::runtime_error("the service answers \"QuitSignal\"");
    watch.pause();
    return watch.nanoseconds();
}

} // namespace bench

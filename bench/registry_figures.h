#pragma once

#include "bench/interleaved.h"
#include "bench/measured_operation.h"
#include "bench/results.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// A registry, and the service that works on it.
struct RegistryPlace
{
    long objects = 0;     ///< besides those that are measured
    std::string admin;    ///< socket that the service connects to
    std::string database; ///< in libpq's form
    std::string other;    ///< socket of another service that works on it, if there is one
    std::string otherName;
};

/// Whether a commit waits until the disk has it.
enum class Commits { Asynchronous, Durable };

/// All commands in one registry, each beside its own statements alone, or beside the same command of another service.
class RegistryFigures
{
public:
    /// Waits for the service, switches the cluster's log on for as long as it records, and runs everything once.
    RegistryFigures(RegistryPlace place, const std::string &log);

    /// Adds what is measured with such commits. This object must outlive the measurement.
    void addTo(Interleaved &measured, Commits commits);

    /// Clears away the rows that were replaced, so that one round finds what the last has found.
    void tidy();

    /// Lets the services see a setting and waits until they do. That leaves their sessions as new ones are.
    void set(const char *setting, const char *value);

    /// Adds what was measured to the file, and how it has grown from `smallest` to here, if that is another.
    void append(const std::string &path, const Interleaved &measured, const RegistryFigures &smallest) const;

    /// What was measured beside what pgbench says of the same statement, where a command has one that pgbench can run.
    void appendPgbench(const std::string &path, const Interleaved &measured) const;

    /// Where the service's time goes, while it does nothing but each of the commands for a while.
    void appendProfiles(const std::string &path);

    /// Ends the service by its command. Returns the nanoseconds until it has closed the link.
    [[nodiscard]] double quit();

    [[nodiscard]] const RegistryPlace &place() const { return m_place; }

private:
    struct Line
    {
        const MeasuredOperation *operation;
        Interleaved::Id subject;
        Interleaved::Id limit;
        std::optional<Interleaved::Id> echo; ///< of its frames, beside the statements
    };

    /// The same operation through the two services; the second may be missing.
    struct Pair
    {
        std::unique_ptr<MeasuredOperation> own;
        std::unique_ptr<MeasuredOperation> other;
    };

    [[nodiscard]] Installation installation(Link &service);
    void record(const Operation &operation);
    void add(Interleaved &measured, const Pair &pair);
    [[nodiscard]] static bool sees(Link &service, const QByteArray &condition);
    [[nodiscard]] Result resultOf(const Line &line, const Interleaved &measured) const;
    void appendGrowth(const std::string &path, const Line &line, const Interleaved &measured,
                      const RegistryFigures &smallest) const;
    void profile(const std::string &path, Kind kind);

    RegistryPlace m_place;
    std::unique_ptr<Link> m_service;
    std::unique_ptr<Link> m_other;
    BareConnection m_database; ///< runs the statements alone
    BareConnection m_aside;    ///< does all else
    StatementLog m_log;
    Installation m_installation;
    std::optional<Installation> m_otherInstallation;
    std::vector<Pair> m_operations;
    Commits m_commits = Commits::Asynchronous;
    std::vector<Line> m_lines;
};

/// Heading of the figures of such commands.
[[nodiscard]] const char *sectionOf(Kind kind);

[[nodiscard]] bool isWriting(const Operation &operation);

} // namespace bench

#pragma once

#include "bench/interleaved.h"
#include "bench/measured_operation.h"
#include "bench/results.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// A registry, and the service that works on it.
struct RegistryPlace
{
    long objects = 0;     ///< besides those that are measured
    std::string admin;    ///< socket that the service connects to
    std::string database; ///< in libpq's form
};

/// Whether a commit waits until the disk has it.
enum class Commits { Asynchronous, Durable };

/// All commands in one registry, each beside its own statements alone.
class RegistryFigures
{
public:
    /// Waits for the service, switches the cluster's log on for as long as it records, and runs everything once.
    RegistryFigures(RegistryPlace place, const std::string &log);

    /// Adds what is measured with such commits. This object must outlive the measurement.
    void addTo(Interleaved &measured, Commits commits);

    /// Clears away the rows that were replaced, so that one round finds what the last has found.
    void tidy();

    /// Lets the service see a setting and waits until it does.
    void set(const char *setting, const char *value);

    /// Adds what was measured to the file, and how it has grown from `smallest` to here, if that is another.
    void append(const std::string &path, const Interleaved &measured, const RegistryFigures &smallest) const;

    /// Ends the service by its command. Returns the nanoseconds until it has closed the link.
    [[nodiscard]] double quit();

    [[nodiscard]] const RegistryPlace &place() const { return m_place; }

private:
    struct Line
    {
        const MeasuredOperation *operation;
        Interleaved::Id subject;
        Interleaved::Id limit;
    };

    void record(const Operation &operation);
    [[nodiscard]] bool serviceSees(const QByteArray &condition);
    [[nodiscard]] Result resultOf(const Line &line, const Interleaved &measured) const;

    RegistryPlace m_place;
    std::unique_ptr<Link> m_service;
    BareConnection m_database; ///< runs the statements alone
    BareConnection m_aside;    ///< does all else
    StatementLog m_log;
    Installation m_installation;
    std::vector<std::unique_ptr<MeasuredOperation>> m_operations;
    Commits m_commits = Commits::Asynchronous;
    std::vector<Line> m_lines;
};

} // namespace bench

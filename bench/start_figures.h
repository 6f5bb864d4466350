#pragma once

#include "bench/bare_connection.h"
#include "bench/held_figure.h"
#include "bench/interleaved.h"
#include "bench/results.h"

#include <string>
#include <vector>

namespace bench {

/// How long the service takes from its exec to the line that says it is up, beside a bare connection to its database.
class StartFigures
{
public:
    /// `settings` is a file for services that nobody else speaks to, `log` the file that it names.
    StartFigures(std::string settings, std::string log, std::string database);

    /// Returns the table's lines. This object must outlive the measurement.
    [[nodiscard]] std::vector<HeldFigure> addFigures(Interleaved &measured);

    /// After the measurement: what the service takes beside its connection.
    [[nodiscard]] Result ownTime(const Interleaved &measured, long objects) const;

private:
    void start(Stopwatch &watch);
    void connect(Stopwatch &watch);
    [[nodiscard]] int connections();
    void awaitQuiet();

    std::string m_settings;
    std::string m_log;
    std::string m_database;
    BareConnection m_observer;
    int m_standing; ///< connections to the database that are there all the time
    Interleaved::Id m_start = 0;
    Interleaved::Id m_connect = 0;
};

} // namespace bench

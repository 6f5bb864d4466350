#pragma once

#include "bench/bare_connection.h"
#include "bench/crowd_commands.h"
#include "bench/frame_stream.h"
#include "bench/held_figure.h"
#include "bench/interleaved.h"
#include "bench/link.h"

#include <QByteArrayView>

#include <string>
#include <vector>

namespace bench {

/// What many clients get done together, who read one object and now and then change it: their requests share the
/// service's one administration link, each has one under way. Beside it the same statements, prepared before, one after
/// the other over one bare connection.
class CrowdFigures
{
public:
    /// The registry is registry.sql's, with the objects 1 to `objects`. `service` must outlive this. Throws where the
    /// service's answers are not what the database holds.
    CrowdFigures(Link &service, const std::string &database, int objects);

    [[nodiscard]] std::vector<HeldFigure> addFigures(Interleaved &measured);

    /// Removes what the changes have left; for between the rounds.
    void tidy();

private:
    void check(CrowdCommand &command);
    void askAll();
    void queryAll();

    Link &m_service;
    BareConnection m_database;
    int m_object;
    std::vector<CrowdCommand> m_commands;
    std::vector<const CrowdCommand *> m_order; ///< of one run
};

} // namespace bench

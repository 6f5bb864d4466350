#pragma once

#include "bench/answer_memory.h"
#include "bench/bare_connection.h"
#include "bench/checked_reading.h"
#include "bench/interleaved.h"
#include "bench/link.h"
#include "bench/operator_readings.h"
#include "bench/report.h"

#include <QtGlobal>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// What operators' clients read, through the running service, each command beside the COPY of its own statements one
/// by one over a bare connection.
class OperatorFigures
{
public:
    /// Looks at the service's memory while it answers the full tree for the first time, then asks it once for
    /// everything; throws where an answer is not, byte for byte, what the database holds.
    OperatorFigures(std::unique_ptr<Link> service, const std::string &database);

    /// Returns the table's lines. This object must outlive the measurement.
    [[nodiscard]] std::vector<Figure> addFigures(Interleaved &measured);

    /// What was read, in rows and bytes, and the memory that it took, as lines for a person.
    [[nodiscard]] std::string sizesText() const;

private:
    void ask(const Reading &reading, qsizetype expectedBytes);
    void copyOut(const Reading &reading);

    std::unique_ptr<Link> m_service;
    BareConnection m_database;
    std::vector<Reading> m_readings;
    std::vector<Answered> m_answered; ///< by reading
    AnswerMemory m_memory;
};

} // namespace bench

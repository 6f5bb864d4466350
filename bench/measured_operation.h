#pragma once

#include "bench/echo_peer.h"
#include "bench/interleaved.h"
#include "bench/operation.h"
#include "bench/statement_log.h"

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// One side of the two that are measured: the service, and the database that it works on.
struct Installation
{
    Link &service;
    BareConnection &database; ///< for what is measured
    BareConnection &aside;    ///< for all else
    StatementLog &log;        ///< switched on
    QByteArray about;         ///< the request
    QByteArray aboutAnswer;
};

/// A command through the running service, and the statements that it ran as its first run was recorded.
///
/// It is done when its last frame has arrived. Where the service works on after that, or says nothing, "About" is asked
/// right behind it and is to be answered, too.
class MeasuredOperation
{
public:
    /// Runs it once through the service and, where it writes, once by its statements alone; throws where the two do not
    /// leave the same. What it makes gets the numbers that `twin` has made, if there is one: the same operation through
    /// another service on the same database.
    MeasuredOperation(const Operation &operation, const Installation &at, const MeasuredOperation *twin = nullptr);

    [[nodiscard]] const Operation &operation() const { return m_operation; }

    /// False where it is not answered since the answer would be too long; there is nothing to measure then.
    [[nodiscard]] bool isAnswered() const { return m_frames > 0; }

    /// Runs it, and puts back what it has changed outside the time.
    void ask(Stopwatch &watch);

    /// The same for its statements alone, or for an echo of its frames where it has none.
    void runAlone(Stopwatch &watch);

    [[nodiscard]] std::string limitName() const;

    /// Whether runEcho() can run: of what is without the database, and of what reads one object.
    [[nodiscard]] bool hasEcho() const { return m_echo != nullptr; }

    /// Exchanges the same frames with a process that does nothing else.
    void runEcho();

    [[nodiscard]] const std::vector<RecordedStatement> &statements() const { return m_statements; }

private:
    void record();
    void checkReading();
    void checkWriting();
    void numberAsRecorded();
    void putBack();
    [[nodiscard]] QByteArray evidence();

    Operation m_operation;
    const Installation &m_at;
    QByteArray m_sent;      ///< the request, with "About" behind it where that is needed
    QByteArray m_answer;    ///< all that is to arrive
    int m_frames = 0;       ///< of it
    QByteArray m_numbering; ///< sets the sequences to where they were before the recorded run
    std::vector<RecordedStatement> m_statements;
    std::unique_ptr<Replay> m_replay; ///< of them, if there are any
    std::unique_ptr<EchoPeer> m_echo;
};

} // namespace bench

#pragma once

#include "bench/bare_connection.h"
#include "bench/interleaved.h"
#include "bench/link.h"
#include "bench/report.h"

#include "database/value.h"

#include <QByteArray>
#include <QList>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// Commands through the running service, each beside the very statements that it runs, sent one by one over a bare
/// connection. A command that has no answer takes as long as its last notice is away.
///
/// The registry is one of growth.sql with the objects 1 to `objects`, of which there are at least 1000. The numbers of
/// an object's rows, and the bytes of every answer, stay as they are while measuring.
class CommandFigures
{
public:
    /// Runs every command once; throws where its answer is not what the database holds, or the database afterwards not
    /// what was saved.
    CommandFigures(std::unique_ptr<Link> service, const std::string &database, int objects);

    /// Returns the table's lines. This object must outlive the measurement.
    [[nodiscard]] std::vector<Figure> addFigures(Interleaved &measured);

    /// Clears away the rows that saving has replaced, so that one round finds what the last has found.
    void tidy();

private:
    struct Statement
    {
        QByteArray text;
        QList<database::Value> values;
    };

    struct Operation
    {
        std::string name;
        int runs; ///< in a round
        QByteArray request;
        int frames; ///< how many the service sends for it
        std::vector<Statement> statements;
        QByteArray expected; ///< a query for one true or false that tells whether saving has worked; else empty
        qsizetype answerBytes = 0;
    };

    [[nodiscard]] static Operation readCard(int object);
    [[nodiscard]] static Operation readSensors(int object);
    [[nodiscard]] static Operation readCommands(int object, const char *which);
    [[nodiscard]] static Operation saveSensors(int object);
    [[nodiscard]] static Operation setSensor(const QList<qint32> &objects);

    void check(Operation &operation);
    void runBare(const Operation &operation);

    std::unique_ptr<Link> m_service;
    BareConnection m_database;
    std::vector<Operation> m_operations;
};

} // namespace bench

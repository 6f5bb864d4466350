#include "bench/template_figures.h"

#include "bench/command_frames.h"

#include <QtEndian>

#include <stdexcept>

namespace bench {

using database::Value;
using Row = TemplateStatement::Row;

namespace {

constexpr int kRuns = 3; ///< in a round

// growth.sql has numbered its objects by itself, which the sequence does not know.
constexpr const char *kNumberOn =
    R"(SELECT setval(pg_get_serial_sequence('"Objects"', 'Id'), max("Id")) FROM "Objects")";

} // namespace

TemplateFigures::TemplateFigures(std::unique_ptr<Link> service, const std::string &database)
    : m_service(std::move(service))
    , m_database(database)
{
    const MeasuredTemplate measured;
    for (const QByteArray &request : templateRequests(measured)) {
        m_service->send(request);
        (void)m_service->receive();
    }
    m_operations = {objectFromTemplate(measured, lastObject()), copyOfTemplate(measured)};
    for (TemplateOperation &operation : m_operations)
        check(operation);
    tidy();
}

int TemplateFigures::lastObject()
{
    return QByteArray(PQgetvalue(m_database.text(kNumberOn).get(), 0, 0)).toInt();
}

void TemplateFigures::ask(const TemplateOperation &operation)
{
    m_service->send(operation.request);
    // Of several frames the others are notices with the object's number.
    if (!m_service->receive(operation.frames).startsWith(operation.answer))
        throw std::runtime_error(operation.name + ": another answer");
}

void TemplateFigures::runBare(const TemplateOperation &operation, Execute execute)
{
    qint32 whole = 0;
    qint32 command = 0;
    for (const TemplateStatement &statement : operation.statements) {
        QList<Value> values = statement.values;
        if (statement.owner != Row::None)
            values.first() = Value::integer(statement.owner == Row::Whole ? whole : command);
        const Rows rows = (m_database.*execute)(statement.text, values);
        if (statement.gives != Row::None)
            (statement.gives == Row::Whole ? whole : command) = qFromBigEndian<qint32>(PQgetvalue(rows.get(), 0, 0));
    }
}

void TemplateFigures::remove(const TemplateOperation &operation)
{
    int removed = 0;
    for (const QByteArray &text : operation.removal)
        removed += QByteArray(PQcmdTuples(m_database.text(text).get())).toInt();
    if (removed != operation.rows)
        throw std::runtime_error(operation.name + ": " + std::to_string(removed) + " rows were made in place of " +
                                 std::to_string(operation.rows));
}

QByteArray TemplateFigures::made(TemplateOperation &operation, const std::function<void()> &make)
{
    make();
    QByteArray contents = PQgetvalue(m_database.text(operation.contents).get(), 0, 0);
    remove(operation);
    return contents;
}

void TemplateFigures::check(TemplateOperation &operation)
{
    const QByteArray served = made(operation, [&] {
        m_service->send(operation.request);
        const QByteArray frames = m_service->receive(operation.frames);
        const auto length = static_cast<qsizetype>(sizeof(qint32)) + qFromBigEndian<qint32>(frames.constData());
        operation.answer = frames.first(length);
        if (answerIn(operation.answer, kTemplateCaller).data != QByteArray(sizeof(qint32), '\0'))
            throw std::runtime_error("the service refused " + operation.name);
    });
    for (const Execute execute : {&BareConnection::binary, &BareConnection::prepared}) {
        if (made(operation, [&] { runBare(operation, execute); }) != served)
            throw std::runtime_error(operation.name + ": the service has made other rows than its statements make");
    }
}

Interleaved::Id TemplateFigures::add(Interleaved &measured, std::string name, const TemplateOperation &operation,
                                     std::function<void()> make)
{
    return measured.add({std::move(name), kRuns, 1, [this, &operation, make = std::move(make)](Stopwatch &watch) {
                             make();
                             watch.pause();
                             remove(operation);
                             watch.resume();
                         }});
}

std::vector<Figure> TemplateFigures::addFigures(Interleaved &measured)
{
    std::vector<Figure> figures;
    for (const TemplateOperation &operation : m_operations) {
        const auto subject = add(measured, operation.name, operation, [this, &operation] { ask(operation); });
        const auto params = add(measured, "PQexecParams, row by row", operation,
                                [this, &operation] { runBare(operation, &BareConnection::binary); });
        const auto prepared = add(measured, "PQexecPrepared, row by row", operation,
                                  [this, &operation] { runBare(operation, &BareConnection::prepared); });
        figures.push_back({subject, {params}});
        figures.push_back({subject, {prepared}});
    }
    return figures;
}

void TemplateFigures::tidy()
{
    (void)m_database.text(
        R"(VACUUM (INDEX_CLEANUP ON) "Objects", "Objects_property", "Sensors", "Commands", "Params", "Templates")");
}

std::string TemplateFigures::sizesText() const
{
    std::string text;
    for (const TemplateOperation &operation : m_operations)
        text += operation.name + ": " + std::to_string(operation.statements.size()) + " statements, " +
                std::to_string(operation.rows) + " rows made\n";
    return text;
}

} // namespace bench

#pragma once

#include "bench/bare_connection.h"
#include "bench/interleaved.h"
#include "bench/link.h"
#include "bench/report.h"
#include "bench/template_operations.h"

#include "database/value.h"

#include <QByteArray>
#include <QList>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

/// An object from a template and a copy of the template, through the running service, beside the same statements with
/// the same values in the same order over a bare connection, each row a commit of its own: by PQexecParams, and by
/// statements that were made ready before.
///
/// The registry is one of growth.sql, without templates. What a run has made is removed outside its time.
class TemplateFigures
{
public:
    /// Makes the template through the service, then everything once in every way; throws where the database does not
    /// hold the same rows each time.
    TemplateFigures(std::unique_ptr<Link> service, const std::string &database);

    /// Returns the table's lines. This object must outlive the measurement.
    [[nodiscard]] std::vector<Figure> addFigures(Interleaved &measured);

    /// Clears away the rows that were removed, so that one round finds what the last has found.
    void tidy();

    /// How many statements and rows each command takes, as lines for a person.
    [[nodiscard]] std::string sizesText() const;

private:
    using Execute = Rows (BareConnection::*)(const QByteArray &, const QList<database::Value> &);

    [[nodiscard]] int lastObject();
    void ask(const TemplateOperation &operation);
    void runBare(const TemplateOperation &operation, Execute execute);
    void remove(const TemplateOperation &operation);
    [[nodiscard]] QByteArray made(TemplateOperation &operation, const std::function<void()> &make);
    void check(TemplateOperation &operation);
    [[nodiscard]] Interleaved::Id add(Interleaved &measured, std::string name, const TemplateOperation &operation,
                                      std::function<void()> make);

    std::unique_ptr<Link> m_service;
    BareConnection m_database;
    std::vector<TemplateOperation> m_operations;
};

} // namespace bench

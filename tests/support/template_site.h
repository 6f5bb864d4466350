#pragma once

#include "registry_site.h"
#include "template_bytes.h"

namespace support {

/// The two tables of templates.
inline const QString kOwn = QStringLiteral("Templates");
inline const QString kSupplied = QStringLiteral("TemplatesFirm");

/// A row of such a table; null texts and data are NULL.
struct TemplateRow
{
    int owner = 0;
    char kind = 'p';
    QString name;
    QString description;
    QByteArray data;
};
/// The row as TemplateSite::stored() says it.
[[nodiscard]] QString said(const TemplateRow &row);

/// A RegistrySite whose functions also begin without a template.
class TemplateSite : public RegistrySite
{
public:
    /// Rows that the database numbers itself begin at 1000 in every table, so numbers below are free.
    void beginFunction();
    void give(const QString &table, int id, const TemplateRow &row);
    /// The rows in the order of their numbers, in the form of said().
    [[nodiscard]] QStringList stored(const QString &table, const QString &condition = QStringLiteral("true"));
    /// Every row of `table` with its place and version: what says the same twice was not even written again.
    [[nodiscard]] QStringList written(const QString &table);
    /// The commands of template `owner`, each followed by its parameters' names, in the order of their rows.
    [[nodiscard]] QStringList commandNames(int owner);
    [[nodiscard]] QString count(const QString &table, const QString &condition = QStringLiteral("true"));
};

} // namespace support

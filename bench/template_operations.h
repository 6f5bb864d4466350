#pragma once

#include "bench/measured_template.h"

#include "database/value.h"

#include <QByteArray>
#include <QList>

#include <string>
#include <vector>

namespace bench {

/// One of a command's statements, whose first value may be the number of the row that it belongs to.
struct TemplateStatement
{
    enum class Row { None, Whole, Command };

    QByteArray text;
    QList<database::Value> values;
    Row owner = Row::None; ///< whose number takes the place of the first value
    Row gives = Row::None; ///< whose number its first row holds
};

/// A command that writes a template's rows, with all its statements in their order.
struct TemplateOperation
{
    std::string name;
    QByteArray request;
    int frames = 1; ///< that the service sends for it
    std::vector<TemplateStatement> statements;
    QByteArray contents;             ///< a query for all that was made, as one text
    std::vector<QByteArray> removal; ///< statements that remove it
    int rows = 0;                    ///< that are made
    QByteArray answer;               ///< the first frame
};

/// All is asked in the name of this operator.
inline constexpr int kTemplateCaller = 7;

/// The requests that make template 1, each with one answer.
[[nodiscard]] std::vector<QByteArray> templateRequests(const MeasuredTemplate &measured);

/// "Create_obj_by_template_v2" of template 1, in a registry with the objects 1 to `lastObject`.
[[nodiscard]] TemplateOperation objectFromTemplate(const MeasuredTemplate &measured, int lastObject);

/// "Copy_template_v2" of template 1, which is the only one.
[[nodiscard]] TemplateOperation copyOfTemplate(const MeasuredTemplate &measured);

} // namespace bench

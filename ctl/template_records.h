#pragma once

#include "ctl/session.h"

#include <QList>

/// The list of templates. A negative number is a supplied template's, which no command changes.
namespace ctl {

struct TemplateHead
{
    qint32 number = 0;
    QByteArray title; ///< UTF-8
};

using TemplateHeads = QList<TemplateHead>;

/// Decodes an answer of "Get_template_list_v2".
[[nodiscard]] Result<TemplateHeads> decodeTemplates(const QByteArray &reply);

/// Asks the service for all templates.
[[nodiscard]] Result<TemplateHeads> fetchTemplates(Session &session);

/// Null when there is none.
[[nodiscard]] const TemplateHead *findTemplate(const TemplateHeads &templates, qint32 number);

/// "there is no template 7".
[[nodiscard]] Failure noTemplate(qint32 number);

/// Asks the service for its templates; a failure when `number` is none of them.
[[nodiscard]] Outcome requireTemplate(Session &session, qint32 number);

/// The template of this title that is in `after` and not in `before`; null when there is none.
[[nodiscard]] const TemplateHead *findNewTemplate(const TemplateHeads &before, const TemplateHeads &after,
                                                  const QByteArray &title);

[[nodiscard]] QString templatesTable(const TemplateHeads &templates);
[[nodiscard]] QString templatesJson(const TemplateHeads &templates);

} // namespace ctl

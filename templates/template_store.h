#pragma once

#include "database/connection.h"

#include <QByteArray>

#include <optional>

namespace registry {
class CommandCall;
}

namespace templates {

void getTemplateListV2(registry::CommandCall &call);
/// Creates, renames or deletes a template of the installation's own, by the sign of the first field.
void fixTemplateDescV2(registry::CommandCall &call);

/// Adds an empty template and gives its number: the highest one plus one. Nothing when the insert failed.
[[nodiscard]] std::optional<qint32> insertTemplate(database::Connection &db, const QString &title);

} // namespace templates

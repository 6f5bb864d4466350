#pragma once

#include "templates/template_card.h"

#include <optional>

namespace templates {

void getTemplateControlsV2(registry::CommandCall &call);
void saveTemplateControlsV2(registry::CommandCall &call);

/// Walks a template's commands in their order, each followed by its parameters. What the two do stops nothing. Nothing
/// at all is emitted when the commands cannot be counted.
void readControls(database::Connection &db, qint32 number, const std::function<void(const CmdDesc &)> &emitCommand,
                  const std::function<void(const ParamDesc &)> &emitParameter);

/// Adds a command to an own template and gives its row key; nothing when the insert failed.
[[nodiscard]] std::optional<qint32> insertTemplateCommand(database::Connection &db, qint32 number,
                                                          const CmdDesc &command);

/// Adds a parameter to the template command with row key `command`. False when the insert failed.
[[nodiscard]] bool insertTemplateParameter(database::Connection &db, qint32 command, const ParamDesc &parameter);

/// The same where it does not matter whether the insert succeeds; it is not waited for.
void postTemplateParameter(database::Connection &db, qint32 command, const ParamDesc &parameter);

} // namespace templates

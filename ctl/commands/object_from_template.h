#pragma once

#include "ctl/session.h"

#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace ctl {

/// What "object create" needs besides a name when the object is to be made from a template.
struct TemplateChoice
{
    std::optional<qint32> number; ///< no value: without a template
    std::string modem;
    std::string subdivision;
};

void addTemplateOptions(CLI::App &create, TemplateChoice &choice);

/// Makes an object from the template `choice.number` and says its number.
[[nodiscard]] Outcome createFromTemplate(Session &session, const std::string &name, const TemplateChoice &choice);

} // namespace ctl

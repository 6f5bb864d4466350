#pragma once

#include "database/value.h"

#include <QByteArray>
#include <QList>

namespace database {

/// A statement of the service's own. Its placeholders are "?" in order, or "%0", "%1", ... for the values in that
/// order; neither may stand anywhere else in it.
struct Statement
{
    QByteArray text;
    QList<Value> values;

    [[nodiscard]] bool operator==(const Statement &) const = default;
};

} // namespace database

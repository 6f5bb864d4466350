#pragma once

#include "database/connection.h"

#include <QString>

namespace templates {

/// Where a template lies. To clients the installation's own templates have positive numbers, the supplied ones, which
/// no command changes, negative ones.
struct TemplatePlace
{
    QString table; ///< name without quotes
    qint64 number; ///< as it stands in the table

    /// The place of the template that clients call `number`.
    [[nodiscard]] static TemplatePlace of(qint32 number);

    /// `statement` with %0 replaced by the table and %1 by the number.
    [[nodiscard]] QString fill(const char *statement) const;

    /// Runs `statement`, in which %0 is the table and %1 the number.
    [[nodiscard]] database::Result query(database::Connection &db, const char *statement) const;

    /// The same without waiting for it.
    void post(database::Connection &db, const char *statement) const;
};

} // namespace templates

#pragma once

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
};

} // namespace templates

#pragma once

#include "ctl/session.h"

#include <QByteArray>
#include <QList>

namespace ctl {

struct NamedObject
{
    qint32 object = 0;
    QByteArray name; ///< UTF-8
};

/// Asks the service for all objects that have a name, the newest first.
[[nodiscard]] Result<QList<NamedObject>> fetchObjectNames(Session &session);

/// Decodes its answer.
[[nodiscard]] Result<QList<NamedObject>> decodeObjectNames(const QByteArray &reply);

} // namespace ctl

#pragma once

#include <QSqlDatabase>
#include <QSqlError>
#include <QString>

/// Login of operator account `id`; empty for an unknown account or when the statement fails. `error`, where given, is
/// set to the statement's outcome.
[[nodiscard]] QString userNameByID(unsigned int id, const QSqlDatabase &db, QSqlError *error);

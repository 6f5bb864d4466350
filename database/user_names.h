#pragma once

#include "database/connection.h"

/// Login of operator account `id`; empty for an unknown account or when the statement fails.
[[nodiscard]] QString userNameByID(unsigned int id, database::Connection &db);

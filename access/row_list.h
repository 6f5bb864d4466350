#pragma once

#include "database/connection.h"
#include "keystone/byte_writer.h"

#include <functional>

namespace operators {

/// What stands for the number of rows where the statement failed.
enum class FailedCount : qint32 { Zero = 0, MinusOne = -1 };

/// Writes the number of rows of `select` and then each row as `writeRow` does, as they arrive: of a large result only
/// the reply is in memory. A statement that fails, also after rows have come, leaves `failed` and no rows.
void writeRowList(keystone::ByteWriter &out, database::Connection &db, const QByteArray &select, FailedCount failed,
                  const std::function<void(const database::CopiedRow &row)> &writeRow);

} // namespace operators

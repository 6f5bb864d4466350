#include "access/row_list.h"

namespace operators {

void writeRowList(keystone::ByteWriter &out, database::Connection &db, const QByteArray &select, FailedCount failed,
                  const std::function<void(const database::CopiedRow &row)> &writeRow)
{
    const qsizetype start = out.position();
    qint32 count = 0;
    out << count;
    const bool done = db.forEachRow(select, [&](const database::CopiedRow &row) {
        writeRow(row);
        ++count;
    });
    if (!done) {
        out.cutBack(start);
        out << static_cast<qint32>(failed);
        return;
    }
    out.overwrite(start, count);
}

} // namespace operators

#include "access/row_list.h"

#include "keystone/stream.h"

namespace operators {

void writeRowList(QDataStream &out, database::Connection &db, const QString &select, FailedCount failed,
                  const std::function<void(const database::Result &row)> &writeRow)
{
    const qint64 start = out.device()->pos();
    qint32 count = 0;
    out << count;
    const bool done = db.forEachRow(select, [&](const database::Result &row) {
        writeRow(row);
        ++count;
    });
    if (!done) {
        keystone::cutBack(out, start);
        out << static_cast<qint32>(failed);
        return;
    }
    const qint64 end = out.device()->pos();
    out.device()->seek(start);
    out << count;
    out.device()->seek(end);
}

} // namespace operators

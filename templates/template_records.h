#pragma once

#include "database/connection.h"
#include "registry/command_call.h"
#include "templates/template_table.h"

#include <functional>

/// What a template's card and its sensors have in common: rows that are read in their order and saved all anew.
namespace templates {

/// Writes the template that the request names: its number without the sign, how many rows `select` has in it (-1 when
/// they could not be read), and each of them by `writeRow`.
inline void writeRecords(registry::CommandCall &call, const char *select,
                         void (*writeRow)(keystone::ByteWriter &, const database::Result &, int))
{
    const auto place = TemplatePlace::of(call.in.read<qint32>());
    const auto rows = place.query(call.db, select);
    call.out << static_cast<qint32>(place.number) << rows.size();
    for (int row = 0; row < rows.rowCount(); ++row)
        writeRow(call.out, rows, row);
}

/// Walks the rows of `select` in the template that clients call `number`. What `emitRecord` does stops nothing.
template <typename Record>
void readRecords(database::Connection &db, qint32 number, const char *select,
                 Record (*fromRow)(const database::Result &, int),
                 const std::function<void(const Record &)> &emitRecord)
{
    const auto rows = TemplatePlace::of(number).query(db, select);
    for (int row = 0; row < rows.rowCount(); ++row)
        emitRecord(fromRow(rows, row));
}

/// Replaces the rows that `deleteAll` takes by the records of the request; supplied templates are left alone. A row
/// that cannot be written is left out.
template <typename Record>
void saveRecords(registry::CommandCall &call, const char *deleteAll,
                 void (*post)(database::Connection &, qint32, const Record &))
{
    const auto number = call.in.read<qint32>();
    if (number < 0)
        return;
    const auto count = call.in.recordCount();
    if (!count)
        return;
    TemplatePlace::of(number).post(call.db, deleteAll);
    for (qint32 i = 0; i < *count; ++i)
        post(call.db, number, call.in.read<Record>());
}

} // namespace templates

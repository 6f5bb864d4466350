#include "registry/command_rows.h"

#include "records/record_rows.h"

namespace registry {

namespace {

constexpr const char *kInsertCommand =
    R"(INSERT INTO "Commands"("Id", "Id_object", "Name", "Operation", "Description", "ExecBy") VALUES (DEFAULT, ?, ?, ?, ?, ?) RETURNING "Id";)";
constexpr const char *kInsertParameter =
    R"(INSERT INTO "Params"("Id_command", "Name", "Description", "Value", "Type") VALUES (?, ?, ?, ?, ?))";

} // namespace

std::optional<qint32> insertCommand(database::Connection &db, qint32 object, const CmdDesc &command)
{
    const auto rows = db.query(kInsertCommand, records::bind(object, command));
    if (rows.rowCount() == 0)
        return std::nullopt;
    return rows.integer(0, 0);
}

bool insertParameter(database::Connection &db, qint32 command, const ParamDesc &parameter)
{
    return db.query(kInsertParameter, records::bind(command, parameter)).ok();
}

void postParameter(database::Connection &db, qint32 command, const ParamDesc &parameter)
{
    db.post(kInsertParameter, records::bind(command, parameter));
}

} // namespace registry

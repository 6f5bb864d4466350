#include "access/operator_commands.h"

#include "access/row_list.h"
#include "registry/command_call.h"

namespace operators {

using database::Value;
using registry::CommandCall;

namespace {

constexpr const char *kSelectAccounts = R"(SELECT * FROM "Connections" ORDER BY "Login")";
constexpr const char *kSelectNames =
    R"( SELECT obj_prop."Id_objects", obj_prop."Name",  obj_prop."Value",  obj_prop."Type"   FROM "Objects_property" obj_prop  where obj_prop."Name" = 'name'   order by "Id_objects" desc)";
// Counts the parameters of these commands only; a command without any counts NULL.
constexpr const char *kSelectAllowed =
    R"(SELECT cmd."Name", cmd."Operation", cmd."Description", cmd."ExecBy", cmd."Id", p."NumParams" FROM "Person_Setup" perm , "Commands" cmd LEFT JOIN LATERAL (select count(*) AS "NumParams" from "Params" where "Id_command" = cmd."Id" having count(*) > 0) p ON true where cmd."Id_object" = %0 and perm."Id_object" = cmd."Id_object" and perm."Id_connect" = %1 and perm."Id_PersProp" = %2 and cmd."Operation" = %3 ORDER BY cmd."Operation" )";
constexpr const char *kSelectParams =
    R"(SELECT "Name", "Description", "Value", "Type" FROM "Params" WHERE "Id_command" = %0  ORDER BY "Id")";
constexpr const char *kUpdateParam = R"(UPDATE "Params" SET "Value" = ? WHERE "Id_command" = ? AND "Name" = ? )";

/// The columns of kSelectNames that are sent.
enum NameColumn { NamedObject = 0, ObjectName = 2 };

/// The columns of kSelectAllowed.
enum Column { Name, Operation, Description, ExecBy, Id, NumParams };

/// The right to commands of operation kind k is personal property 200 + k.
constexpr qint64 kFirstRight = 200;

database::Statement selectAllowed(qint32 object, int caller, qint32 kind)
{
    return {
        kSelectAllowed,
        {Value::integer(object), Value::integer(caller), Value::bigInteger(kFirstRight + kind), Value::integer(kind)}};
}

database::Statement selectParams(qint32 command)
{
    return {kSelectParams, {Value::integer(command)}};
}

} // namespace

void getUserList(CommandCall &call)
{
    const auto rows = call.db.query(kSelectAccounts);
    const int id = rows.column("Id");
    const int login = rows.column("Login");
    const int password = rows.column("Password");
    const int description = rows.column("Description");
    const int admin = rows.column("Admin");
    const int email = rows.column("Email");
    const int phone = rows.column("Phone");
    call.out << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row) {
        call.out << rows.integer(row, id) << rows.utf8(row, login) << rows.utf8(row, password)
                 << rows.utf8(row, description) << (rows.integer(row, admin) != 0) << rows.utf8(row, email)
                 << rows.utf8(row, phone);
    }
}

void getObjects(CommandCall &call)
{
    writeRowList(call.out, call.db, kSelectNames, FailedCount::Zero,
                 [&](const database::CopiedRow &row) { call.out << row.integer(NamedObject) << row.view(ObjectName); });
}

QList<database::Statement> allowedReads(registry::RequestReader &in, int caller)
{
    const auto object = in.read<qint32>();
    return {selectAllowed(object, caller, in.read<qint32>())};
}

void getObjectCommand(CommandCall &call)
{
    const auto object = call.in.read<qint32>();
    const auto kind = call.in.read<qint32>();
    const auto rows = call.db.query(selectAllowed(object, call.caller(), kind));
    call.out << object << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row) {
        call.out << rows.view(row, Name) << rows.integer(row, Operation) << rows.utf8(row, Description)
                 << rows.view(row, ExecBy) << rows.integer(row, NumParams) << rows.integer(row, Id);
    }
    call.out << kind;
}

QList<database::Statement> paramReads(registry::RequestReader &in, int)
{
    return {selectParams(in.read<qint32>())};
}

void getCommandParams(CommandCall &call)
{
    const auto rows = call.db.query(selectParams(call.in.read<qint32>()));
    call.out << rows.rowCount();
    for (int row = 0; row < rows.rowCount(); ++row)
        call.out << rows.view(row, 0) << rows.utf8(row, 1) << rows.integer(row, 3) << rows.view(row, 2);
}

void saveParams(CommandCall &call)
{
    (void)call.in.read<qint32>(); // means nothing: the next number of the same kind took its place
    const auto command = call.in.read<qint32>();
    const auto count = call.in.recordCount();
    if (!count)
        return;
    for (qint32 i = 0; i < *count; ++i) {
        const auto name = call.in.read<QByteArray>();
        const auto value = call.in.read<QByteArray>();
        call.db.post(kUpdateParam,
                     {Value::bytes(value), Value::integer(command), Value::text(QString::fromUtf8(name))});
    }
}

} // namespace operators

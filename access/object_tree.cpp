#include "access/object_tree.h"

#include "access/row_list.h"
#include "access/working_adm_commands.h"
#include "keystone/stream.h"
#include "registry/command_call.h"

#include <QColor>
#include <QImage>

using operators::FailedCount;
using operators::writeRowList;
using registry::CommandCall;

namespace {

constexpr const char *kSelectAllObjects =
    R"(SELECT obj_prop."Id_objects", obj_prop."Value" AS "Name", obj_prop1."Value" AS "pic", obj_prop2."Value" AS "font_color", obj_prop3."Value" AS "background_color" FROM "Objects_property" obj_prop LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'pic') AS obj_prop1 ON obj_prop1."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'font_color') AS obj_prop2 ON obj_prop2."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'background_color') AS obj_prop3 ON obj_prop3."Id_objects" = obj_prop."Id_objects" WHERE obj_prop."Name" LIKE 'name' ORDER BY "Id_objects")";
constexpr const char *kSelectWatchedObjects =
    R"(SELECT obj_prop."Id_objects", obj_prop."Value" AS "Name", obj_prop1."Value" AS "pic", obj_prop2."Value" AS "font_color", obj_prop3."Value" AS "background_color" FROM "Objects_property" obj_prop LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'pic') AS obj_prop1 ON obj_prop1."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'font_color') AS obj_prop2 ON obj_prop2."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'background_color') AS obj_prop3 ON obj_prop3."Id_objects" = obj_prop."Id_objects" , "Person_Setup" perm WHERE obj_prop."Id_objects" = perm."Id_object" AND perm."Id_PersProp" = %1 AND perm."Id_connect" = %0 AND perm."Type" = %2 AND obj_prop."Name" LIKE 'name' ORDER BY "Id_objects")";
constexpr const char *kSelectGroups = R"(SELECT "Id", "Name" FROM "Groups" order by "Name")";
constexpr const char *kSelectNesting =
    R"(SELECT g."Id_owner_group", g."Id_qroup" FROM "Groups_groups" as g, "Groups" as gg where gg."Id" = g."Id_qroup" order by "Name")";
constexpr const char *kSelectMembership =
    R"(SELECT o."Id_group", o."Id_object" FROM "Groups_objects" as o, "Objects_property" as p where o."Id_object" = p."Id_objects" and p."Name" = 'name' order by convert_from(p."Value", 'utf8'))";

constexpr int kAllObjects = -1;
constexpr int kRightToWatch = 201;
constexpr int kObjectSection = 1;

/// Pictures and colours are stored as clients stream them and go out as they are; `absent` stands for one that is not
/// there.
void writePacked(keystone::ByteWriter &out, const database::CopiedRow &row, qsizetype column, const QByteArray &absent)
{
    out.append(row.isNull(column) ? absent : row.view(column));
}

void writeObjects(const QByteArray &select, database::Connection &db, keystone::ByteWriter &out)
{
    const QByteArray noPicture = keystone::streamed(QImage());
    const QByteArray noColour = keystone::streamed(QColor());
    writeRowList(out, db, select, FailedCount::MinusOne, [&](const database::CopiedRow &row) {
        out << row.integer(0) << row.view(1);
        writePacked(out, row, 2, noPicture);
        writePacked(out, row, 3, noColour);
        writePacked(out, row, 4, noColour);
    });
}

void writeGroups(database::Connection &db, keystone::ByteWriter &out)
{
    writeRowList(out, db, kSelectGroups, FailedCount::MinusOne,
                 [&](const database::CopiedRow &row) { out << row.integer(0) << row.view(1); });
}

/// Links between two numbers, of which column `first` goes out first.
void writeLinks(const char *select, int first, database::Connection &db, keystone::ByteWriter &out)
{
    writeRowList(out, db, select, FailedCount::MinusOne,
                 [&](const database::CopiedRow &row) { out << row.integer(first) << row.integer(1 - first); });
}

} // namespace

void WorkingAdmCommands::GetObjectTree(int idConnect, database::Connection &db, keystone::ByteWriter &out)
{
    const QByteArray select = idConnect < 1 ? QByteArray(kSelectAllObjects)
                                            : QString::fromLatin1(kSelectWatchedObjects)
                                                  .arg(QString::number(idConnect), QString::number(kRightToWatch),
                                                       QString::number(kObjectSection))
                                                  .toLatin1();
    writeObjects(select, db, out);
    // Rights filter the objects only: the rest of the tree goes out whole.
    writeGroups(db, out);
    // The inner group first, unlike in the statement.
    writeLinks(kSelectNesting, 1, db, out);
    writeLinks(kSelectMembership, 0, db, out);
}

namespace operators {

void getObjectsTree(CommandCall &call)
{
    WorkingAdmCommands::GetObjectTree(call.caller(), call.db, call.out);
}

void getFullObjectsTree(CommandCall &call)
{
    WorkingAdmCommands::GetObjectTree(kAllObjects, call.db, call.out);
}

} // namespace operators

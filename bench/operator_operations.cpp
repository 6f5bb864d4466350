#include "bench/operator_operations.h"

#include "bench/command_frames.h"

#include <QString>

namespace bench {

namespace {

/// As registry.sql has made them.
enum Account { SomeObjects = 1, AllObjects, CopyTarget, Setup, Changed = 6, Deleted, Last = 200 };

constexpr const char *kNewest =
    R"(SELECT string_agg(c::text, ',' ORDER BY "Id") FROM "Connections" c WHERE "Id" > 200)";
constexpr const char *kAccount = R"(SELECT c::text FROM "Connections" c WHERE "Id" = 6)";
constexpr const char *kDeleted =
    R"(SELECT concat_ws('|', (SELECT count(*) FROM "Connections" WHERE "Id" = 7), (SELECT count(*) FROM "Objects_permission" WHERE "Id_connection" = 7), (SELECT count(*) FROM "Person_Setup" WHERE "Id_connect" = 7)))";
constexpr const char *kSetup =
    R"(SELECT md5(string_agg(s::text, ',' ORDER BY s)) FROM "Person_Setup" s WHERE "Id_connect" = %1)";

constexpr const char *kRemoveNewest = R"(DELETE FROM "Connections" WHERE "Id" > 200)";
constexpr const char *kPutBack =
    R"(INSERT INTO "Connections" SELECT * FROM kept.account WHERE "Id" NOT IN (SELECT "Id" FROM "Connections" WHERE "Id" = 7);
       DELETE FROM "Objects_permission" WHERE "Id_connection" = 7; INSERT INTO "Objects_permission" SELECT * FROM kept.permissions;
       DELETE FROM "Person_Setup" WHERE "Id_connect" = 7; INSERT INTO "Person_Setup" SELECT * FROM kept.setup WHERE "Id_connect" = 7)";
constexpr const char *kPutBackSetup =
    R"(DELETE FROM "Person_Setup" WHERE "Id_connect" = 4; INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") SELECT 1, 4, object, 203 FROM generate_series(1, 100) AS object)";

/// A client's own: the objects of all groups in the first one.
constexpr const char *kClientQuery =
    R"(SELECT "Id_object" FROM "Groups_objects" WHERE "Id_group" IN (SELECT "Id_qroup" FROM "Groups_groups" WHERE "Id_owner_group" = 1) ORDER BY "Id_object")";

QByteArray filled(const char *text, int account)
{
    return QString::fromUtf8(text).arg(account).toUtf8();
}

template <typename... Fields>
QByteArray asked(const char *command, const Fields &...fields)
{
    return commandFrame(kCaller, command, fields...);
}

template <typename... Fields>
QByteArray askedBy(Account caller, const char *command, const Fields &...fields)
{
    return commandFrame(caller, command, fields...);
}

QByteArray fixedAccount(qint32 selector)
{
    return asked("Fix_user", selector, QStringLiteral("login"), QStringLiteral("password"), QStringLiteral("Оператор"),
                 QStringLiteral("operator@example.org"), QStringLiteral("0123456789"), false);
}

QList<qint32> firstObjects(qint32 count)
{
    QList<qint32> objects;
    for (qint32 object = 1; object <= count; ++object)
        objects.append(object);
    return objects;
}

std::vector<Operation> accounts()
{
    return {
        {"Get_user_list, 200 accounts", Kind::Reads, asked("Get_user_list")},
        {"Get_users_list, 200 accounts", Kind::Reads, asked("Get_users_list")},
        {"Fix_user, create", Kind::Writes, fixedAccount(0), kNewest, {kRemoveNewest}},
        {"Fix_user, change", Kind::Writes, fixedAccount(Changed), kAccount},
        {"Fix_user, delete", Kind::Writes, asked("Fix_user", qint32(-Deleted)), kDeleted, {kPutBack}},
    };
}

std::vector<Operation> setups()
{
    constexpr qint32 kSection = 1;
    return {
        {"Get_persprop4objects_desc", Kind::Plain, asked("Get_persprop4objects_desc")},
        {"Get_personalsetup4objects_X, 850 objects",
         Kind::ReadsAll,
         asked("Get_personalsetup4objects_X", qint32(SomeObjects)),
         {},
         {},
         Limit::Copied},
        {"Fix_personal_setup_changes, 100 objects",
         Kind::Writes,
         asked("Fix_personal_setup_changes", kSection, qint32(Setup), firstObjects(100), QList<qint32>{203},
               QList<qint32>{201, 202}),
         filled(kSetup, Setup),
         {kPutBackSetup}},
        {"Copy_personal_setup, 2550 rows", Kind::Writes,
         asked("Copy_personal_setup", kSection, qint32(SomeObjects), QList<qint32>{CopyTarget}),
         filled(kSetup, CopyTarget)},
    };
}

std::vector<Operation> lists()
{
    return {
        {"Get_full_objects_tree", Kind::ReadsAll, asked("Get_full_objects_tree"), {}, {}, Limit::Copied},
        {"Get_objects_tree, 850 objects",
         Kind::ReadsAll,
         askedBy(SomeObjects, "Get_objects_tree"),
         {},
         {},
         Limit::Copied},
        {"Get_objects_tree, all objects",
         Kind::ReadsAll,
         askedBy(AllObjects, "Get_objects_tree"),
         {},
         {},
         Limit::Copied},
        {"Get_objects", Kind::ReadsAll, asked("Get_objects"), {}, {}, Limit::Copied},
    };
}

std::vector<Operation> searches()
{
    const auto condition = [](const char *pattern, const char *property) {
        return asked("Get_objs_by_condition_v2", QString::fromUtf8(pattern), QString::fromUtf8(property));
    };
    return {
        {"Advanced_search, no text", Kind::Searches, askedBy(SomeObjects, "Advanced_search", QString())},
        {"Advanced_search, a text", Kind::Searches, askedBy(SomeObjects, "Advanced_search", QStringLiteral("дом 17"))},
        {"Get_objs_by_condition_v2, infix",
         Kind::Searches,
         condition("%бригада 017%", ""),
         {},
         {},
         Limit::Prepared,
         true},
        {"Get_objs_by_condition_v2, one exact", Kind::Searches, condition("8000123", "modem")},
        {"Get_objs_by_query_v2", Kind::Searches, asked("Get_objs_by_query_v2", QString::fromUtf8(kClientQuery))},
    };
}

} // namespace

std::vector<Operation> operatorOperations()
{
    std::vector<Operation> all;
    for (const std::vector<Operation> &some : {accounts(), setups(), lists(), searches()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

} // namespace bench

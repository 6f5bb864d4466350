#include "bench/operator_readings.h"

#include "bench/command_frames.h"

#include <QString>

namespace bench {

namespace {

// The service's own texts, which COPY takes without a semicolon and without values apart from the text.
constexpr const char *kSelectAllObjects =
    R"(SELECT obj_prop."Id_objects", obj_prop."Value" AS "Name", obj_prop1."Value" AS "pic", obj_prop2."Value" AS "font_color", obj_prop3."Value" AS "background_color" FROM "Objects_property" obj_prop LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'pic') AS obj_prop1 ON obj_prop1."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'font_color') AS obj_prop2 ON obj_prop2."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'background_color') AS obj_prop3 ON obj_prop3."Id_objects" = obj_prop."Id_objects" WHERE obj_prop."Name" LIKE 'name' ORDER BY "Id_objects")";
constexpr const char *kSelectWatchedObjects =
    R"(SELECT obj_prop."Id_objects", obj_prop."Value" AS "Name", obj_prop1."Value" AS "pic", obj_prop2."Value" AS "font_color", obj_prop3."Value" AS "background_color" FROM "Objects_property" obj_prop LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'pic') AS obj_prop1 ON obj_prop1."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'font_color') AS obj_prop2 ON obj_prop2."Id_objects" = obj_prop."Id_objects" LEFT OUTER JOIN (SELECT "Id_objects", "Value" FROM "Objects_property" WHERE "Name" LIKE 'background_color') AS obj_prop3 ON obj_prop3."Id_objects" = obj_prop."Id_objects" , "Person_Setup" perm WHERE obj_prop."Id_objects" = perm."Id_object" AND perm."Id_PersProp" = %1 AND perm."Id_connect" = %0 AND perm."Type" = %2 AND obj_prop."Name" LIKE 'name' ORDER BY "Id_objects")";
constexpr const char *kSelectGroups = R"(SELECT "Id", "Name" FROM "Groups" order by "Name")";
constexpr const char *kSelectNesting =
    R"(SELECT g."Id_owner_group", g."Id_qroup" FROM "Groups_groups" as g, "Groups" as gg where gg."Id" = g."Id_qroup" order by "Name")";
constexpr const char *kSelectMembership =
    R"(SELECT o."Id_group", o."Id_object" FROM "Groups_objects" as o, "Objects_property" as p where o."Id_object" = p."Id_objects" and p."Name" = 'name' order by convert_from(p."Value", 'utf8'))";
constexpr const char *kSelectObjectSetup =
    R"(SELECT a."Id", s.properties FROM (select 0 as "Id" union select "Id" from "Objects") a LEFT JOIN (SELECT "Id_object", array_agg("Id_PersProp" ORDER BY "Id_PersProp") AS properties FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 GROUP BY "Id_object") s ON s."Id_object" = a."Id" ORDER BY a."Id")";
constexpr const char *kSearchAll =
    R"(SELECT "Id_objects", "Value" FROM "Objects_property", "Person_Setup" WHERE "Name" LIKE 'name' AND "Value" != '' AND "Id_connect"=%0 AND "Id_objects"="Id_object" AND "Person_Setup"."Type"=1 GROUP BY "Id_objects", "Value" ORDER BY "Id_objects")";
constexpr const char *kSearchText =
    R"(SELECT ob."Id_objects", n.modem_name, ob."Value", ob."Description", ob."Name" FROM "Objects_property" as ob, "Person_Setup" INNER JOIN ( SELECT "Value" as modem_name, "Id_objects" FROM "Objects_property" WHERE "Name" LIKE 'name' ) as n on "Id_objects"="Id_object" WHERE ob."Value" LIKE '%%1%' AND ob."Name" NOT IN('pic','font_color','background_color') AND ob."Value" != '' AND "Id_connect"=%0 AND ob."Id_objects"="Id_object" AND "Person_Setup"."Type"=1 GROUP BY ob."Id_objects", ob."Value", ob."Description", n.modem_name, ob."Name" ORDER BY ob."Id_objects")";
constexpr const char *kByAnyText =
    R"(SELECT "Id_objects" FROM "Objects_property" WHERE ( "Type" = 10 or "Type" = 2 ) and "Value" LIKE '%0')";
constexpr const char *kByNamed =
    R"(SELECT "Id_objects" FROM "Objects_property" WHERE "Name" = '%1' AND "Value" LIKE '%0')";
constexpr const char *kSelectNames =
    R"( SELECT obj_prop."Id_objects", obj_prop."Name",  obj_prop."Value",  obj_prop."Type"   FROM "Objects_property" obj_prop  where obj_prop."Name" = 'name'   order by "Id_objects" desc)";
constexpr const char *kSelectAccounts = R"(SELECT * FROM "Connections" ORDER BY "Login")";

/// A client's own: the objects of all groups in the first one.
constexpr const char *kClientQuery =
    R"(SELECT "Id_object" FROM "Groups_objects" WHERE "Id_group" IN (SELECT "Id_qroup" FROM "Groups_groups" WHERE "Id_owner_group" = 1) ORDER BY "Id_object")";

// As operators.sql has made them.
constexpr int kSomeObjects = 1; ///< the operator who sees 850 objects
constexpr int kAllObjects = 2;
constexpr const char *kSearchedText = "дом 17";
constexpr const char *kInfix = "%бригада 017%";
constexpr const char *kExactProperty = "modem";
constexpr const char *kExact = "8000123";

constexpr int kQuick = 20; ///< runs in a round of what takes about a millisecond

template <typename... Fills>
QByteArray filled(const char *text, const Fills &...fills)
{
    return QString::fromUtf8(text).arg(fills...).toUtf8();
}

/// The statement of the objects, then those that every tree ends with.
std::vector<ReplyPart> tree(const QByteArray &objects)
{
    return {
        {objects, {{0, Form::Number}, {1, Form::Bytes}, {2, Form::Picture}, {3, Form::Colour}, {4, Form::Colour}}},
        {kSelectGroups, {{0, Form::Number}, {1, Form::Bytes}}},
        {kSelectNesting, {{1, Form::Number}, {0, Form::Number}}},
        {kSelectMembership, {{0, Form::Number}, {1, Form::Number}}},
    };
}

Reading watchedTree(int caller, const char *who)
{
    const QByteArray objects =
        filled(kSelectWatchedObjects, QString::number(caller), QStringLiteral("201"), QStringLiteral("1"));
    return {std::string("Get_objects_tree, ") + who,  1,  caller,
            commandFrame(caller, "Get_objects_tree"), {}, tree(objects)};
}

Reading setup(int account)
{
    std::vector<ReplyPart> sections;
    for (const char *section : {"1", "3", "4"})
        sections.push_back({filled(kSelectObjectSetup, QString::fromLatin1(section), QString::number(account)),
                            {{0, Form::Number}, {1, Form::Numbers}}});
    return {"Get_personalsetup4objects_X, 850 objects",
            1,
            account,
            commandFrame(account, "Get_personalsetup4objects_X", qint32(account)),
            {},
            std::move(sections)};
}

Reading search(const char *name, const QString &text, ReplyPart part)
{
    constexpr char kTrue[] = {1};
    return {name,
            1,
            kSomeObjects,
            commandFrame(kSomeObjects, "Advanced_search", text),
            QByteArray(kTrue, sizeof kTrue),
            {std::move(part)}};
}

Reading searchAll()
{
    return search("Advanced_search, no text", {},
                  {filled(kSearchAll, QString::number(kSomeObjects)),
                   {{0, Form::Number},
                    {1, Form::Bytes},
                    {Field::kAbsent, Form::Bytes},
                    {Field::kAbsent, Form::Text},
                    {Field::kAbsent, Form::Bytes}}});
}

Reading searchText()
{
    const QString text = QString::fromUtf8(kSearchedText);
    return search("Advanced_search, a text", text,
                  {filled(kSearchText, QString::number(kSomeObjects), text),
                   {{0, Form::Number}, {1, Form::Bytes}, {2, Form::Bytes}, {3, Form::Text}, {4, Form::Bytes}}});
}

Reading condition(const char *name, int runs, const QString &pattern, const QString &property,
                  const QByteArray &statement)
{
    return {name,         runs,
            kSomeObjects, commandFrame(kSomeObjects, "Get_objs_by_condition_v2", pattern, property),
            {},           {{statement, {{0, Form::Number}}}},
            true};
}

} // namespace

std::vector<Reading> operatorReadings()
{
    const QString infix = QString::fromUtf8(kInfix);
    const QString exact = QString::fromUtf8(kExact);
    const QString property = QString::fromUtf8(kExactProperty);
    return {
        {"Get_full_objects_tree",
         1,
         kSomeObjects,
         commandFrame(kSomeObjects, "Get_full_objects_tree"),
         {},
         tree(kSelectAllObjects)},
        watchedTree(kSomeObjects, "850 objects"),
        watchedTree(kAllObjects, "all objects"),
        setup(kSomeObjects),
        searchAll(),
        searchText(),
        condition("Get_objs_by_condition_v2, infix", 1, infix, {}, filled(kByAnyText, infix)),
        condition("Get_objs_by_condition_v2, one exact", kQuick, exact, property, filled(kByNamed, exact, property)),
        {"Get_objs_by_query_v2",
         kQuick,
         kSomeObjects,
         commandFrame(kSomeObjects, "Get_objs_by_query_v2", QString::fromUtf8(kClientQuery)),
         {},
         {{kClientQuery, {{0, Form::Number}}}}},
        {"Get_objects",
         1,
         kSomeObjects,
         commandFrame(kSomeObjects, "Get_objects"),
         {},
         {{kSelectNames, {{0, Form::Number}, {2, Form::Bytes}}}}},
        {"Get_user_list",
         kQuick,
         kSomeObjects,
         commandFrame(kSomeObjects, "Get_user_list"),
         {},
         {{kSelectAccounts,
           {{0, Form::Number},
            {1, Form::Text},
            {2, Form::Text},
            {3, Form::Text},
            {6, Form::Flag},
            {4, Form::Text},
            {5, Form::Text}}}}},
    };
}

} // namespace bench

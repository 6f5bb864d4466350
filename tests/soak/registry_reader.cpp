#include "registry_reader.h"

namespace soak {

namespace {

/// Place, the two numbers that order its rows, and the row. Long values show as their sum.
constexpr const char *kRows = R"(
SELECT 'object ' || "Id", 0, 0, concat_ws('|', "Id_owner", "Id_shema_sensors",
       "guid" ~ '^\{[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}\}$' AND count(*) OVER (PARTITION BY "guid") = 1)
FROM "Objects"
UNION ALL
SELECT 'card ' || "Id_objects", "Id", 0, concat_ws('|', "Name", "Description", "Type",
       CASE WHEN length("Value") > 2000 THEN md5("Value") ELSE encode("Value", 'hex') END, "Visible")
FROM "Objects_property"
UNION ALL
SELECT 'sensors ' || "Id_objects", "Id", 0,
       concat_ws('|', "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", encode("Rate", 'hex'))
FROM "Sensors"
UNION ALL
SELECT 'commands ' || "Id_object", "Id", 0,
       concat_ws('|', 'c', "Name", "Description", "Operation", encode("ExecBy", 'hex'))
FROM "Commands"
UNION ALL
SELECT 'commands ' || coalesce(c."Id_object"::text, 'gone'), coalesce(c."Id", 0), p."Id",
       concat_ws('|', 'p', coalesce(c."Description", ''), p."Name", p."Description", encode(p."Value", 'hex'), p."Type")
FROM "Params" p LEFT JOIN "Commands" c ON c."Id" = p."Id_command"
UNION ALL
SELECT 'groups', 0, 0, concat_ws('|', "Id", "Name", "IsRoot") FROM "Groups"
UNION ALL
SELECT 'nesting', 0, 0, concat_ws('|', "Id_owner_group", "Id_qroup") FROM "Groups_groups"
UNION ALL
SELECT 'placed ' || "Id_object", 0, 0, "Id_group"::text FROM "Groups_objects"
UNION ALL
SELECT 'account ' || split_part("Login", ' ', 1), 0, 0,
       concat_ws('|', "Login", "Password", "Description", "Email", "Phone", "Admin")
FROM "Connections"
UNION ALL
SELECT 'permission ' || "Id_object", 0, 0, "Id_connection"::text FROM "Objects_permission"
UNION ALL
SELECT concat_ws(' ', 'setup', "Id_connect", "Type", "Id_object"), 0, 0, "Id_PersProp"::text FROM "Person_Setup"
UNION ALL
SELECT 'layers', 0, 0, "Id"::text FROM "OpChk_Layers"
UNION ALL
SELECT 'lastdata ' || id_object, 0, 0, concat_ws('|', received_at, encode(data, 'hex')) FROM archive.lastdata
UNION ALL
SELECT 'head ' || split_part("Description", ' ', 1), 0, 0, "Description" FROM "Templates" WHERE "Class" = 't'
UNION ALL
SELECT concat_ws(' ', 'template', r."Class", coalesce(split_part(t."Description", ' ', 1), 'of nobody')), r."Id", 0,
       concat_ws('|', CASE WHEN r."Class" = 'c' THEN 'c' END, r."Name", r."Description", encode(r."SpecificData", 'hex'))
FROM "Templates" r LEFT JOIN "Templates" t ON t."Class" = 't' AND t."Owner" = r."Owner"
WHERE r."Class" IN ('p', 's', 'c')
UNION ALL
SELECT 'template c ' || coalesce(split_part(t."Description", ' ', 1), 'of nobody'), coalesce(c."Id", 0), r."Id",
       concat_ws('|', 'd', coalesce(c."Description", ''), r."Name", r."Description", encode(r."SpecificData", 'hex'))
FROM "Templates" r LEFT JOIN "Templates" c ON c."Class" = 'c' AND c."Id" = r."Owner"
     LEFT JOIN "Templates" t ON t."Class" = 't' AND t."Owner" = c."Owner"
WHERE r."Class" NOT IN ('t', 'p', 's', 'c')
UNION ALL
SELECT 'supplied', 0, 0, row::text FROM "TemplatesFirm" row
UNION ALL
SELECT 'examples of properties', 0, 0, row::text FROM "ExampleObjProps" row
UNION ALL
SELECT 'examples of sensors', 0, 0, row::text FROM "ExampleSensors" row
UNION ALL
SELECT 'examples of controls', 0, 0, row::text FROM "ExampleControls" row
ORDER BY 1, 2, 3)";

constexpr const char *kRemoveLeftOver = R"(
DELETE FROM "Params" WHERE NOT EXISTS (SELECT FROM "Commands" c WHERE c."Id" = "Id_command");
DELETE FROM "Person_Setup" WHERE "Id_object" <> 0 AND NOT EXISTS (SELECT FROM "Objects" o WHERE o."Id" = "Id_object"))";

constexpr const char *kGive = R"(
INSERT INTO archive.lastdata SELECT "Id", '2026-01-01', '\x0102' FROM "Objects"
    WHERE NOT EXISTS (SELECT FROM archive.lastdata WHERE id_object = "Id");
INSERT INTO "Objects_permission" SELECT "Id", 1 FROM "Objects"
    WHERE NOT EXISTS (SELECT FROM "Objects_permission" WHERE "Id_object" = "Id"))";

} // namespace

Places readRegistry(support::TestDatabase &database)
{
    const QString separator = "~";
    Places places;
    const QStringList rows =
        database.rows(QStringLiteral("SELECT place || '%1' || row FROM (%2) AS r(place, a, b, row)")
                          .arg(separator, QString::fromUtf8(kRows)));
    for (const QString &row : rows)
        places[row.section(separator, 0, 0)].append(row.section(separator, 1));
    return places;
}

qsizetype rowCount(const Places &places)
{
    qsizetype count = 0;
    for (const QStringList &rows : places)
        count += rows.size();
    return count;
}

void tendRegistry(support::TestDatabase &database)
{
    database.run(QString::fromUtf8(kRemoveLeftOver));
    database.run(QString::fromUtf8(kGive));
}

} // namespace soak

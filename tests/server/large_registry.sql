-- A registry in which every table is large, so that the planner decides as it does in a large installation: 100,000
-- objects with their cards, sensors, commands and rights, 1000 operators, 2000 groups, 1000 templates of either kind.
--
-- Filling is faster without the indexes, which are made again at the end as they were defined.

CREATE TEMP TABLE later AS
SELECT indexrelid::regclass::text AS name, pg_get_indexdef(indexrelid) AS definition
FROM pg_index
JOIN pg_class AS of_table ON of_table.oid = indrelid
WHERE NOT indisprimary AND relnamespace IN ('public'::regnamespace, 'archive'::regnamespace);
DO $$ DECLARE gone later; BEGIN
    FOR gone IN SELECT * FROM later LOOP EXECUTE 'DROP INDEX ' || gone.name; END LOOP;
END $$;

INSERT INTO "Objects" ("Id_owner", "Id_shema_sensors", "guid")
SELECT 0, 1, lpad(object::text, 38, '0') FROM generate_series(1, 100000) AS object;

INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible")
SELECT object, own.name, own.name, own.type, convert_to(own.value, 'UTF8'), true
FROM generate_series(1, 100000) AS object
CROSS JOIN LATERAL (VALUES
    ('name', 10, format('Truck %s of team %s', object, object % 500)),
    ('subdivision', 10, format('Section %s', object % 40)),
    ('modem', 10, (8000000 + object)::text),
    ('note', 2, format('Driver %s', object % 3000)),
    ('pic', 11, CASE WHEN object % 50 > 0 THEN md5(object::text) END),
    ('font_color', 12, CASE WHEN object % 10 = 0 THEN '0123456789' END),
    ('background_color', 12, CASE WHEN object % 10 = 0 THEN '0123456789' END)
) AS own (name, type, value)
WHERE own.value IS NOT NULL;

INSERT INTO "Sensors" ("Id_objects", "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate")
SELECT object, format('Sensor %s', sensor), 'mm', sensor, 'x*0.1', 'a', 1, 'no;yes', '\x01020304'
FROM generate_series(1, 100000) AS object, generate_series(1, 2) AS sensor;

INSERT INTO "Commands" ("Id_object", "Name", "Operation", "Description", "ExecBy")
SELECT object, format('command_%s', command), 1 + command % 4, format('Command %s', command), '\x0a'
FROM generate_series(1, 100000) AS object, generate_series(1, 2) AS command;
INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type")
SELECT command, format('param_%s', parameter), format('Parameter %s', parameter), '\x31', 1
FROM generate_series(1, 200000) AS command, generate_series(1, 2) AS parameter;

INSERT INTO "Groups" ("Id", "Name", "IsRoot")
SELECT number, format('Group %s', number), number <= 100 FROM generate_series(1, 2000) AS number;
INSERT INTO "Groups_groups" ("Id_owner_group", "Id_qroup")
SELECT 1 + number % 100, number FROM generate_series(101, 2000) AS number;
INSERT INTO "Groups_objects" ("Id_group", "Id_object")
SELECT 1 + object % 2000, object FROM generate_series(1, 100000) AS object;

INSERT INTO "Connections" ("Login", "Password", "Description", "Email", "Phone", "Admin")
SELECT format('operator_%s', account), md5(account::text), format('Operator of section %s', account),
       format('operator_%s@example.org', account), lpad(account::text, 10, '0'), account % 20 = 0
FROM generate_series(1, 1000) AS account;
INSERT INTO "Objects_permission" ("Id_object", "Id_connection")
SELECT object, 1 + (object + place) % 1000 FROM generate_series(1, 100000) AS object, generate_series(0, 1) AS place;
-- Each operator may observe and control 100 objects spread over the registry, and gets messages about them.
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT own.section, account, 1 + (account * 613 + place * 997) % 100000, own.property
FROM generate_series(1, 1000) AS account, generate_series(1, 100) AS place,
     (VALUES (1, 201), (1, 202), (3, 8), (4, 53)) AS own (section, property);
INSERT INTO "OpChk_Layers" SELECT FROM generate_series(1, 100);

INSERT INTO archive.lastdata (id_object, received_at, data)
SELECT object, now(), '\x0102030405060708' FROM generate_series(1, 100000) AS object;

-- A template's rows lie together. Its three commands are the last ones, so that their parameters, the rows below, know
-- their keys.
INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT number, substr('tppppsssccc', place, 1), format('part_%s', place), format('Part %s', place), '\x00000000'
FROM generate_series(1, 1000) AS number, generate_series(1, 11) AS place;
INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT command."Id", 'd', format('param_%s', parameter), format('Parameter %s', parameter), '\x00000000'
FROM "Templates" AS command, generate_series(1, 2) AS parameter
WHERE command."Class" = 'c';
INSERT INTO "TemplatesFirm" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT "Owner", "Class", "Name", "Description", "SpecificData" FROM "Templates" ORDER BY "Id";

INSERT INTO "ExampleObjProps" ("Name", "Description", "Type", "Value", "Visible")
SELECT format('property_%s', number), format('Property %s', number), 10, '\x31', 't'
FROM generate_series(1, 50) AS number;
INSERT INTO "ExampleSensors" ("Name", "Measure", "Quality", "Type", "Vid", "Enum", "Calculate", "Rate", "MayEdit", "MayDelete")
SELECT format('Sensor %s', number), 'mm', 1, number, 'a', 'no;yes', 'x', '\x31', true, true
FROM generate_series(1, 50) AS number;
INSERT INTO "ExampleControls" ("Owner", "Name", "Description", "SpecificInt")
SELECT owner, format('command_%s', number), format('Command %s', number), 2
FROM generate_series(1, 20) AS number, (VALUES (-1), (-2), (1), (2)) AS kind (owner);

DO $$ DECLARE gone later; BEGIN
    FOR gone IN SELECT * FROM later LOOP EXECUTE gone.definition; END LOOP;
END $$;
DROP TABLE later;

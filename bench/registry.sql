-- A registry as a large installation has it: psql -v objects=100000, after schema/schema.sql on an empty database. At
-- least 1000 objects.
--
-- The objects 1 to :objects have up to 12 properties, 4 sensors, 4 commands with one or two parameters and one group of
-- 50 objects. The 20 behind them are those that commands on one object are measured with: 50 sensors, 20 commands of 5
-- parameters, whatever the size. There are 200 operators with 20 rows of setup for each object in all: operator 1 may
-- observe 850 objects, operator 2 all, 3 to 7 are for what changes operators, the others share what is left. No two
-- names are the same, so that every list has one order only. Schema "kept" holds what deleting commands delete.
-- With -v setup_rows=0 the others share nothing.

\ir fast_fill.sql

SELECT :objects + 20 AS last, :objects / 50 AS groups, :objects / 1000 AS roots, 200 AS operators
\gset
\if :{?setup_rows}
\else
SELECT 20 * :objects AS setup_rows
\gset
\endif

INSERT INTO "Objects" ("Id", "Id_owner", "Id_shema_sensors", "guid")
SELECT object, 0, 1, lpad(object::text, 38, '0')
FROM generate_series(1, :last) AS object;

-- Pictures are 1 (there is one) and some hundred bytes; colours their kind, then five numbers of 16 bits. One object in
-- fifty has no picture, one in ten no colour of its own; those that are measured have all.
INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible")
SELECT object, property.name, property.caption, property.type, property.value, true
FROM generate_series(1, :last) AS object
CROSS JOIN LATERAL (SELECT lpad(object::text, 7, '0') AS number, md5(object::text) AS digits, object > :objects AS whole) AS own
CROSS JOIN LATERAL (VALUES
    ('name', 'Имя', 10, convert_to(format('Машина № %s, бригада %s', own.number, lpad((object % 500)::text, 3, '0')), 'UTF8')),
    ('subdivision', 'Подразделение', 10, convert_to(format('Участок %s', object % 40), 'UTF8')),
    ('modem', 'Номер навигационного блока', 10, convert_to((8000000 + object)::text, 'UTF8')),
    ('phone', 'Телефон', 10, convert_to(format('+7 000 %s', own.number), 'UTF8')),
    ('plate_number', 'Государственный номер', 10, convert_to(format('А %s ВС', own.number), 'UTF8')),
    ('driver', 'Водитель', 10, convert_to(format('Водитель с табельным номером %s', object % 3000), 'UTF8')),
    ('address', 'Адрес', 10, convert_to(format('Садовая улица, дом %s', object % 200), 'UTF8')),
    ('note', 'Примечание', 2, convert_to(format('Осмотр в месяце %s', 1 + object % 12), 'UTF8')),
    ('install_date', 'Дата установки', 3, convert_to(format('%s.01.2025', lpad((1 + object % 28)::text, 2, '0')), 'UTF8')),
    ('pic', 'Значок', 11, CASE WHEN object % 50 > 0 OR whole THEN
        int4send(1) || substring(decode(repeat(own.digits, 25), 'hex') FOR 200 + (object::bigint * 37 % 200)::integer) END),
    ('font_color', 'Цвет надписи', 12, CASE WHEN object % 10 > 0 OR whole THEN
        '\x01ffff'::bytea || decode(substr(own.digits, 1, 12), 'hex') || '\x0000'::bytea END),
    ('background_color', 'Цвет фона', 12, CASE WHEN object % 10 > 0 OR whole THEN
        '\x01ffff'::bytea || decode(substr(own.digits, 13, 12), 'hex') || '\x0000'::bytea END)
) AS property (name, caption, type, value)
WHERE property.value IS NOT NULL;

INSERT INTO "Sensors" ("Id_objects", "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate")
SELECT object, 'Датчик ' || lpad(sensor::text, 3, '0'), 'мм', sensor, 'x*0.1', 'a', 1, 'нет;да', '\x0102030405060708'
FROM generate_series(1, :last) AS object,
     generate_series(1, CASE WHEN object > :objects THEN 50 ELSE 4 END) AS sensor;

INSERT INTO "Commands" ("Id_object", "Name", "Operation", "Description", "ExecBy")
SELECT object, 'command_' || lpad(command::text, 3, '0'), 1 + (command - 1) % 4, 'Команда ' || lpad(command::text, 3, '0'), '\x0a'
FROM generate_series(1, :last) AS object,
     generate_series(1, CASE WHEN object > :objects THEN 20 ELSE 4 END) AS command;

INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type")
SELECT command."Id", 'param_' || lpad(parameter::text, 3, '0'), 'Параметр ' || lpad(parameter::text, 3, '0'), '\x31323334', 1
FROM "Commands" AS command,
     generate_series(1, CASE WHEN command."Id_object" > :objects THEN 5 ELSE 1 + command."Id" % 2 END) AS parameter;

-- One group in twenty stands at the top, the others stand in these.
INSERT INTO "Groups" ("Id", "Name", "IsRoot")
SELECT number, format('Группа %s', lpad(number::text, 5, '0')), number <= :roots
FROM generate_series(1, :groups) AS number;
INSERT INTO "Groups_groups" ("Id_owner_group", "Id_qroup")
SELECT 1 + number % :roots, number
FROM generate_series(:roots + 1, :groups) AS number;
INSERT INTO "Groups_objects" ("Id_group", "Id_object")
SELECT 1 + object % :groups, object
FROM generate_series(1, :last) AS object;

INSERT INTO "Connections" ("Id", "Login", "Password", "Description", "Email", "Phone", "Admin")
SELECT account, format('operator_%s', account), md5(account::text), format('Оператор участка %s', account),
       format('operator_%s@example.org', account), lpad(account::text, 10, '0'), account % 20 = 0
FROM generate_series(1, :operators) AS account;
INSERT INTO "Objects_permission" ("Id_object", "Id_connection")
SELECT object, 7
FROM generate_series(1, 10) AS object;

-- What an operator has for an object: three rights, then event messages of two sections.
CREATE TEMP TABLE rights (place integer, section integer, property integer);
INSERT INTO rights VALUES (0, 1, 201), (1, 1, 202), (2, 1, 203), (3, 3, 1), (4, 3, 8), (5, 3, 9), (6, 4, 18), (7, 4, 53);
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, 1, 1 + (number::bigint * :objects / 850)::integer, property
FROM generate_series(0, 849) AS number, rights;
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT 1, 2, object, 201
FROM generate_series(1, :last) AS object;
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, account, :objects + number, property
FROM generate_series(5, 7) AS account, generate_series(1, 20) AS number, rights;
-- The rows of an operator lie together, as saving or copying his setup leaves them.
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, account, 1 + ((number / 8)::bigint * 7919 + account * 613) % :objects, property
FROM generate_series(8, :operators) AS account,
     generate_series(0, (:setup_rows - :objects - 850 * 8) / (:operators - 7) - 1) AS number
JOIN rights ON place = number % 8
ORDER BY account, number;

INSERT INTO "Templates" ("Owner", "Class", "Description")
SELECT number, 't', format('Шаблон %s', number)
FROM generate_series(1, 100) AS number;
INSERT INTO "TemplatesFirm" ("Owner", "Class", "Description")
SELECT number, 't', format('Поставляемый шаблон %s', number)
FROM generate_series(1, 50) AS number;

-- The first four are for what reads and changes templates. The others are whole: 15 properties, 40 sensors, 20 commands
-- of 3 parameters.
INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT number, part.class, format('%s_%s', part.class, place), format('Часть %s', place), '\x0000000200000000'
FROM generate_series(5, 100) AS number, (VALUES ('p', 15), ('s', 40), ('c', 20)) AS part (class, places), generate_series(1, places) AS place;
INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT command."Id", 'd', format('param_%s', place), format('Параметр %s', place), '\x0000000000000001'
FROM "Templates" AS command, generate_series(1, 3) AS place
WHERE command."Class" = 'c';

INSERT INTO "ExampleObjProps" ("Name", "Description", "Type", "Value", "Visible")
SELECT format('example_%s', number), format('Образец свойства %s', number), 10, convert_to('Значение', 'UTF8'), 't'
FROM generate_series(1, 40) AS number;
INSERT INTO "ExampleSensors"
SELECT format('Образец датчика %s', number), 'мм', 1, number, 'a', 'нет;да', 'x*0.1', '\x0102030405060708', true, false
FROM generate_series(1, 60) AS number;
-- 5 kinds of hardware, 30 commands of 3 parameters, of which each kind has 20.
INSERT INTO "ExampleControls" ("Id", "Owner", "Name", "Description", "SpecificInt")
SELECT number, -1, format('hardware_%s', number), format('Блок %s', number), NULL FROM generate_series(1, 5) AS number
UNION ALL
SELECT 100 + number, -2, format('command_%s', number), format('Команда %s', number), 1 + number % 4 FROM generate_series(1, 30) AS number;
INSERT INTO "ExampleControls" ("Id", "Owner", "Name", "Description", "SpecificInt")
SELECT 1000 + 3 * number + parameter, 100 + number, format('param_%s', parameter), format('Параметр %s', parameter), 1
FROM generate_series(1, 30) AS number, generate_series(0, 2) AS parameter
UNION ALL
SELECT 2000 + 20 * hardware + number, hardware, format('command_%s', number + hardware), NULL, NULL
FROM generate_series(1, 5) AS hardware, generate_series(1, 20) AS number;

\ir fast_fill_end.sql

-- Those of the numbers above that were given and not drawn.
SELECT setval(pg_get_serial_sequence('"Objects"', 'Id'), :last), setval(pg_get_serial_sequence('"Connections"', 'Id'), :operators)
\g (format=unaligned) /dev/null

-- The sixth of the measured objects and account 7 are deleted and come back from here, and so does the tree.
CREATE SCHEMA kept;
CREATE TABLE kept.objects AS SELECT * FROM "Objects" WHERE "Id" = :objects + 6;
CREATE TABLE kept.properties AS SELECT * FROM "Objects_property" WHERE "Id_objects" = :objects + 6;
CREATE TABLE kept.sensors AS SELECT * FROM "Sensors" WHERE "Id_objects" = :objects + 6;
CREATE TABLE kept.commands AS SELECT * FROM "Commands" WHERE "Id_object" = :objects + 6;
CREATE TABLE kept.account AS SELECT * FROM "Connections" WHERE "Id" = 7;
CREATE TABLE kept.permissions AS SELECT * FROM "Objects_permission" WHERE "Id_connection" = 7;
CREATE TABLE kept.setup AS SELECT * FROM "Person_Setup" WHERE "Id_connect" IN (5, 6, 7) OR ("Id_connect" = 2 AND "Id_object" = :objects + 6);
CREATE TABLE kept.groups AS SELECT * FROM "Groups";
CREATE TABLE kept.nesting AS SELECT * FROM "Groups_groups";
CREATE TABLE kept.placements AS SELECT * FROM "Groups_objects";
VACUUM ANALYZE;

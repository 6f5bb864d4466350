-- A registry as operators read it: psql -v objects=100000 -v operators=200 -v setup_rows=2000000, after
-- schema/schema.sql on an empty database. At least 1000 objects and 3 operators.
--
-- Every object has up to 12 properties, 4 commands and one group of 50 objects; a tenth of the objects has commands with
-- 3 parameters. Operator 1 may observe 850 objects, operator 2 all of them; the others share what is left of the setup
-- rows. No two names are the same, so that every list has one order only.

\ir fast_fill.sql

INSERT INTO "Objects" ("Id", "Id_owner", "guid")
SELECT object, 0, lpad(object::text, 36, '0')
FROM generate_series(1, :objects) AS object;

-- Pictures are 1 (there is one) and some hundred bytes; colours their kind, then five numbers of 16 bits. One object in
-- fifty has no picture, one in ten no colour of its own.
INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible")
SELECT object, property.name, property.caption, property.type, property.value, true
FROM generate_series(1, :objects) AS object
CROSS JOIN LATERAL (SELECT lpad(object::text, 7, '0') AS number, md5(object::text) AS digits) AS own
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
    ('pic', 'Значок', 11, CASE WHEN object % 50 > 0 THEN
        int4send(1) || substring(decode(repeat(own.digits, 25), 'hex') FOR 200 + object * 37 % 200) END),
    ('font_color', 'Цвет надписи', 12, CASE WHEN object % 10 > 0 THEN
        '\x01ffff'::bytea || decode(substr(own.digits, 1, 12), 'hex') || '\x0000'::bytea END),
    ('background_color', 'Цвет фона', 12, CASE WHEN object % 10 > 0 THEN
        '\x01ffff'::bytea || decode(substr(own.digits, 13, 12), 'hex') || '\x0000'::bytea END)
) AS property (name, caption, type, value)
WHERE property.value IS NOT NULL;

-- One group in twenty stands at the top, the others stand in these.
SELECT :objects / 50 AS groups, :objects / 1000 AS roots
\gset
INSERT INTO "Groups" ("Id", "Name", "IsRoot")
SELECT number, format('Группа %s', lpad(number::text, 5, '0')), number <= :roots
FROM generate_series(1, :groups) AS number;
INSERT INTO "Groups_groups" ("Id_owner_group", "Id_qroup")
SELECT 1 + number % :roots, number
FROM generate_series(:roots + 1, :groups) AS number;
INSERT INTO "Groups_objects" ("Id_group", "Id_object")
SELECT 1 + object % :groups, object
FROM generate_series(1, :objects) AS object;

INSERT INTO "Connections" ("Id", "Login", "Password", "Description", "Email", "Phone", "Admin")
SELECT account, format('operator_%s', account), md5(account::text), format('Оператор участка %s', account),
       format('operator_%s@example.org', account), lpad(account::text, 10, '0'), account % 20 = 0
FROM generate_series(1, :operators) AS account;

-- What an operator has for an object: three rights, then event messages of two sections.
CREATE TEMP TABLE kept (place integer, section integer, property integer);
INSERT INTO kept VALUES (0, 1, 201), (1, 1, 202), (2, 1, 203), (3, 3, 1), (4, 3, 8), (5, 3, 9), (6, 4, 18), (7, 4, 53);
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, 1, 1 + (number::bigint * :objects / 850)::integer, property
FROM generate_series(0, 849) AS number, kept;
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT 1, 2, object, 201
FROM generate_series(1, :objects) AS object;
-- The rows of an operator lie together, as saving or copying his setup leaves them.
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, account, 1 + ((number / 8)::bigint * 7919 + account * 613) % :objects, property
FROM generate_series(3, :operators) AS account,
     generate_series(0, (:setup_rows - :objects - 850 * 8) / (:operators - 2) - 1) AS number
JOIN kept ON place = number % 8
ORDER BY account, number;

INSERT INTO "Commands" ("Id_object", "Name", "Operation", "Description", "ExecBy")
SELECT object, format('command_%s', command), command, format('Команда %s', command), '\x0a'
FROM generate_series(1, :objects) AS object, generate_series(1, 4) AS command;
INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type")
SELECT command."Id", format('param_%s', parameter), format('Параметр %s', parameter), '\x31323334', 1
FROM "Commands" AS command, generate_series(1, 3) AS parameter
WHERE command."Id_object" % 10 = 0;

\ir fast_fill_end.sql

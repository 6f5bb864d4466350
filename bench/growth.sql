-- A registry whose size is what is varied: psql -v objects=100000, after schema/schema.sql on an empty database.
--
-- Every object has 12 properties, 4 sensors and 4 commands with 6 parameters each. The oldest and the newest object,
-- which are measured, have 50 sensors and 20 commands with 5 parameters each instead. All texts of a kind take the same
-- number of bytes, and the rows of an object lie together.

\ir fast_fill.sql

INSERT INTO "Objects" ("Id", "Id_owner", "guid")
SELECT object, 0, lpad(object::text, 36, '0')
FROM generate_series(1, :objects) AS object;

INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible")
SELECT object,
       CASE property WHEN 1 THEN 'name' WHEN 2 THEN 'modem' ELSE 'property_' || lpad(property::text, 3, '0') END,
       'Свойство ' || lpad(property::text, 3, '0'),
       2,
       convert_to('Значение ' || lpad(object::text, 7, '0') || '/' || lpad(property::text, 3, '0'), 'UTF8'),
       true
FROM generate_series(1, :objects) AS object, generate_series(1, 12) AS property;

INSERT INTO "Sensors" ("Id_objects", "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate")
SELECT object, 'Датчик ' || lpad(sensor::text, 4, '0'), 'мм', sensor, 'x*0.1', 'a', 1, 'нет;да', '\x0102030405060708'
FROM generate_series(1, :objects) AS object,
     generate_series(1, CASE WHEN object IN (1, :objects) THEN 50 ELSE 4 END) AS sensor;

INSERT INTO "Commands" ("Id_object", "Name", "Operation", "Description", "ExecBy")
SELECT object, 'command_' || lpad(command::text, 3, '0'), 1 + command % 4, 'Команда ' || lpad(command::text, 3, '0'),
       '\x0a'
FROM generate_series(1, :objects) AS object,
     generate_series(1, CASE WHEN object IN (1, :objects) THEN 20 ELSE 4 END) AS command;

INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type")
SELECT command."Id", 'param_' || lpad(parameter::text, 3, '0'), 'Параметр ' || lpad(parameter::text, 3, '0'),
       '\x31323334', 1
FROM "Commands" AS command,
     generate_series(1, CASE WHEN command."Id_object" IN (1, :objects) THEN 5 ELSE 6 END) AS parameter;

\ir fast_fill_end.sql

-- Operators' setups: psql -v objects=300 -v operators=200, after schema/schema.sql on an empty database.
--
-- Each operator has two rights and one kind of message for every object. The tree comes with its first save.

INSERT INTO "Objects" ("Id", "Id_owner", "guid")
SELECT object, 0, lpad(object::text, 36, '0')
FROM generate_series(1, :objects) AS object;

INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT own.section, account, object, own.property
FROM generate_series(1, :operators) AS account, generate_series(1, :objects) AS object,
     (VALUES (1, 202), (1, 203), (3, 8)) AS own (section, property);

VACUUM ANALYZE;
CHECKPOINT;

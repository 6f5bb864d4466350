-- A registry to measure on: psql -v objects=10000 -v properties=20, after schema/schema.sql.
--
-- All cards take the same number of bytes on the wire, and each card's rows lie together, as saving it leaves them.

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
FROM generate_series(1, :objects) AS object, generate_series(1, :properties) AS property
ORDER BY object, property;

-- Marks all rows as visible to everybody, which the first readers would have to do otherwise.
VACUUM ANALYZE;
CHECKPOINT;

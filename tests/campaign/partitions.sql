-- The large tables of an empty registry in hash partitions, by the object, command or operator that their rows are asked
-- for by: psql -v partitions=8, after schema.sql and as the owner of the tables.
--
-- A key of a partitioned table has to hold what the table is partitioned by. So that "Id" is unique is seen to by its
-- sequence alone here.

\set ON_ERROR_STOP on
\if :{?partitions}
\else
    \set partitions 8
\endif

BEGIN;
SELECT set_config('objects_server.partitions', :'partitions', true) \g /dev/null

DO $$
DECLARE
    large record;
    index text;
    indexes text[];
BEGIN
    FOR large IN SELECT * FROM (VALUES ('Objects_property', 'Id_objects', true), ('Sensors', 'Id_objects', true),
                                       ('Commands', 'Id_object', true), ('Params', 'Id_command', true),
                                       ('Person_Setup', 'Id_connect', false)) AS t(name, part, numbered) LOOP
        SELECT array_agg(pg_get_indexdef(indexrelid)) INTO indexes
        FROM pg_index WHERE indrelid = format('%I', large.name)::regclass AND NOT indisprimary;
        EXECUTE format('ALTER TABLE %I RENAME TO whole', large.name);
        EXECUTE format('CREATE TABLE %I (LIKE whole INCLUDING IDENTITY) PARTITION BY HASH (%I)', large.name, large.part);
        FOR i IN 0 .. current_setting('objects_server.partitions')::integer - 1 LOOP
            EXECUTE format('CREATE TABLE %I PARTITION OF %I FOR VALUES WITH (MODULUS %s, REMAINDER %s)',
                           large.name || '_' || i, large.name, current_setting('objects_server.partitions'), i);
        END LOOP;
        DROP TABLE whole;
        IF large.numbered THEN
            EXECUTE format('ALTER TABLE %I ADD PRIMARY KEY ("Id", %I)', large.name, large.part);
            EXECUTE format('ALTER SEQUENCE %s RENAME TO %I', pg_get_serial_sequence(format('%I', large.name), 'Id'),
                           large.name || '_Id_seq');
        END IF;
        FOREACH index IN ARRAY indexes LOOP
            EXECUTE index;
        END LOOP;
    END LOOP;
END $$;
COMMIT;

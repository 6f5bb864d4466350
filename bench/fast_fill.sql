-- Filling is several times as fast without the indexes, which fast_fill_end.sql makes again as they were defined.
CREATE TEMP TABLE later AS
SELECT format('DROP INDEX %s', indexrelid::regclass) AS remove, pg_get_indexdef(indexrelid) AS make
FROM pg_index
JOIN pg_class AS of_table ON of_table.oid = indrelid
WHERE NOT indisprimary AND of_table.relnamespace = 'public'::regnamespace;
SELECT remove FROM later \gexec

SELECT make FROM later \gexec
DROP TABLE later;

-- Marks all rows as visible to everybody, as autovacuum does in an installation, and counts them for the planner.
VACUUM ANALYZE;
CHECKPOINT;

-- The role that the service runs under: exactly the rights that its statements need.
--
--   psql -v ON_ERROR_STOP=1 -d <database> -f schema/roles.sql                     makes "objects_service"
--   psql -v ON_ERROR_STOP=1 -v role=<name> -d <database> -f schema/roles.sql      another name
--
-- Run it after schema.sql as a superuser, or as an owner of the tables who may create roles. A role that is there already
-- is kept with its password and gets the same rights; so it may be run again at any time. It sets no password: do that with
-- ALTER ROLE, or let pg_hba.conf trust the service's system user.

\set ON_ERROR_STOP on
\set QUIET on
\if :{?role}
\else
    \set role objects_service
\endif

BEGIN;

SELECT NOT EXISTS (SELECT FROM pg_roles WHERE rolname = :'role') AS role_missing \gset
\if :role_missing
    CREATE ROLE :"role" LOGIN;
\endif

-- A right that an earlier run gave and this one does not name is taken back.
REVOKE ALL ON ALL TABLES IN SCHEMA public, archive FROM :"role";
REVOKE ALL ON SCHEMA public, archive FROM :"role";
GRANT USAGE ON SCHEMA public, archive TO :"role";

GRANT SELECT, INSERT, DELETE ON "Objects", "Sensors", "Commands", "Groups", "Groups_groups", "Groups_objects",
    "Person_Setup" TO :"role";
GRANT SELECT, INSERT, UPDATE, DELETE ON "Objects_property", "Params", "Connections", "Templates" TO :"role";

-- Rows that hang on an object or an operator and belong to others: deleted with it, and read only to find them.
GRANT DELETE ON "Objects_permission", archive.lastdata TO :"role";
GRANT SELECT ("Id_object", "Id_connection") ON "Objects_permission" TO :"role";
GRANT SELECT (id_object) ON archive.lastdata TO :"role";

-- Supplied with the system: read, never changed.
GRANT SELECT ON "OpChk_Layers", "TemplatesFirm", "ExampleObjProps", "ExampleSensors", "ExampleControls" TO :"role";

-- Only a table's owner may add a column. Where an older installation's accounts lack "Email" or "Phone" the service adds
-- them itself, so there the accounts must be its own; elsewhere it owns nothing and can create or drop nothing.
SELECT count(*) < 2 AS accounts_are_old
FROM information_schema.columns
WHERE table_schema = 'public' AND table_name = 'Connections' AND column_name IN ('Email', 'Phone') \gset
\if :accounts_are_old
    -- PostgreSQL lets only a role that may create in the schema own a table there while ownership changes hands.
    GRANT CREATE ON SCHEMA public TO :"role";
    ALTER TABLE "Connections" OWNER TO :"role";
    REVOKE CREATE ON SCHEMA public FROM :"role";
\endif

COMMIT;

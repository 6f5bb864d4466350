#include "access/personal_setup.h"

#include "access/row_list.h"
#include "access/working_adm_commands.h"
#include "registry/command_call.h"

using database::Value;
using registry::CommandCall;
using registry::RequestReader;

namespace {

// Reads the operator's rows once and not once for each object.
constexpr const char *kSelectSetup =
    R"(SELECT a."Id", s.properties FROM (select 0 as "Id" union select "Id" from "%2") a LEFT JOIN (SELECT "Id_object", array_agg("Id_PersProp" ORDER BY "Id_PersProp") AS properties FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 GROUP BY "Id_object") s ON s."Id_object" = a."Id" ORDER BY a."Id")";

// The lists of a change may be as long as a frame, so they go to the server as arrays: as words of a statement each
// number would take it some hundred bytes to read.
constexpr const char *kDeleteProperties =
    R"(DELETE FROM "Person_Setup" WHERE "Type" = $1 AND "Id_connect" = $2 AND "Id_object" = ANY($3) AND "Id_PersProp" = ANY($4))";
constexpr const char *kInsertProperties =
    R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") SELECT $1, $2, o.number, p.number FROM unnest($3) WITH ORDINALITY AS o(number, place), unnest($4) WITH ORDINALITY AS p(number, place) ORDER BY o.place, p.place)";
constexpr const char *kDeleteSections = R"(DELETE FROM "Person_Setup" WHERE "Type" = $1 AND "Id_connect" = ANY($2))";
constexpr const char *kInsertCopies =
    R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") SELECT %0 $1, t.number, "Id_object", "Id_PersProp" FROM "Person_Setup", unnest($3) AS t(number) WHERE "Type" = $1 AND "Id_connect" = $2)";

enum Section { ObjectSection = 1, LayerSection = 2, SecondObjectSection = 3, ThirdObjectSection = 4 };

void writeSection(int section, const char *subjects, int idConnect, database::Connection &db, keystone::ByteWriter &out)
{
    const QString select = QString::fromLatin1(kSelectSetup)
                               .arg(QString::number(section), QString::number(idConnect), QLatin1String(subjects));
    operators::writeRowList(out, db, select.toLatin1(), operators::FailedCount::MinusOne,
                            [&](const database::CopiedRow &row) { out << row.integer(0) << row.integers(1); });
}

QList<qint32> readNumbers(RequestReader &in)
{
    return in.readContainer<QList<qint32>>(sizeof(qint32));
}

/// Rows that one change may add: 100,000 objects times 200 properties.
constexpr qsizetype kMostNewRows = 20'000'000;

/// Operators that one copy may go to.
constexpr qsizetype kMostTargets = 10'000;

/// A short request can ask for rows beyond number, as objects times properties. Leaves reading where it was.
bool changeMayBeMade(RequestReader &in)
{
    const qint64 start = in.position();
    (void)in.read<qint32>();
    (void)in.read<qint32>();
    const qsizetype objects = readNumbers(in).size();
    (void)readNumbers(in);
    const qsizetype properties = readNumbers(in).size();
    in.goTo(start);
    if (objects * properties <= kMostNewRows)
        return true;
    in.refuse(QStringLiteral("%1 objects times %2 properties are too many").arg(objects).arg(properties));
    return false;
}

/// The same for a copy.
bool copyMayBeMade(RequestReader &in)
{
    const qint64 start = in.position();
    (void)in.read<qint32>();
    (void)in.read<qint32>();
    const qsizetype targets = readNumbers(in).size();
    in.goTo(start);
    if (targets <= kMostTargets)
        return true;
    in.refuse(QStringLiteral("%1 operators are too many").arg(targets));
    return false;
}

/// Both changes are logged before and announced after, whatever becomes of their statements.
void logAndAnnounce(CommandCall &call)
{
    call.logEvent(QStringLiteral("User '%1' update personal configuration").arg(call.callerName()));
    call.announceAfterReply("SavedPersonConfig", QByteArray());
}

} // namespace

void WorkingAdmCommands::GetPersonalSetup(int type, int idConnect, database::Connection &db, keystone::ByteWriter &out)
{
    if (type == LayerSection)
        writeSection(LayerSection, "OpChk_Layers", idConnect, db, out);
    if (type != ObjectSection)
        return;
    for (const Section section : {ObjectSection, SecondObjectSection, ThirdObjectSection})
        writeSection(section, "Objects", idConnect, db, out);
}

void WorkingAdmCommands::FixPersonalSetup(RequestReader &in, database::Connection &db)
{
    const Value type = Value::integer(in.read<qint32>());
    const Value idConnect = Value::integer(in.read<qint32>());
    const QList<qint32> objects = readNumbers(in);
    const QList<qint32> switchOff = readNumbers(in);
    const QList<qint32> switchOn = readNumbers(in);
    if (objects.isEmpty())
        return;
    const Value where = Value::integers(objects);
    if (!switchOff.isEmpty())
        (void)db.queryOnce(QLatin1String(kDeleteProperties), {type, idConnect, where, Value::integers(switchOff)});
    if (switchOn.isEmpty())
        return;
    // What is on already goes first, so that no row comes twice.
    const QList<Value> on{type, idConnect, where, Value::integers(switchOn)};
    (void)db.queryOnce(QLatin1String(kDeleteProperties), on);
    (void)db.queryOnce(QLatin1String(kInsertProperties), on);
}

void WorkingAdmCommands::CopyPersonalSetup(RequestReader &in, database::Connection &db)
{
    const Value type = Value::integer(in.read<qint32>());
    const Value source = Value::integer(in.read<qint32>());
    const QList<qint32> targets = readNumbers(in);
    if (targets.isEmpty())
        return;
    // A target that is the source loses its rows here, before they are read.
    (void)db.queryOnce(QLatin1String(kDeleteSections), {type, Value::integers(targets)});
    // A single target gets every row of the source, several get each different row once.
    const QString copy =
        QString::fromLatin1(kInsertCopies).arg(QLatin1String(targets.size() == 1 ? "ALL" : "DISTINCT"));
    (void)db.queryOnce(copy, {type, source, Value::integers(targets)});
}

namespace operators {

void getPersonalsetup4objectsX(CommandCall &call)
{
    WorkingAdmCommands::GetPersonalSetup(ObjectSection, call.in.read<qint32>(), call.db, call.out);
}

void fixPersonalSetupChanges(CommandCall &call)
{
    logAndAnnounce(call);
    if (changeMayBeMade(call.in))
        WorkingAdmCommands::FixPersonalSetup(call.in, call.db);
}

void copyPersonalSetup(CommandCall &call)
{
    logAndAnnounce(call);
    if (copyMayBeMade(call.in))
        WorkingAdmCommands::CopyPersonalSetup(call.in, call.db);
}

} // namespace operators

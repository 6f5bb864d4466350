#include "access/personal_setup.h"

#include "access/working_adm_commands.h"
#include "registry/command_call.h"
#include "registry/number_list.h"

using registry::CommandCall;
using registry::numberListText;
using registry::RequestReader;

namespace {

constexpr const char *kSelectObjectSetup =
    R"(SELECT a."Id", ARRAY(SELECT "Id_PersProp" FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 AND "Id_object" = a."Id" ORDER BY "Id_PersProp") FROM (select 0 as "Id" union select "Id" from "Objects" order by "Id") a )";
constexpr const char *kSelectLayerSetup =
    R"(SELECT a."Id", ARRAY(SELECT "Id_PersProp" FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 AND "Id_object" = a."Id" ORDER BY "Id_PersProp") FROM (select 0 as "Id" union select "Id" from "OpChk_Layers" order by "Id") a )";
constexpr const char *kDeleteProperties =
    R"(DELETE FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1 AND "Id_object" IN (%2) AND "Id_PersProp" IN (%3); )";
constexpr const char *kInsertProperties =
    R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") VALUES )";
constexpr const char *kDeleteSections = R"(DELETE FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" IN (%1); )";
constexpr const char *kInsertCopies =
    R"(INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp") ( )";
constexpr const char *kSelectCopy =
    R"((SELECT %0, %2, "Id_object", "Id_PersProp" FROM "Person_Setup" WHERE "Type" = %0 AND "Id_connect" = %1) )";

enum Section { ObjectSection = 1, LayerSection = 2, SecondObjectSection = 3, ThirdObjectSection = 4 };

void writeSection(const char *select, int section, int idConnect, database::Connection &db, QDataStream &out)
{
    const auto rows = db.query(QString::fromLatin1(select).arg(section).arg(idConnect));
    out << rows.size();
    for (int row = 0; row < rows.rowCount(); ++row)
        out << rows.integer(row, 0) << rows.integers(row, 1);
}

QList<qint32> readNumbers(RequestReader &in)
{
    return in.readContainer<QList<qint32>>(sizeof(qint32));
}

/// Rows of one operator's section, for every pair of object and property.
struct SetupRows
{
    qint32 type;
    qint32 idConnect;
    QList<qint32> objects;

    [[nodiscard]] QString deletion(const QList<qint32> &properties) const
    {
        return QString::fromLatin1(kDeleteProperties)
            .arg(QString::number(type), QString::number(idConnect), numberListText(objects),
                 numberListText(properties));
    }

    [[nodiscard]] QString insertion(const QList<qint32> &properties) const
    {
        const QString head = QStringLiteral("(%1, %2, ").arg(type).arg(idConnect);
        QString text = QLatin1String(kInsertProperties);
        const char *separator = "";
        for (const qint32 object : objects) {
            const QString owner = head + QString::number(object) + QStringLiteral(", ");
            for (const qint32 property : properties) {
                text += QLatin1String(separator) + owner + QString::number(property) + QLatin1Char(')');
                separator = ", ";
            }
        }
        return text + QLatin1Char(';');
    }
};

/// Rows that one change may add. The server needs some kilobytes a row to read the statement.
constexpr qsizetype kMostNewRows = 500'000;

/// Operators that one copy may go to: the server reads a union of more by recursion that it ends.
constexpr qsizetype kMostTargets = 5'000;

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

void WorkingAdmCommands::GetPersonalSetup(int type, int idConnect, database::Connection &db, QDataStream &out)
{
    if (type == LayerSection)
        writeSection(kSelectLayerSetup, LayerSection, idConnect, db, out);
    if (type != ObjectSection)
        return;
    for (const Section section : {ObjectSection, SecondObjectSection, ThirdObjectSection})
        writeSection(kSelectObjectSetup, section, idConnect, db, out);
}

void WorkingAdmCommands::FixPersonalSetup(RequestReader &in, database::Connection &db)
{
    const auto type = in.read<qint32>();
    const auto idConnect = in.read<qint32>();
    const SetupRows rows{type, idConnect, readNumbers(in)};
    const QList<qint32> switchOff = readNumbers(in);
    const QList<qint32> switchOn = readNumbers(in);
    if (rows.objects.isEmpty())
        return;
    if (!switchOff.isEmpty())
        (void)db.query(rows.deletion(switchOff));
    if (switchOn.isEmpty())
        return;
    // What is on already goes first, so that no row comes twice.
    (void)db.query(rows.deletion(switchOn));
    (void)db.query(rows.insertion(switchOn));
}

void WorkingAdmCommands::CopyPersonalSetup(RequestReader &in, database::Connection &db)
{
    const QString type = QString::number(in.read<qint32>());
    const QString source = QString::number(in.read<qint32>());
    const QList<qint32> targets = readNumbers(in);
    if (targets.isEmpty())
        return;
    // A target that is the source loses its rows here, before they are read.
    (void)db.query(QString::fromLatin1(kDeleteSections).arg(type, numberListText(targets)));
    QStringList copies;
    for (const qint32 target : targets)
        copies.append(QString::fromLatin1(kSelectCopy).arg(type, source, QString::number(target)));
    (void)db.query(QLatin1String(kInsertCopies) + copies.join(QStringLiteral("UNION ")) + QStringLiteral("); "));
}

namespace operators {

void getPersonalsetup4objectsX(CommandCall &call)
{
    WorkingAdmCommands::GetPersonalSetup(ObjectSection, call.in.read<qint32>(), call.db, call.out);
}

void fixPersonalSetupChanges(CommandCall &call)
{
    if (!changeMayBeMade(call.in))
        return;
    logAndAnnounce(call);
    WorkingAdmCommands::FixPersonalSetup(call.in, call.db);
}

void copyPersonalSetup(CommandCall &call)
{
    if (!copyMayBeMade(call.in))
        return;
    logAndAnnounce(call);
    WorkingAdmCommands::CopyPersonalSetup(call.in, call.db);
}

} // namespace operators

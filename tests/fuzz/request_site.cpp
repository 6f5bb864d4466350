#include "request_site.h"

#include "access/access_commands.h"
#include "bus/frame.h"
#include "command_names.h"
#include "fuzz.h"
#include "keystone/database.h"
#include "registry/registry_commands.h"
#include "templates/template_commands.h"

#include <QFile>
#include <QSettings>

#include <algorithm>
#include <array>
#include <chrono>
#include <span>
#include <vector>

namespace fuzz {

namespace {

/// Far above what a statement on these few rows takes; a client's own may be made to take for ever.
constexpr std::chrono::seconds kStatementTimeout{2};

/// Deleting is faster than truncating, but leaves dead rows behind.
constexpr int kDeletesPerTruncate = 500;

constexpr std::array kTables = {R"("Objects")",        R"("Objects_property")", R"("Sensors")",
                                R"("Commands")",       R"("Params")",           R"("Groups")",
                                R"("Groups_groups")",  R"("Groups_objects")",   R"("Connections")",
                                R"("Person_Setup")",   R"("OpChk_Layers")",     R"("Objects_permission")",
                                R"("Templates")",      R"("TemplatesFirm")",    R"("ExampleObjProps")",
                                R"("ExampleSensors")", R"("ExampleControls")",  "archive.lastdata"};

constexpr std::array kNumbered = {"Objects", "Objects_property", "Sensors",  "Commands",
                                  "Params",  "Connections",      "Templates"};

constexpr const char *kRows = R"(
INSERT INTO "Objects" ("Id", "guid") VALUES (17, '{a}'), (18, '{b}');
INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible") VALUES
 (17, 'name', 'Имя', 10, 'seventeen', true), (17, 'modem', '', 2, '100', true), (17, 'subdivision', '', 10, 'north', false),
 (17, 'pic', '', 6, '\x00000000', true), (17, 'font_color', '', 7, '\x01ffff00000000ffff0000', true),
 (17, 'background_color', '', 7, '\x01', NULL), (18, 'name', 'Имя', 10, 'eighteen', true), (18, 'note', NULL, 10, NULL, true);
INSERT INTO "Sensors" ("Id_objects", "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate") VALUES
 (17, 'fuel', 'l', 3, 'x*2', 'a', 1, 'low;high', '\x0102'), (18, 'door', '', 4, '', '', 0, '', NULL);
INSERT INTO "Commands" ("Id", "Id_object", "Name", "Operation", "Description", "ExecBy") VALUES
 (7, 17, 'lock', 2, 'locks', 'modem'), (8, 17, 'look', 1, NULL, NULL);
INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type") VALUES (7, 'par', 'd', '\x01', 1), (7, 'two', '', NULL, 2);
INSERT INTO "Groups" VALUES (1, 'all', true), (2, 'some', false);
INSERT INTO "Groups_groups" VALUES (1, 2);
INSERT INTO "Groups_objects" VALUES (1, 17), (2, 18);
INSERT INTO "Connections" ("Id", "Login", "Password", "Description", "Admin") VALUES (4, 'ivanov', 'p', 'd', true), (5, 'petrov', '', NULL, false);
INSERT INTO "Objects_permission" VALUES (17, 4), (18, 5);
INSERT INTO "Person_Setup" VALUES (1, 4, 17, 101), (1, 4, 17, 201), (1, 4, 17, 202), (1, 4, 18, 101), (3, 4, 0, 301), (4, 5, 18, 401), (2, 4, 1, 1);
INSERT INTO "OpChk_Layers" VALUES (1), (2);
INSERT INTO "Templates" ("Id", "Owner", "Class", "Name", "Description", "SpecificData") VALUES
 (1, 5, 't', 'lorry', '', NULL),
 (2, 5, 'p', 'name', 'Имя', '\x0000000a00000001780074'), (3, 5, 'p', 'colour', '', '\x00'),
 (4, 5, 's', 'fuel', '', '\x000000020078000000010003006100000000ffffffff00000000'),
 (6, 5, 'c', 'lock', 'locks', '\x0000000200000001'), (7, 6, 'd', 'par', '', '\x0000000101 00000002');
INSERT INTO "TemplatesFirm" ("Id", "Owner", "Class", "Name", "Description", "SpecificData") VALUES
 (1, 3, 't', 'supplied', '', NULL), (2, 3, 'p', 'name', '', '\x0000000a00000001780074'), (3, 3, 's', 'door', '', ''), (4, 3, 'c', 'look', '', NULL);
INSERT INTO "ExampleObjProps" ("Name", "Description", "Type", "Value", "Visible") VALUES ('driver', 'd', 10, 'x', 't');
INSERT INTO "ExampleSensors" VALUES ('fuel', 'l', 1, 2, 'a', 'x;y', '', '\x01', true, false);
INSERT INTO "ExampleControls" ("Id", "Owner", "Name", "Description", "SpecificInt") VALUES (1, -1, 'kind', '', 0), (2, -2, 'lock', 'd', 2), (3, 2, 'par', '', 1), (4, 1, 'lock', '', 0);
INSERT INTO archive.lastdata VALUES (17, now(), '\x01');
)";

std::vector<std::span<const registry::CommandRow>> tables()
{
    return {operators::operatorCommands(), registry::registryCommands(), operators::accessCommands(),
            templates::templateCommands()};
}

QString deletionOfAll()
{
    QString text;
    for (const char *table : kTables)
        text += QStringLiteral("DELETE FROM %1;").arg(QLatin1String(table));
    return text;
}

QString truncationOfAll()
{
    QStringList names;
    for (const char *table : kTables)
        names.append(QLatin1String(table));
    return QStringLiteral("TRUNCATE %1;").arg(names.join(QLatin1Char(',')));
}

QString numbersFromTheStart()
{
    QString text;
    for (const char *table : kNumbered)
        text +=
            QStringLiteral(R"(SELECT setval(pg_get_serial_sequence('"%1"', 'Id'), 100);)").arg(QLatin1String(table));
    return text;
}

} // namespace

RequestSite::RequestSite()
    : m_dispatcher({operators::operatorCommands(), registry::registryCommands(), operators::accessCommands(),
                    templates::templateCommands()},
                   m_connection, *this)
{
    for (const auto &table : tables()) {
        for (const registry::CommandRow &row : table)
            m_replies.insert(row.name, row.reply);
    }
    // A command that is missing in kCommandNames would never be tried.
    FUZZ_CHECK(m_replies.size() == qsizetype(kCommandNames.size()));
    FUZZ_CHECK(std::all_of(kCommandNames.begin(), kCommandNames.end(),
                           [this](const char *name) { return m_replies.contains(name); }));
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("service.ini")));
    FUZZ_CHECK(file.open(QIODevice::WriteOnly) && file.write("[Base]\n" + m_rows->settings()) > 0);
    file.close();
    QSettings settings(file.fileName(), QSettings::IniFormat);
    QString connection = QStringLiteral("Browser1");
    m_connection.setName(connection);
    m_connection.setStatementTimeout(kStatementTimeout);
    FUZZ_CHECK(!openDataBaseBySettings(connection, settings, QStringLiteral("Base"), QString()).isValid());
    restore();
}

QString RequestSite::changePosition() const
{
    return m_rows->value(QStringLiteral("SELECT pg_current_wal_insert_lsn()::text")).toString();
}

void RequestSite::restore()
{
    if (changePosition() == m_restoredAt)
        return;
    const bool truncating = m_restores++ % kDeletesPerTruncate == 0;
    m_rows->run((truncating ? truncationOfAll() : deletionOfAll()) + QString::fromUtf8(kRows) + numbersFromTheStart());
    m_restoredAt = changePosition();
}

void RequestSite::run(const QByteArray &command, const QByteArray &request)
{
    m_command = command;
    m_answers = 0;
    m_stopped = false;
    // Another of the same follows, of which nobody asks for what was sent ahead.
    const bus::Frame following = bus::Command{command, request, kOperator};
    m_dispatcher.dispatch(command, request, kOperator, std::span(&following, 1));
    // A command with an answer may withhold it, one without has none; "About" makes its own.
    FUZZ_CHECK(m_answers <= (m_replies.value(command) == registry::Reply::Sent || command == "About" ? 1 : 0));
    FUZZ_CHECK(m_stopped == (command == "QuitSignal"));
    // Whatever a client's words have done to the session, the next command meets it as it was.
    m_connection.beginCommand();
    const auto session = m_connection.query(
        "SELECT (current_user = 'objects_service' AND current_setting('search_path') = '\"$user\", public')::text");
    FUZZ_CHECK(session.rowCount() == 1 && session.text(0, 0) == QLatin1String("true"));
}

void RequestSite::storeBlob(char rows, const QByteArray &blob)
{
    m_rows->run(QStringLiteral(R"(UPDATE "Templates" SET "SpecificData" = '\x%1' WHERE "Class" = '%2')")
                    .arg(QLatin1String(blob.toHex()), QString(QLatin1Char(rows))));
}

void RequestSite::sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data,
                             const QColor &colour, int idConnection)
{
    if (idConnection == registry::kAllClients) {
        FUZZ_CHECK(action == "ServerMessage" && colour == Qt::red);
        FUZZ_CHECK(message == "SavedCard" || message == "SavedUser" || message == "SavedPersonConfig");
        FUZZ_CHECK(data.isEmpty() == (message == "SavedPersonConfig"));
        return;
    }
    FUZZ_CHECK(action == m_command && idConnection == kOperator);
    ++m_answers;
}

void RequestSite::sendAnswer(const QByteArray &frame)
{
    const bus::Frame sent = bus::decode(frame.sliced(sizeof(qint32)));
    const auto *answer = std::get_if<bus::Action>(&sent);
    FUZZ_CHECK(answer && bus::encode(*answer) == frame);
    sendAction(answer->action, answer->message, answer->data, answer->colour, answer->idConnection);
}

void RequestSite::writeToLog(const QByteArray &text, quint8)
{
    FUZZ_CHECK(text.startsWith("User '"));
}

void RequestSite::stop(int code)
{
    FUZZ_CHECK(code == 0);
    m_stopped = true;
}

} // namespace fuzz

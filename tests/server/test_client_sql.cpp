// Statements that a client sends as they are: whatever they do to the connection, the answer is a list and the next
// command works on a connection in its proper state.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

#include <QElapsedTimer>

using support::bytes;
using support::i32;
using support::numbers;
using support::text;

namespace {

constexpr int kOperator = 4;
constexpr qint64 kMiB = 1 << 20;
const QByteArray kByQuery = "Get_objs_by_query_v2";
/// A sum of the value of every setting that a client may change, in the order of kSettingNames. Those of the
/// procedural language are there only once it was used.
const QString kSettingSums = QStringLiteral(
    "SELECT hashtext(setting) FROM pg_settings WHERE context = 'user' AND name NOT LIKE 'plpgsql.%' ORDER BY name");
const QString kSettingNames =
    QStringLiteral("SELECT name FROM pg_settings WHERE context = 'user' AND name NOT LIKE 'plpgsql.%' ORDER BY name");

QByteArray byQuery(const QString &statement)
{
    return support::command(kByQuery, text(statement), kOperator);
}

QByteArray queried(const QList<int> &objects)
{
    return support::answer(kByQuery, numbers(objects), kOperator);
}

} // namespace

using Lists = QList<QList<int>>;

class TestClientSql : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void properStateIsSeen();
    void nextCommandWorksAfter_data();
    void nextCommandWorksAfter();
    void copyTakesNoMemory();
    void unfinishedTransactionStoresNothing();
    void finishedTransactionIsStored();
    void failedStatementUndoesThoseBeforeIt();
    void otherCommandsChangesAreStoredAfterAnOpenTransaction();
    void locksAreGivenBack_data();
    void locksAreGivenBack();
    void sessionThatEndsWhileItIsResetIsTold();
    void leavesNoConnectionsAndDescriptorsBehind();
    void defaultsOfTheDatabaseDoNotTakeOver_data();
    void defaultsOfTheDatabaseDoNotTakeOver();
    void withoutALimitAStatementMayTakeItsTime();

private:
    QByteArray said(const QByteArray &command);
    /// What is wrong with the service's connection, seen through commands; nothing when all is well.
    QString problem();
    QString changedSettings();
    QString complaint(const char *what, const QByteArray &command, const QByteArray &expected);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    /// What the service's session began with.
    QByteArray m_settings;
    QStringList m_settingNames;
    QString m_otherRole;
    int m_round = 0;
};

void TestClientSql::initTestCase()
{
    m_otherRole = "client_of_" + m_site.database->name();
    m_site.database->run("CREATE ROLE " + m_otherRole);
    m_site.database->run("GRANT " + m_otherRole + " TO objects_service");
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    // The very first session of the driver spells two of them in another way.
    static_cast<void>(said(byQuery("SELECT 17")));
    m_settings = said(byQuery(kSettingSums));
    m_settingNames = m_site.database->rows(kSettingNames);
    QVERIFY(m_settingNames.size() > 50);
    QCOMPARE(m_settings.size(), queried({}).size() + 4 * m_settingNames.size());
}

void TestClientSql::cleanupTestCase()
{
    m_site.service.kill();
    m_site.database->run("DROP ROLE " + m_otherRole);
}

void TestClientSql::init()
{
    m_site.beginFunction();
    m_site.database->run(support::givingProperty(17, "name", "Лада"));
    m_site.database->run(support::givingProperty(17, "k", "50%", 2));
    m_site.database->run("INSERT INTO \"Params\" (\"Id_command\",\"Name\",\"Description\",\"Type\") VALUES (9,'ключ',"
                         "'Описание',1)");
}

void TestClientSql::cleanup()
{
    const QString leftover = m_site.leftover(int(m_site.newLogLines().size()));
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QByteArray TestClientSql::said(const QByteArray &command)
{
    m_admin.send(command);
    return m_admin.nextFrame();
}

QString TestClientSql::complaint(const char *what, const QByteArray &command, const QByteArray &expected)
{
    const QByteArray answer = said(command);
    return answer == expected ? QString()
                              : QString::fromLatin1(what) + ": " + support::difference(answer, expected) + '\n';
}

QString TestClientSql::changedSettings()
{
    const QByteArray now = said(byQuery(kSettingSums));
    if (now.size() != m_settings.size())
        return "settings: another number of them\n";
    const qsizetype first = queried({}).size() - 15;
    QString result;
    for (qsizetype i = 0; i < m_settingNames.size(); ++i) {
        if (now.mid(first + 4 * i, 4) != m_settings.mid(first + 4 * i, 4))
            result += "setting " + m_settingNames[i] + " has changed\n";
    }
    return result;
}

QString TestClientSql::problem()
{
    const QByteArray value = support::everyByte() + QByteArray::number(++m_round);
    QString result;
    result += complaint("query", byQuery("SELECT 17"), queried({17}));
    result += complaint("names", support::command("Get_objects", "", kOperator),
                        support::answer("Get_objects", i32(1) + i32(17) + bytes("Лада"), kOperator));
    result += complaint(
        "saving", support::command("Save_params", i32(0) + i32(9) + i32(1) + bytes("ключ") + bytes(value), kOperator),
        support::emptyAnswer("Save_params", kOperator));
    result += complaint("parameters", support::command("Get_command_params", i32(9), kOperator),
                        support::answer("Get_command_params",
                                        i32(1) + bytes("ключ") + text("Описание") + i32(1) + bytes(value), kOperator));
    result += complaint("pattern", support::command("Get_objs_by_condition_v2", text("50\\\\%") + text(""), kOperator),
                        support::answer("Get_objs_by_condition_v2", numbers({17}), kOperator));
    result += changedSettings();
    result += complaint(
        "user and schema",
        byQuery(
            "SELECT 1 WHERE current_user = 'objects_service' AND session_user = current_user AND current_schema() = "
            "'public'"),
        queried({1}));
    result += complaint("channels", byQuery("SELECT count(*) FROM pg_listening_channels()"), queried({0}));
    result += complaint("cursors", byQuery("SELECT count(*) FROM pg_cursors"), queried({0}));
    result += complaint("advisory locks",
                        byQuery("SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' AND pid = pg_backend_pid()"),
                        queried({0}));
    // What the commands stored is there for others too, and no transaction stays open.
    const QByteArray stored = m_site.database->value("SELECT \"Value\" FROM \"Params\"").toByteArray();
    if (stored != value)
        result += "the value saved is not there for others\n";
    const QString open =
        "SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND usename = 'objects_service' "
        "AND state LIKE 'idle in transaction%'";
    if (m_site.database->value(open).toInt() != 0)
        result += "a transaction stays open\n";
    return result;
}

void TestClientSql::properStateIsSeen()
{
    QCOMPARE(problem(), QString());
    // A check that sees nothing would be no check.
    m_site.database->run("UPDATE \"Objects_property\" SET \"Name\" = 'other'");
    QVERIFY(problem().startsWith("names: "));
}

void TestClientSql::nextCommandWorksAfter_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<Lists>("answers");
    const auto row = [](const char *title, const char *statement, const Lists &answers) {
        QTest::newRow(title) << QString::fromUtf8(statement) << answers;
    };
    const Lists none = {{}};
    row("COPY to the client", "COPY \"Objects_property\" TO STDOUT", none);
    row("COPY of a query to the client", "COPY (SELECT generate_series(1, 100000)) TO STDOUT (FORMAT binary)", none);
    row("COPY from the client", "COPY \"Objects\" FROM STDIN", none);
    row("COPY from the client, binary", "COPY \"Objects\" FROM STDIN (FORMAT binary)", none);
    row("COPY to the client, then a query", "COPY \"Objects_property\" TO STDOUT; SELECT 17", {{}, {17}});
    row("query, then COPY to the client", "SELECT 17; COPY \"Objects_property\" TO STDOUT", {{}, {17}});
    row("COPY from the client, then a query", "COPY \"Objects\" FROM STDIN; SELECT 17", {{}, {17}});
    row("COPY of a file", "COPY \"Objects\" FROM '/etc/hostname'", none);
    row("COPY that fails on its way", "COPY (SELECT 10 / (900 - i) FROM generate_series(1, 1000) AS i) TO STDOUT",
        none);

    row("BEGIN", "BEGIN", none);
    row("BEGIN and a query", "BEGIN; SELECT 17", {{}, {17}});
    row("BEGIN and an error", "BEGIN; SELECT 1 / 0", none);
    row("BEGIN and a syntax error", "BEGIN; SELEC", none);
    row("read-only transaction", "START TRANSACTION READ ONLY", none);
    row("serializable transaction", "BEGIN ISOLATION LEVEL SERIALIZABLE; SELECT 17", {{}, {17}});
    row("COMMIT alone", "COMMIT", none);
    row("ROLLBACK alone", "ROLLBACK", none);
    row("SAVEPOINT alone", "SAVEPOINT s", none);
    row("two transactions", "BEGIN; COMMIT; BEGIN", none);
    row("PREPARE TRANSACTION", "BEGIN; PREPARE TRANSACTION 'x'", none);
    row("chained COMMIT", "BEGIN; COMMIT AND CHAIN", none);

    row("SET search_path", "SET search_path = nowhere", none);
    row("search_path by a function", "SELECT set_config('search_path', 'nowhere', false)", {{0}});
    row("SET bytea_output escape", "SET bytea_output = 'escape'", none);
    row("SET bytea_output hex", "SET bytea_output = 'hex'", none);
    row("SET client_encoding", "SET client_encoding = 'LATIN1'", none);
    row("SET NAMES", "SET NAMES 'KOI8R'", none);
    row("SET standard_conforming_strings", "SET standard_conforming_strings = off", none);
    row("SET escape_string_warning and more", "SET backslash_quote = off; SET escape_string_warning = off", none);
    row("SET read-only", "SET default_transaction_read_only = on", none);
    row("SET SESSION CHARACTERISTICS", "SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY", none);
    row("SET statement_timeout", "SET statement_timeout = 1", none);
    row("SET lock_timeout", "SET lock_timeout = 1", none);
    row("SET idle_session_timeout", "SET idle_session_timeout = 86400000", none);
    row("SET DateStyle and the zone", "SET DateStyle = 'German'; SET TIME ZONE 'Asia/Tokyo'", none);
    row("SET application_name", "SET application_name = 'client'", none);
    row("SET planner", "SET enable_seqscan = off; SET jit = on", none);
    row("SET role", "SET ROLE %1", none);
    row("SET role none", "SET ROLE NONE", none);
    row("SET SESSION AUTHORIZATION", "SET SESSION AUTHORIZATION %1", none);
    row("SET of nothing known", "SET nowhere = 1", none);
    row("SET and an error", "SET search_path = nowhere; SELECT 1 / 0", none);
    row("RESET ALL", "RESET ALL", none);
    row("DISCARD ALL", "DISCARD ALL", none);
    row("DEALLOCATE ALL", "DEALLOCATE ALL", none);
    row("DEALLOCATE ALL and a query", "DEALLOCATE ALL; SELECT 17", {{}, {17}});

    row("PREPARE", "PREPARE client_statement AS SELECT 17", none);
    row("cursor that stays", "DECLARE client_cursor CURSOR WITH HOLD FOR SELECT 17", none);
    row("LISTEN", "LISTEN client_channel", none);
    row("LISTEN and NOTIFY", "LISTEN client_channel; NOTIFY client_channel, 'x'", none);
    row("advisory lock", "SELECT 17 FROM pg_advisory_lock(4711)", {{17}});
    row("many advisory locks", "SELECT 17 FROM generate_series(1, 100) AS i WHERE pg_try_advisory_lock(i) AND i = 5",
        {{17}});
    row("temporary table in place of a real one",
        "CREATE TEMPORARY TABLE \"Objects_property\" AS SELECT 1 AS \"Id_objects\"", none);
    row("temporary table in place of another one", "CREATE TEMPORARY TABLE \"Params\" (\"Id\" integer)", none);

    row("two queries", "SELECT 1; SELECT 2", {{1}, {2}});
    row("a change, then a query", "CREATE TABLE client_table (i integer); DROP TABLE client_table; SELECT 17",
        {{}, {17}});
    row("a query, then an error", "SELECT 17; SELECT 1 / 0", none);
    row("a query, then a syntax error", "SELECT 17; SELEC", none);
    row("empty", "", none);
    row("blank", "  \n", none);
    row("semicolons", ";;;", none);
    row("comment", "-- nothing", none);
    row("rows without a column", "SELECT FROM generate_series(1, 3)", {{}, {0, 0, 0}});
    row("DO that fails", "DO $$ BEGIN RAISE EXCEPTION 'x'; END $$", none);
    row("DO with many notices",
        "DO $$ BEGIN FOR i IN 1..2000 LOOP RAISE WARNING 'client notice %', i; END LOOP; END $$", none);
    row("VACUUM", "VACUUM \"Objects\"", none);
    row("EXPLAIN", "EXPLAIN SELECT 17", {{0}});

    row("ends its own connection", "SELECT pg_terminate_backend(pg_backend_pid())", none);
    row("ends its own connection behind a query", "SELECT 17; SELECT pg_terminate_backend(pg_backend_pid())", none);
    row("ends its own connection in a transaction", "BEGIN; SELECT 17; SELECT pg_terminate_backend(pg_backend_pid())",
        none);
    row("cancels itself", "SELECT 17 FROM pg_cancel_backend(pg_backend_pid()), pg_sleep(20)", none);
    QTest::newRow("no character in the text") << QStringLiteral("SELECT 17") + QChar(0) + " garbage" << Lists{{}, {17}};
    QTest::newRow("10 MB of text") << "SELECT 17 -- " + QString(5000000, 'x') << Lists{{17}};
    QTest::newRow("10,000 statements") << QString("SELECT 17;").repeated(10000) << Lists{{17}};
}

void TestClientSql::nextCommandWorksAfter()
{
    QFETCH(QString, statement);
    QFETCH(Lists, answers);
    if (statement.contains("%1"))
        statement = statement.arg(m_otherRole);
    QElapsedTimer clock;
    clock.start();
    const QByteArray answer = said(byQuery(statement));
    const bool known =
        std::any_of(answers.begin(), answers.end(), [&](const QList<int> &list) { return answer == queried(list); });
    QVERIFY2(known, qPrintable(support::describe(answer)));
    QVERIFY2(clock.elapsed() < 30000, qPrintable(QString::number(clock.elapsed())));
    const QString found = problem();
    QVERIFY2(found.isEmpty(), qPrintable(found));
    // What the next command repairs stays so.
    const QString again = problem();
    QVERIFY2(again.isEmpty(), qPrintable(again));
}

void TestClientSql::copyTakesNoMemory()
{
    const qint64 before = m_site.service.residentBytes();
    QElapsedTimer clock;
    clock.start();
    m_admin.send(byQuery("COPY (SELECT repeat('x', 10000) FROM generate_series(1, 100000)) TO STDOUT"));
    qint64 growth = 0;
    while (m_admin.isSilent() && clock.elapsed() < 30000) {
        growth = qMax(growth, m_site.service.residentBytes() - before);
        QTest::qSleep(5);
    }
    SAYS(m_admin, queried({}));
    QVERIFY2(growth < 32 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(growth)));
    QVERIFY2(clock.elapsed() < 15000, qPrintable(QString::number(clock.elapsed())));
    QCOMPARE(problem(), QString());
}

void TestClientSql::unfinishedTransactionStoresNothing()
{
    static_cast<void>(said(byQuery("BEGIN; INSERT INTO \"Objects\" (\"Id\") VALUES (17)")));
    QCOMPARE(problem(), QString());
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 0);
}

void TestClientSql::finishedTransactionIsStored()
{
    static_cast<void>(said(byQuery("BEGIN; INSERT INTO \"Objects\" (\"Id\") VALUES (17); COMMIT")));
    QCOMPARE(problem(), QString());
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 1);
}

void TestClientSql::failedStatementUndoesThoseBeforeIt()
{
    m_admin.send(byQuery("INSERT INTO \"Objects\" (\"Id\") VALUES (17) RETURNING \"Id\"; SELECT 1 / 0"));
    SAYS(m_admin, queried({}));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 0);
    QCOMPARE(problem(), QString());
}

void TestClientSql::otherCommandsChangesAreStoredAfterAnOpenTransaction()
{
    m_admin.send(byQuery("BEGIN"));
    SAYS(m_admin, queried({}));
    m_admin.send(
        support::command("Fix_personal_setup_changes", support::setupChange(1, 7, {17}, {}, {201}), kOperator));
    RECORDS(m_site.client, "User 'ivanov' update personal configuration");
    SAYS(m_admin, support::emptyAnswer("Fix_personal_setup_changes", kOperator));
    SAYS(m_admin, support::savedPersonConfig());
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\"").toInt(), 1);
}

void TestClientSql::locksAreGivenBack_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("advisory") << "SELECT pg_advisory_lock(815)";
    QTest::newRow("table") << "BEGIN; LOCK TABLE \"Objects\" IN ACCESS EXCLUSIVE MODE";
    QTest::newRow("row") << "BEGIN; SELECT 17 FROM \"Objects_property\" FOR UPDATE";
}

void TestClientSql::locksAreGivenBack()
{
    QFETCH(QString, statement);
    static_cast<void>(said(byQuery(statement)));
    static_cast<void>(said(byQuery("SELECT 17")));
    // A connection that was given up takes a moment to go.
    QVERIFY(support::ServiceProcess::waitUntil(
        [this] {
            return m_site.database
                       ->value("SELECT count(*) FROM pg_locks AS l JOIN pg_stat_activity AS a USING (pid) WHERE "
                               "a.usename = "
                               "'objects_service' AND a.datname = current_database() AND a.state <> 'active'")
                       .toInt() == 0;
        },
        5000));
}

void TestClientSql::sessionThatEndsWhileItIsResetIsTold()
{
    // So many temporary tables that dropping them takes a while, in which the session is ended.
    const QByteArray manyTables = byQuery("DO $$ BEGIN FOR i IN 1..2000 LOOP EXECUTE 'CREATE TEMP TABLE t' || i || "
                                          "' (n integer)'; END LOOP; END $$; SELECT 17");
    const QString end = QStringLiteral("SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE datname = "
                                       "current_database() AND query LIKE 'CLOSE ALL%' AND state = 'active'");
    const QString lost = QStringLiteral("Database connection lost");
    const int before = m_site.service.logCount(lost);
    m_admin.send(manyTables);
    QVERIFY(support::ServiceProcess::waitUntil([&] { return m_site.database->value(end).toInt() == 1; }));
    SAYS(m_admin, queried({17}));
    m_admin.send(byQuery("SELECT 18"));
    SAYS(m_admin, queried({18}));
    QCOMPARE(m_site.service.logCount(lost), before + 1);
}

void TestClientSql::leavesNoConnectionsAndDescriptorsBehind()
{
    static_cast<void>(said(byQuery("BEGIN")));
    static_cast<void>(said(byQuery("SELECT 17")));
    const int before = m_site.service.openDescriptors();
    for (int i = 0; i < 40; ++i) {
        m_admin.send(byQuery("BEGIN; SELECT 1 / 0") + byQuery("COPY \"Objects\" TO STDOUT") +
                     byQuery("SELECT pg_terminate_backend(pg_backend_pid())") + byQuery("SELECT 17"));
        SAYS(m_admin, queried({}));
        SAYS(m_admin, queried({}));
        SAYS(m_admin, queried({}));
        SAYS(m_admin, queried({17}));
    }
    QCOMPARE(m_site.service.openDescriptors(), before);
    QVERIFY(support::ServiceProcess::waitUntil(
        [this] {
            return m_site.database
                       ->value("SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND usename = "
                               "'objects_service'")
                       .toInt() == 1;
        },
        5000));
}

void TestClientSql::defaultsOfTheDatabaseDoNotTakeOver_data()
{
    QTest::addColumn<QString>("setting");
    QTest::newRow("LATIN1") << "client_encoding = 'LATIN1'";
    QTest::newRow("KOI8R") << "client_encoding = 'KOI8R'";
    QTest::newRow("escaped bytes") << "bytea_output = 'escape'";
    QTest::newRow("German dates") << "DateStyle = 'German'";
}

void TestClientSql::defaultsOfTheDatabaseDoNotTakeOver()
{
    QFETCH(QString, setting);
    const QString alter = "ALTER DATABASE " + m_site.database->name();
    m_site.database->run(alter + " SET " + setting);
    static_cast<void>(said(byQuery("SELECT pg_terminate_backend(pg_backend_pid())")));
    const QByteArray names = support::answer("Get_objects", i32(1) + i32(17) + bytes("Лада"), kOperator);
    const QByteArray texts = support::answer(
        "Get_command_params", i32(1) + bytes("ключ") + text("Описание") + i32(1) + support::null(), kOperator);
    QByteArrayList answers;
    for (const char *statement : {"SELECT 17", "RESET ALL", "DISCARD ALL", "SET client_encoding = DEFAULT"}) {
        answers.append(said(support::command("Get_objects", "", kOperator)));
        answers.append(said(support::command("Get_command_params", i32(9), kOperator)));
        static_cast<void>(said(byQuery(statement)));
    }
    answers.append(said(byQuery(QString::fromUtf8("SELECT octet_length('Лада')"))));
    m_site.database->run(alter + " RESET " + setting.section(' ', 0, 0));
    static_cast<void>(said(byQuery("SELECT pg_terminate_backend(pg_backend_pid())")));
    for (int i = 0; i < 8; ++i) {
        const QByteArray expected = i % 2 == 0 ? names : texts;
        QVERIFY2(answers[i] == expected, qPrintable(QString::number(i) + support::difference(answers[i], expected)));
    }
    QVERIFY2(answers[8] == queried({8}), qPrintable(support::describe(answers[8])));
}

void TestClientSql::withoutALimitAStatementMayTakeItsTime()
{
    m_admin.send(byQuery("SELECT setting FROM pg_settings WHERE name = 'statement_timeout'") +
                 byQuery("SELECT 17 FROM pg_sleep(2)"));
    SAYS(m_admin, queried({0}));
    SAYS(m_admin, queried({17}));
}

QTEST_GUILESS_MAIN(TestClientSql)
#include "test_client_sql.moc"

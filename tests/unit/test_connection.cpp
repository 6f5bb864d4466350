#include "database/connection.h"
#include "pg_server.h"

#include <QTest>

#include <csignal>

using database::Connection;
using database::Value;
using namespace support;

class TestConnection : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    Connection m_connection;
    QStringList m_failures;

    int backend() { return m_connection.query("select pg_backend_pid()").integer(0, 0); }

private slots:
    void init()
    {
        m_database = PgServer::shared().cloneDatabase();
        PgServer::shared().addConnection("tested", m_database->name());
        m_connection = Connection();
        m_connection.setName("tested");
        m_connection.onFailure([this](const QSqlError &error) { m_failures.append(error.databaseText()); });
        m_connection.beginCommand();
        m_failures.clear();
    }

    void cleanup()
    {
        QSqlDatabase::removeDatabase("tested");
        m_database.reset();
    }

    void readsEveryTypeOfColumn()
    {
        const auto rows = m_connection.query(
            R"(select 7::smallint, -8, 9::bigint, true, 'текст', ''::text, null::text, '\x00ff'::bytea, ''::bytea, null::bytea)");
        QVERIFY(rows.ok());
        QCOMPARE(rows.rowCount(), 1);
        QCOMPARE(rows.integer(0, 0), 7);
        QCOMPARE(rows.integer(0, 1), -8);
        QCOMPARE(rows.integer(0, 2), 9);
        QCOMPARE(rows.integer(0, 3), 1);
        QCOMPARE(rows.text(0, 4), QStringLiteral("текст"));
        QVERIFY(rows.text(0, 5).isEmpty() && !rows.text(0, 5).isNull());
        QVERIFY(rows.text(0, 6).isNull() && rows.isNull(0, 6) && rows.integer(0, 6) == 0);
        QCOMPARE(rows.bytes(0, 7), QByteArray("\0\xFF", 2));
        QVERIFY(rows.bytes(0, 8).isEmpty() && !rows.bytes(0, 8).isNull());
        QVERIFY(rows.bytes(0, 9).isNull());
        QVERIFY(rows.isNull(0, -1));
    }

    void readsOneCharacterFlags_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<int>("code");
        QTest::newRow("true") << "true" << int('t');
        QTest::newRow("false") << "false" << int('f');
        QTest::newRow("no boolean") << "null::boolean" << 0;
        QTest::newRow("letter") << "'v'::varchar(1)" << int('v');
        QTest::newRow("empty") << "''::varchar(1)" << 0;
        QTest::newRow("last of Latin-1") << "chr(255)::varchar(1)" << 255;
        QTest::newRow("beyond Latin-1") << "chr(256)::varchar(1)" << 0;
        QTest::newRow("Cyrillic") << "chr(1044)::varchar(1)" << 0;
        QTest::newRow("emoji") << "chr(128512)::varchar(1)" << 0;
    }

    void readsOneCharacterFlags()
    {
        QFETCH(QString, expression);
        QFETCH(int, code);
        QCOMPARE(int(m_connection.queryOnce("select " + expression).character(0, 0)), code);
    }

    void findsColumnsByTheirExactName()
    {
        const auto rows = m_connection.query(R"(select 1 as "Id", 2 as "id", 3 as "Id_objects")");
        QCOMPARE(rows.column("Id"), 0);
        QCOMPARE(rows.column("id"), 1);
        QCOMPARE(rows.column("Id_objects"), 2);
        QCOMPARE(rows.column("ID"), -1);
    }

    void bindsValuesInOrder()
    {
        QVERIFY(m_connection
                    .query(R"(insert into "Objects_property" ("Id_objects","Name","Value","Visible") values (?,?,?,?))",
                           {Value::integer(-5), Value::text(QStringLiteral("it's \\x41 $1 ?")),
                            Value::bytes(QByteArray("\0'\\", 3)), Value::boolean(false)})
                    .ok());
        QCOMPARE(m_database->rows(
                     R"(select "Id_objects", "Name", encode("Value", 'hex'), "Visible" from "Objects_property")"),
                 QStringList({"-5|it's \\x41 $1 ?|00275c|false"}));
    }

    void keepsNullAndEmptyApart()
    {
        const QByteArray insert = R"(insert into "Objects_property" ("Id_objects","Name","Value") values (?,?,?))";
        QVERIFY(
            m_connection.query(insert, {Value::integer(1), Value::text(QString()), Value::bytes(QByteArray())}).ok());
        QVERIFY(m_connection.query(insert, {Value::integer(2), Value::text(""), Value::bytes("")}).ok());
        QCOMPARE(m_database->rows(
                     R"(select "Id_objects", "Name" is null, "Value" is null from "Objects_property" order by 1)"),
                 QStringList({"1|true|true", "2|false|false"}));
    }

    void failsATextThatNoColumnCanHold()
    {
        const QString zero = QStringLiteral("a") + QChar(0) + QStringLiteral("b");
        QVERIFY(!m_connection.query("select ?::text", {Value::text(zero)}).ok());
        QVERIFY(m_connection.lastError().isValid());
        QVERIFY(!m_connection.script("select 'a'; --" + QString(QChar(0))).ok());
        QVERIFY(m_connection.lastError().isValid());
        QCOMPARE(m_failures.size(), 2);
        QVERIFY(m_connection.query("select 1").ok());
        QVERIFY(!m_connection.lastError().isValid());
    }

    void tellsTheServersReason()
    {
        QVERIFY(!m_connection.query("select 1/0").ok());
        QCOMPARE(m_connection.lastError().nativeErrorCode(), QString("22012"));
        QCOMPARE(m_failures.size(), 1);
        QVERIFY2(m_failures[0].contains("division by zero"), qPrintable(m_failures[0]));
    }

    void failsATextOfSeveralStatementsWhollyIfOneFails_data()
    {
        QTest::addColumn<QString>("text");
        const QString insert = R"(insert into "Groups" ("Id") values (1);)";
        QTest::newRow("first") << "select 1/0;" + insert + insert;
        QTest::newRow("last") << insert + "select 1/0;";
        QTest::newRow("key") << insert + insert;
        QTest::newRow("syntax") << insert + "selec 1;";
    }

    void failsATextOfSeveralStatementsWhollyIfOneFails()
    {
        QFETCH(QString, text);
        QVERIFY(!m_connection.script(text).ok());
        QCOMPARE(m_database->value(R"(select count(*) from "Groups")").toInt(), 0);
        QVERIFY(m_connection.query("select 1").ok());
    }

    void survivesTextsThatLeaveTheSessionBusy_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("copy out") << "copy (select generate_series(1, 100000)) to stdout";
        QTest::newRow("copy in") << R"(copy "Groups" from stdin)";
        QTest::newRow("begin") << R"(begin; insert into "Groups" ("Id") values (1))";
        QTest::newRow("begin and fail") << "begin; select 1/0";
        QTest::newRow("copy behind another") << R"(delete from "Groups"; copy "Groups" to stdout; select 1)";
    }

    void survivesTextsThatLeaveTheSessionBusy()
    {
        QFETCH(QString, text);
        QVERIFY(!m_connection.script(text).ok());
        QCOMPARE(m_failures.size(), 1);
        QCOMPARE(m_connection.query("select count(*) from \"Groups\"").integer(0, 0), 0);
        QVERIFY(m_connection.script(R"(insert into "Groups" ("Id") values (2))").ok());
        QCOMPARE(m_database->value(R"(select count(*) from "Groups")").toInt(), 1);
    }

    void opensALostConnectionAtTheNextCommandOnly()
    {
        int opened = 0;
        m_connection.onOpened([&] { ++opened; });
        const int first = backend();
        QCOMPARE(opened, 1);
        PgServer::shared().administer(QStringLiteral("select pg_terminate_backend(%1, 5000)").arg(first));
        QVERIFY(!m_connection.query("select 1").ok());
        QVERIFY(!m_connection.query("select 1").ok());
        m_connection.beginCommand();
        QVERIFY(backend() > 0);
        QVERIFY(backend() != first);
        QCOMPARE(opened, 2);
    }

    void keepsTheConnectionFromCommandToCommand()
    {
        const int first = backend();
        m_connection.beginCommand();
        QCOMPARE(backend(), first);
    }

    void tellsAnOutageOnceAndComesBackAtOnce()
    {
        const auto server = PgServer::own();
        QSqlDatabase::removeDatabase("tested");
        server->addConnection("tested", "postgres");
        int outages = 0;
        m_connection.onUnavailable([&](const QSqlError &error) {
            ++outages;
            QVERIFY(error.isValid());
        });
        m_connection.beginCommand();
        QVERIFY(m_connection.query("select 1").ok());
        server->stop("immediate");
        for (int command = 0; command < 5; ++command) {
            m_connection.beginCommand();
            QVERIFY(!m_connection.query("select 1").ok());
        }
        QCOMPARE(outages, 1);
        server->start();
        // A server that refuses at once is asked again by every command or nearly so.
        QTRY_VERIFY(([this] {
            m_connection.beginCommand();
            return m_connection.query("select 1").ok();
        }()));
        server->stop("fast");
        m_connection.beginCommand();
        QVERIFY(!m_connection.query("select 1").ok());
        QCOMPARE(outages, 2);
    }

    void undoesWhatAForeignScriptDoesToTheSession_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("search path") << "set search_path = pg_catalog";
        QTest::newRow("by a select") << "select set_config('search_path', 'pg_catalog', false)";
        QTest::newRow("encoding") << "set client_encoding = 'LATIN1'";
        QTest::newRow("prepared") << "deallocate all";
        QTest::newRow("hidden table") << "create temp table \"Groups\" (x int)";
    }

    void undoesWhatAForeignScriptDoesToTheSession()
    {
        QFETCH(QString, text);
        (void)m_connection.foreignScript(text);
        m_connection.beginCommand();
        QVERIFY(m_connection
                    .query(R"(insert into "Groups" ("Id", "Name") values (?, ?))",
                           {Value::integer(1), Value::text(QStringLiteral("группа"))})
                    .ok());
        QCOMPARE(m_database->value(R"(select "Name" from "Groups")").toString(), QStringLiteral("группа"));
    }

    void leavesNothingOfAForeignScriptInTheSession_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("left");
        QTest::newRow("cursor") << "declare c cursor with hold for select 7"
                                << "select count(*)::int from pg_cursors where name = 'c'";
        QTest::newRow("channel") << "listen c"
                                 << "select count(*)::int from pg_listening_channels()";
        QTest::newRow("lock")
            << "select pg_advisory_lock(7)"
            << "select count(*)::int from pg_locks where locktype = 'advisory' and pid = pg_backend_pid()";
        QTest::newRow("temporary table") << "create temp table c (x int)"
                                         << "select count(*)::int from pg_class where relpersistence = 't'";
        QTest::newRow("setting")
            << "set enable_seqscan = off"
            << "select count(*)::int from pg_settings where name = 'enable_seqscan' and setting = 'off'";
        QTest::newRow("statement") << "prepare c as select 7"
                                   << "select count(*)::int from pg_prepared_statements where from_sql";
    }

    void leavesNothingOfAForeignScriptInTheSession()
    {
        QFETCH(QString, text);
        QFETCH(QString, left);
        QVERIFY(m_connection.script(text).ok());
        QCOMPARE(m_connection.queryOnce(left).integer(0, 0), 1);
        (void)m_connection.foreignScript(text);
        m_connection.beginCommand();
        QCOMPARE(m_connection.queryOnce(left).integer(0, 0), 0);
    }

    void forgetsTheLastNumberOfAForeignScript()
    {
        const QString next = R"(select nextval(pg_get_serial_sequence('"Objects"', 'Id')))";
        QVERIFY(m_connection.script(next).ok());
        QVERIFY(m_connection.queryOnce("select lastval()").ok());
        (void)m_connection.foreignScript(next);
        QVERIFY(!m_connection.queryOnce("select lastval()").ok());
    }

    void keepsItsOwnStatementsPrepared()
    {
        const QByteArray own = "select name || prepare_time from pg_prepared_statements where statement = 'select 7'";
        QCOMPARE(m_connection.query("select 7").integer(0, 0), 7);
        const QString before = m_connection.query(own).text(0, 0);
        QVERIFY(!before.isEmpty());
        for (const char *text : {"select 1", "reset all", "select 1 / 0", "select pg_advisory_lock(7)"}) {
            (void)m_connection.foreignScript(text);
            m_connection.beginCommand();
            QCOMPARE(m_connection.query(own).text(0, 0), before);
        }
    }

    void runsNothingInPlaceOfItsOwnStatements_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("none") << "deallocate all";
        QTest::newRow("one less") << "deallocate %1";
        QTest::newRow("another one") << "deallocate %1; prepare %1 as select 666";
        QTest::newRow("all") << "discard all";
    }

    void runsNothingInPlaceOfItsOwnStatements()
    {
        QFETCH(QString, text);
        const QByteArray insert = R"(insert into "Groups" ("Id") values (?))";
        QVERIFY(m_connection.query(insert, {Value::integer(1)}).ok());
        QCOMPARE(m_connection.query("select 7").integer(0, 0), 7);
        int row = 1;
        for (const char *own : {"select 7", "insert%"}) {
            const QString name =
                m_connection
                    .queryOnce(
                        QStringLiteral("select name from pg_prepared_statements where statement like '%1'").arg(own))
                    .text(0, 0);
            QVERIFY(!name.isEmpty());
            (void)m_connection.foreignScript(text.contains("%1") ? text.arg(name) : text);
            m_connection.beginCommand();
            QCOMPARE(m_connection.query("select 7").integer(0, 0), 7);
            // Nobody asks whether this worked, so it must work at once.
            m_connection.post(insert, {Value::integer(++row)});
            m_connection.settle();
        }
        QCOMPARE(m_database->value(R"(select count(*) from "Groups" where "Id" <= 3)").toInt(), 3);
    }

    void givesTheLastResultOfAForeignScript()
    {
        const auto rows = m_connection.foreignScript("select 1; select '17'::text union all select '2.6'");
        QCOMPARE(rows.rowCount(), 2);
        QCOMPARE(rows.integer(0, 0), 17);
        QCOMPARE(rows.integer(1, 0), 3);
    }

    /// As behind a pooler, which knows of no encoding that a session was opened with.
    void readsTextsAfterAResetWhateverTheDatabaseSets()
    {
        m_database->run(QStringLiteral("ALTER DATABASE %1 SET client_encoding = 'KOI8R'").arg(m_database->name()));
        (void)m_connection.foreignScript("select 1");
        // Made by the server: a text of ours would come back by the way that it went.
        QCOMPARE(m_connection.queryOnce("select chr(1102)").text(0, 0), QStringLiteral("ю"));
    }

    void boundsAStatement_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << "select pg_sleep(600)";
        QTest::newRow("with the server's limit off") << "set statement_timeout = 0; select pg_sleep(600)";
    }

    void boundsAStatement()
    {
        QFETCH(QString, text);
        m_connection.setStatementTimeout(std::chrono::milliseconds(2000));
        m_connection.beginCommand();
        QVERIFY(!m_connection.foreignScript(text).ok());
        QVERIFY(!m_connection.query("select pg_sleep(600)").ok());
        m_connection.beginCommand();
        QVERIFY(m_connection.query("select 1").ok());
        // The limit holds on after a reset.
        QCOMPARE(m_connection.query("show statement_timeout").text(0, 0), QString("2s"));
    }

    void givesUpAServerThatAnswersNothing()
    {
        const auto server = PgServer::own();
        QSqlDatabase::removeDatabase("tested");
        server->addConnection("tested", "postgres");
        m_connection.setName("tested");
        m_connection.setStatementTimeout(std::chrono::milliseconds(2000));
        m_connection.beginCommand();
        const int stopped = backend();
        QVERIFY(stopped > 0);
        // A backend that is stopped takes the statement and says nothing; it can be cancelled by nobody.
        QCOMPARE(::kill(stopped, SIGSTOP), 0);
        QVERIFY(!m_connection.query("select 1").ok());
        QVERIFY(m_connection.lastError().isValid());
        m_connection.beginCommand();
        QVERIFY(m_connection.query("select 1").ok());
        QCOMPARE(::kill(stopped, SIGCONT), 0);
    }

    void tellsWhyTheServerEndedTheSession()
    {
        QVERIFY(!m_connection.query("select pg_terminate_backend(pg_backend_pid())").ok());
        QCOMPARE(m_connection.lastError().nativeErrorCode(), QString("57P01"));
    }

    void sendsATextLargerThanTheSocketHolds()
    {
        const QByteArray large(20 * 1024 * 1024, 'x');
        QCOMPARE(m_connection.query("select length(?::bytea)", {Value::bytes(large)}).integer(0, 0), int(large.size()));
    }

    void failsWithoutAnyDatabase()
    {
        m_connection.setName("never added");
        m_connection.beginCommand();
        QVERIFY(!m_connection.ready());
        QVERIFY(!m_connection.query("select 1").ok());
        QVERIFY(!m_connection.script("select 1").ok());
        QCOMPARE(m_connection.lastError().type(), QSqlError::ConnectionError);
    }
};

QTEST_GUILESS_MAIN(TestConnection)
#include "test_connection.moc"

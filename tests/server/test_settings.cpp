// The settings file: bus names, the local log, template settings, and the schema upgrade that follows the opening.

#include "conversation.h"
#include "installation.h"

#include <QDir>
#include <QFile>

using support::PgServer;
using support::ServiceProcess;

namespace {

const QString kNoAdmin = QStringLiteral("Error load settings AdminServerName: NoName ");
const QString kNoServer = QStringLiteral("Error load settings ServerName: NoName ");
const QString kNoConnections = QStringLiteral("Warrning: No Connections ");
const QString kStartOk = QStringLiteral("Start Ok!");
const QString kColumns =
    QStringLiteral("SELECT column_name, data_type, character_maximum_length FROM information_schema.columns "
                   "WHERE table_name = 'Connections' AND column_name IN ('Email', 'Phone') ORDER BY 1");
const QStringList kUpgraded = {"Email|character varying|150", "Phone|character varying|10"};

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void missingNamesAreLogged_data();
    void missingNamesAreLogged();
    void noConnectionsIsAWarning_data();
    void noConnectionsIsAWarning();

    void logFileStandsWhereLogNameSays_data();
    void logFileStandsWhereLogNameSays();
    void emptyLogNameIsTheDefaultFolder_data();
    void emptyLogNameIsTheDefaultFolder();
    void logLinesAreOneLineEach();

    void templateFillsWhatIsMissing();
    void templateLeavesUnquotedValuesWhole();

    void completeOperatorTableIsLeftAlone();
    void missingColumnsAreAdded_data();
    void missingColumnsAreAdded();
    void failedUpgradeIsLoggedAndIgnored();
    void failedLookStillAddsTheColumns();

    void levelZeroMakesNoFile();
    void missingServerNameKeepsTheConnectorIdle();
    void missingAdminNameIsReplacedAndNamesAreRelativeToTheTemporaryFolder();
    void emptyAdminNameMeansNoAdministrationLink();
    void secondSettingsFileWinsAndSiblingsStaySingle();

private:
    // These need the connector's ticks and are started first.
    ServiceProcess m_silent;
    support::AdminPeer m_silentAdmin{m_silent.adminPath()};
    ServiceProcess m_levelless;
    support::AdminPeer m_levellessAdmin{m_levelless.adminPath()};
    ServiceProcess m_nameless;
    support::AdminPeer m_namelessAdmin{m_nameless.adminPath()};
    ServiceProcess m_astray;
    support::AdminPeer m_astrayAdmin{m_astray.path("No_AdminServer_name")};
    ServiceProcess m_adminless;
    ServiceProcess m_twice;
    support::AdminPeer m_twiceAdmin{m_twice.adminPath()};
    support::AdminPeer m_twiceFirstAdmin{m_twice.path("first admin")};
    support::SiblingPeer m_twiceSibling{m_twice.path("sibling")};
    std::unique_ptr<support::TestDatabase> m_firstDatabase = PgServer::shared().cloneDatabase();
    std::unique_ptr<support::TestDatabase> m_secondDatabase = PgServer::shared().cloneDatabase();
};

void TestSettings::initTestCase()
{
    m_silent.start("Log=0\n");
    m_levelless.write("service.ini", m_levelless.settings({}, {"Log"}));
    m_levelless.startWith({"-settings", "service.ini"});
    m_nameless.write("service.ini", m_nameless.settings({}, {"ServerName"}));
    m_nameless.startWith({"-settings", "service.ini"});
    m_astray.write("service.ini", m_astray.settings("ServerName=relative own,a;b\n", {"AdminServerName"}));
    m_astray.startWith({"-settings", "service.ini"});
    m_adminless.start("AdminServerName=\n");
    const QByteArray sibling = "Connections=" + m_twiceSibling.listener().path().toUtf8() + "\n";
    m_twice.write("a.ini", m_twice.settings(m_firstDatabase->settings() + sibling +
                                            "AdminServerName=" + m_twice.path("first admin").toUtf8() + "\n"));
    m_twice.write("b.ini", m_twice.settings(m_secondDatabase->settings() + sibling));
    m_twice.startWith({"-settings", "a.ini", "-settings", "b.ini"});
}

void TestSettings::missingNamesAreLogged_data()
{
    QTest::addColumn<QByteArray>("names");
    QTest::newRow("absent") << QByteArray();
    QTest::newRow("NoName") << QByteArray("AdminServerName=NoName\nServerName=NoName\nConnections=NoName\n");
    QTest::newRow("in another group") << QByteArray("\n[Other]\nAdminServerName=a\nServerName=b\nConnections=c\n");
    QTest::newRow("in other letters") << QByteArray("adminservername=a\nservername=b\nCONNECTIONS=c\n");
}

void TestSettings::missingNamesAreLogged()
{
    QFETCH(QByteArray, names);
    const auto database = PgServer::shared().cloneDatabase();
    ServiceProcess service;
    service.write("service.ini", service.settings(database->settings(), {"AdminServerName", "ServerName"}) + names);
    service.startWith({"-settings", "service.ini"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts(), QStringList({kNoAdmin, kNoServer, kNoConnections, kStartOk}));
}

void TestSettings::noConnectionsIsAWarning_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("warnings");
    QTest::newRow("absent") << QByteArray() << 1;
    QTest::newRow("empty") << QByteArray("Connections=\n") << 1;
    QTest::newRow("NoName") << QByteArray("Connections=NoName\n") << 1;
    QTest::newRow("one") << QByteArray("Connections=a\n") << 0;
    QTest::newRow("a blank") << QByteArray("Connections=\" \"\n") << 0;
    QTest::newRow("a name with a comma") << QByteArray("Connections=a,b\n") << 0;
}

void TestSettings::noConnectionsIsAWarning()
{
    QFETCH(QByteArray, line);
    QFETCH(int, warnings);
    ServiceProcess service;
    service.start(line);
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logCount(kNoConnections), warnings);
}

void TestSettings::logFileStandsWhereLogNameSays_data()
{
    QTest::addColumn<QString>("logName");
    QTest::addColumn<QString>("file");
    QTest::newRow("file") << "my.log"
                          << "my.log";
    QTest::newRow("file without a suffix") << "mylog"
                                           << "mylog";
    QTest::newRow("existing folder") << "logs"
                                     << "logs/frontier.log";
    QTest::newRow("existing folder with a slash") << "logs/"
                                                  << "logs/frontier.log";
    QTest::newRow("folder to be made") << "new/"
                                       << "new/frontier.log";
    QTest::newRow("name with a comma") << "a,b.log"
                                       << "a,b.log";
    QTest::newRow("name with a blank") << "a b.log"
                                       << "a b.log";
    QTest::newRow("name with a semicolon") << "a;b.log"
                                           << "a;b.log";
}

void TestSettings::logFileStandsWhereLogNameSays()
{
    QFETCH(QString, logName);
    QFETCH(QString, file);
    ServiceProcess service;
    service.useCopyNamed("frontier");
    QVERIFY(QDir().mkpath(service.path("logs")));
    service.start("LogName=" + service.path(logName).toUtf8() + "\n");
    QVERIFY2(ServiceProcess::waitUntil([&] {
                 const auto lines = ServiceProcess::readLog(service.path(file));
                 return !lines.isEmpty() && lines.last().text == kStartOk;
             }),
             qPrintable(service.story()));
}

void TestSettings::emptyLogNameIsTheDefaultFolder_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("absent") << QByteArray();
    QTest::newRow("empty") << QByteArray("LogName=\n");
}

void TestSettings::emptyLogNameIsTheDefaultFolder()
{
    QFETCH(QByteArray, line);
    ServiceProcess service; // its HOME is its working folder
    service.useCopyNamed("frontier.of.test");
    service.write("service.ini", service.settings(line, {"LogName"}));
    service.startWith({"-settings", "service.ini"});
    const QString file = service.path(".local/state/frontier/frontier.log");
    QVERIFY2(ServiceProcess::waitUntil([&] {
                 const auto lines = ServiceProcess::readLog(file);
                 return !lines.isEmpty() && lines.last().text == kStartOk;
             }),
             qPrintable(service.story()));
}

void TestSettings::logLinesAreOneLineEach()
{
    // The database's reason holds line feeds of its own.
    ServiceProcess service;
    service.start("DbHost=/nowhere\n");
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const auto lines = service.log();
    QCOMPARE(lines.size(), 3);
    for (const auto &line : lines)
        QVERIFY2(line.timeMs > 0, qPrintable(line.text));
    QVERIFY2(lines[1].text.contains("\\n"), qPrintable(lines[1].text));
}

void TestSettings::templateFillsWhatIsMissing()
{
    const auto database = PgServer::shared().cloneDatabase();
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings("DbName=" + database->name().toUtf8() + "\n"));
    service.write("frontier.template.ini",
                  "[Base]\n" + database->settings().replace("DbName=", "DbName=not_") + "Log=0\n[Other]\nKey=value\n");
    service.startWith({});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts(), QStringList({kNoConnections, kStartOk}));
    QCOMPARE(database
                 ->value("SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND usename = "
                         "'objects_service'")
                 .toInt(),
             1);
    QFile file(service.path("frontier.ini"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray content = file.readAll();
    QVERIFY2(content.contains("DbUser=objects") && content.contains("DbName=" + database->name().toUtf8() + '\n'),
             content.constData());
    QVERIFY2(content.contains("[Other]") && content.contains("Key=value"), content.constData());
}

void TestSettings::templateLeavesUnquotedValuesWhole()
{
    const auto database = PgServer::shared().cloneDatabase();
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.template.ini", "[Base]\nDbUser=objects\nDbName=" + database->name().toUtf8() + "\n");
    service.write("frontier.ini", service.settings("DbHost=127.0.0.1,127.0.0.1\nDbPort=" +
                                                   QByteArray::number(PgServer::shared().port()) +
                                                   "\nDbPassword=" + PgServer::rolePassword() + "\n"));
    for (int start = 0; start < 2; ++start) {
        QFile::remove(service.logPath());
        service.startWith({});
        QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
        QCOMPARE(service.logTexts(), QStringList({kNoConnections, kStartOk}));
        service.kill();
    }
}

void TestSettings::completeOperatorTableIsLeftAlone()
{
    const auto database = PgServer::shared().cloneDatabase();
    database->run("ALTER TABLE \"Connections\" DROP COLUMN \"Email\", DROP COLUMN \"Phone\", ADD COLUMN \"Email\" "
                  "text, ADD COLUMN \"Phone\" integer");
    ServiceProcess service;
    service.start(database->settings());
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts(), QStringList({kNoConnections, kStartOk}));
    QCOMPARE(database->rows(kColumns), QStringList({"Email|text|NULL", "Phone|integer|NULL"}));
}

void TestSettings::missingColumnsAreAdded_data()
{
    QTest::addColumn<QString>("dropped");
    QTest::newRow("both") << "DROP COLUMN \"Email\", DROP COLUMN \"Phone\"";
    QTest::newRow("Email") << "DROP COLUMN \"Email\"";
    QTest::newRow("Phone") << "DROP COLUMN \"Phone\"";
}

void TestSettings::missingColumnsAreAdded()
{
    QFETCH(QString, dropped);
    const auto database = PgServer::shared().cloneDatabase();
    database->run("ALTER TABLE \"Connections\" " + dropped + ", OWNER TO objects_service");
    ServiceProcess service;
    service.start(database->settings());
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts(), QStringList({kNoConnections, kStartOk}));
    QCOMPARE(database->rows(kColumns), kUpgraded);
}

void TestSettings::failedUpgradeIsLoggedAndIgnored()
{
    const auto database = PgServer::shared().cloneDatabase();
    database->run("ALTER TABLE \"Connections\" DROP COLUMN \"Email\", DROP COLUMN \"Phone\"");
    ServiceProcess service;
    service.start(database->settings());
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const QStringList texts = service.logTexts();
    QCOMPARE(texts.size(), 4);
    for (int line : {1, 2})
        QVERIFY2(texts[line].startsWith("ERROR:  must be owner of table Connections"), qPrintable(texts[line]));
    QCOMPARE(database->rows(kColumns), QStringList());
    // The debug output names the failed statement for the second column alone.
    QByteArray output = service.standardError();
    QCOMPARE(output.count("must be owner of table Connections"), 2);
    QVERIFY2(
        output.replace("\\\"", "\"").contains("ALTER TABLE \"Connections\" ADD COLUMN \"Phone\" character varying(10)"),
        output.constData());
    QVERIFY2(!output.contains("ADD COLUMN \"Email\"") && !output.contains("ADD COLUMN \\\"Email"), output.constData());
}

void TestSettings::failedLookStillAddsTheColumns()
{
    const auto database = PgServer::shared().cloneDatabase();
    database->run("ALTER TABLE \"Connections\" DROP COLUMN \"Email\", DROP COLUMN \"Phone\", OWNER TO objects_service");
    database->run("REVOKE SELECT ON information_schema.columns FROM PUBLIC");
    ServiceProcess service;
    service.start(database->settings());
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const QStringList texts = service.logTexts();
    QCOMPARE(texts.size(), 4);
    for (int line : {1, 2})
        QVERIFY2(texts[line].startsWith("ERROR:  permission denied for view columns"), qPrintable(texts[line]));
    QCOMPARE(service.standardError().count("permission denied for view columns"), 2);
    QCOMPARE(database->rows(kColumns), kUpgraded);
}

void TestSettings::levelZeroMakesNoFile()
{
    for (auto &[service, admin] : {std::pair<ServiceProcess &, support::AdminPeer &>{m_silent, m_silentAdmin},
                                   {m_levelless, m_levellessAdmin}}) {
        QVERIFY(admin.attend());
        SAYS(admin, support::greeting(service.serverPath().toUtf8()));
        SAYS_NOTHING_MORE(admin);
        admin.close();
        QCOMPARE(service.exitCode().value_or(-1), 5);
        QVERIFY(!QFile::exists(service.logPath()));
    }
}

void TestSettings::missingServerNameKeepsTheConnectorIdle()
{
    QVERIFY(m_nameless.waitForLog(kStartOk));
    QCOMPARE(m_nameless.logCount(kNoServer), 1);
    // The others, started at the same time, have their links by now.
    QVERIFY2(m_adminless.waitForLog("Start server: "), qPrintable(m_adminless.story()));
    QVERIFY(m_twiceAdmin.listener().hasCaller() || m_twiceAdmin.attend());
    QVERIFY(!m_namelessAdmin.listener().hasCaller());
    QVERIFY(m_nameless.isRunning());
    QCOMPARE(m_nameless.logTexts().last(), kStartOk);
}

void TestSettings::missingAdminNameIsReplacedAndNamesAreRelativeToTheTemporaryFolder()
{
    QVERIFY2(m_astrayAdmin.attend(), qPrintable(m_astray.story()));
    QCOMPARE(m_astray.logCount(kNoAdmin), 1);
    SAYS(m_astrayAdmin, support::greeting("relative own,a;b"));
    support::ClientPeer client;
    QVERIFY2(client.attach(m_astray.path("relative own,a;b"), m_astrayAdmin), qPrintable(m_astray.story()));
    QCOMPARE(m_astray.logCount("Start server: relative own,a;b Ok!!!! "), 1);
}

void TestSettings::emptyAdminNameMeansNoAdministrationLink()
{
    QVERIFY2(m_adminless.waitForLog("Start server: "), qPrintable(m_adminless.story()));
    const auto lines = m_adminless.log();
    QCOMPARE(m_adminless.logCount(kNoAdmin), 0);
    QCOMPARE(lines.last().text, "Start server: " + m_adminless.serverPath() + " Ok!!!! ");
    QCOMPARE(lines[lines.size() - 2].text, kStartOk);
    // At the first tick, since there is nothing to wait for.
    const qint64 gap = lines.last().timeMs - lines[lines.size() - 2].timeMs;
    QVERIFY2(gap > 3000 && gap < 8000, qPrintable(QString::number(gap)));
    QVERIFY(support::Wire::connectTo(m_adminless.serverPath()).isOpen());
}

void TestSettings::secondSettingsFileWinsAndSiblingsStaySingle()
{
    QVERIFY2(m_twiceSibling.attend(), qPrintable(m_twice.story()));
    QVERIFY2(m_twiceAdmin.isOpen() || m_twiceAdmin.attend(), qPrintable(m_twice.story()));
    SAYS(m_twiceAdmin, support::greeting(m_twice.serverPath().toUtf8()));
    QVERIFY2(m_twice.waitForLog("Start server: "), qPrintable(m_twice.story()));
    QVERIFY(!m_twiceSibling.listener().hasCaller());
    QVERIFY(!m_twiceFirstAdmin.listener().hasCaller());
    QCOMPARE(m_twice.logCount("New Out Connnection"), 2);
    m_twiceAdmin.send(
        support::command("Save_object_card_v2", support::i32(17) + support::i32(1) + support::cardRecord({}), 4));
    SAYS(m_twiceAdmin, support::savedCard(17));
    SAYS_NOTHING_MORE(m_twiceAdmin);
    QCOMPARE(m_firstDatabase->value("SELECT count(*) FROM \"Objects_property\"").toInt(), 0);
    QCOMPARE(m_secondDatabase->value("SELECT count(*) FROM \"Objects_property\"").toInt(), 1);
}

QTEST_GUILESS_MAIN(TestSettings)
#include "test_settings.moc"

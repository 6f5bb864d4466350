// The database keys of the settings file: what opens the database, and the reason that is logged when it does not open.

#include "conversation.h"
#include "installation.h"

#include <QTcpServer>

#include <pwd.h>
#include <unistd.h>

using support::PgServer;
using support::ServiceProcess;

namespace {

const QString kStartOk = QStringLiteral("Start Ok!");
const QString kCannotOpen = QStringLiteral("Cannot open database : ");
constexpr int kUnusedPort = 1; // nobody listens there without being asked to

QByteArray port()
{
    return QByteArray::number(PgServer::shared().port());
}

QString processUser()
{
    return QString::fromLocal8Bit(::getpwuid(::getuid())->pw_name);
}

} // namespace

class TestDatabaseSettings : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void opensDatabase_data();
    void opensDatabase();
    void logsTheServersReason_data();
    void logsTheServersReason();
    void emptyUserIsTheUserOfTheProcess();
    void silentHostDelaysTheStartByTheTimeoutOnly();

private:
    QByteArray m_database;
    std::unique_ptr<support::TestDatabase> m_clone;
    /// Roles of this process, with their passwords: other runs may use the same cluster.
    QByteArray role(const char *name) const
    {
        return QByteArray(name) + '_' + QByteArray::number(QCoreApplication::applicationPid());
    }
};

void TestDatabaseSettings::initTestCase()
{
    m_clone = PgServer::shared().cloneDatabase();
    m_database = m_clone->name().toUtf8();
    for (const auto &[name, password] :
         std::initializer_list<std::pair<const char *, const char *>>{{"comma", "p,w"},
                                                                      {"hash", "p#w%1"},
                                                                      {"quotes", "it''s \"p\\w\" 1"},
                                                                      {"russian", "пароль"},
                                                                      {"equals", "a=b"}})
        PgServer::shared().administer(
            QString::fromUtf8("CREATE ROLE " + role(name) + " LOGIN PASSWORD '" + password + "'"));
}

void TestDatabaseSettings::cleanupTestCase()
{
    m_clone.reset();
    for (const char *name : {"comma", "hash", "quotes", "russian", "equals"})
        PgServer::shared().administer(QString::fromUtf8("DROP ROLE IF EXISTS " + role(name)));
}

void TestDatabaseSettings::opensDatabase_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("activity"); // a condition on the service's row of pg_stat_activity
    const QByteArray socket = PgServer::shared().socketFolder().toUtf8();
    const QByteArray byObjects = "DbUser=objects\n";
    const QByteArray password = "DbPassword=p;w\n";
    const QString overTcp = "client_addr IS NOT NULL";
    QTest::newRow("socket folder") << "DbHost=" + socket + "\nDbPort=" + port() + "\n" + byObjects
                                   << "client_addr IS NULL";
    QTest::newRow("one host") << "DbHost=127.0.0.1\nDbPort=" + port() + "\n" + byObjects + password << overTcp;
    QTest::newRow("quoted password") << "DbHost=127.0.0.1\nDbPort=" + port() + "\n" + byObjects + "DbPassword=\"p;w\"\n"
                                     << overTcp;
    QTest::newRow("two hosts, one port") << "DbHost=127.0.0.1,127.0.0.1\nDbPort=" + port() + "\n" + byObjects + password
                                         << overTcp;
    QTest::newRow("two hosts, two ports") << "DbHost=127.0.0.1,127.0.0.1\nDbPort=" + QByteArray::number(kUnusedPort) +
                                                 "," + port() + "\n" + byObjects + password
                                          << overTcp;
    QTest::newRow("two hosts, two ports, quoted")
        << "DbHost=\"127.0.0.1,127.0.0.1\"\nDbPort=\"" + QByteArray::number(kUnusedPort) + "," + port() + "\"\n" +
               byObjects + password
        << overTcp;
    QTest::newRow("blanks behind the commas")
        << "DbHost=127.0.0.1, 127.0.0.1\nDbPort=" + QByteArray::number(kUnusedPort) + ", " + port() + "\n" + byObjects +
               password
        << overTcp;
    QTest::newRow("host and socket folder")
        << "DbHost=127.0.0.1," + socket + "\nDbPort=" + QByteArray::number(kUnusedPort) + "," + port() + "\n" +
               byObjects
        << "client_addr IS NULL";
    const QByteArray lines = "DbHost=127.0.0.1\nDbPort=" + port() + "\n" + byObjects;
    QTest::newRow("line ends of another system") << QByteArray(lines + password).replace("\n", "\r\n") << overTcp;
    QTest::newRow("blanks around the equals sign") << lines + "DbPassword = p;w\n" << overTcp;
    QTest::newRow("commented lines") << ";DbPassword=not this\n" + lines + password +
                                            "#DbPassword=nor,this;one\n;DbHost=a,b\n"
                                     << overTcp;
    QTest::newRow("other groups")
        << lines + password + "[Other]\nDbPassword=not;this\nDbHost=a,b\n[base]\nDbPassword=nor;this\n[Base]\n"
        << overTcp;
    const QByteArray options = "DbHost=" + socket + "\nDbPort=" + port() + "\n" + byObjects;
    QTest::newRow("options") << options + "DbOptions=application_name=frontier;keepalives=0\n"
                             << "application_name = 'frontier'";
    QTest::newRow("options in quotes") << options + "DbOptions=\"keepalives=0;application_name=frontier\"\n"
                                       << "application_name = 'frontier'";
    QTest::newRow("one option") << options + "DbOptions=application_name=frontier\n"
                                << "application_name = 'frontier'";
    QTest::newRow("option that picks the host")
        << "DbHost=127.0.0.1,127.0.0.1\nDbPort=" + port() + "\n" + byObjects + password +
               "DbOptions=target_session_attrs=read-write;sslmode=disable\n"
        << overTcp;
    const QByteArray tcp = "DbHost=127.0.0.1\nDbPort=" + port() + "\n";
    const auto as = [&](const char *name, const QByteArray &value) {
        return tcp + "DbUser=" + role(name) + "\nDbPassword=" + value + "\n";
    };
    QTest::newRow("comma in the password") << as("comma", "p,w") << overTcp;
    QTest::newRow("quoted comma in the password") << as("comma", "\"p,w\"") << overTcp;
    QTest::newRow("hash in the password") << as("hash", "p#w%1") << overTcp;
    QTest::newRow("equals in the password") << as("equals", "a=b") << overTcp;
    QTest::newRow("quotes in the password") << as("quotes", "\"it's \\\"p\\\\w\\\" 1\"") << overTcp;
    QTest::newRow("Russian password") << as("russian", "пароль") << overTcp;
}

void TestDatabaseSettings::opensDatabase()
{
    QFETCH(QByteArray, settings);
    QFETCH(QString, activity);
    ServiceProcess service;
    service.start(settings + "DbName=" + m_database + "\n");
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter(kCannotOpen), QStringList());
    QCOMPARE(m_clone
                 ->value("SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND pid <> "
                         "pg_backend_pid() AND " +
                         activity)
                 .toInt(),
             1);
    service.kill();
    const QString others =
        "SELECT count(*) FROM pg_stat_activity WHERE datname = current_database() AND pid <> pg_backend_pid()";
    QVERIFY(ServiceProcess::waitUntil([&] { return m_clone->value(others).toInt() == 0; }));
}

void TestDatabaseSettings::logsTheServersReason_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QString>("reason");
    const QByteArray socket = "DbHost=" + PgServer::shared().socketFolder().toUtf8() + "\nDbPort=" + port() + "\n";
    const QByteArray tcp = "DbHost=127.0.0.1\nDbPort=" + port() + "\nDbUser=objects\n";
    QTest::newRow("wrong password") << tcp + "DbPassword=p\n"
                                    << "password authentication failed for user \"objects\"";
    QTest::newRow("no password") << tcp << "no password supplied";
    QTest::newRow("wrong database") << socket + "DbUser=objects\nDbName=nowhere\n"
                                    << "database \"nowhere\" does not exist";
    QTest::newRow("default database") << socket + "DbUser=objects\n"
                                      << "database \"objects\" does not exist";
    QTest::newRow("wrong role") << socket + "DbUser=nobody_known\n"
                                << "role \"nobody_known\" does not exist";
    QTest::newRow("wrong socket folder") << QByteArray("DbHost=/no/such\nDbPort=7777\n") << "/no/such/.s.PGSQL.7777";
    QTest::newRow("default port") << QByteArray("DbHost=/no/such\n") << "/no/such/.s.PGSQL.5432";
    QTest::newRow("default socket") << QByteArray("DbPort=7777\n") << "/.s.PGSQL.7777";
    QTest::newRow("nobody listens") << QByteArray("DbHost=127.0.0.1\nDbPort=1\n") << "Connection refused";
    QTest::newRow("wrong host name") << QByteArray("DbHost=no.such.host.invalid\n")
                                     << "could not translate host name \"no.such.host.invalid\"";
    QTest::newRow("wrong option") << socket + "DbUser=objects\nDbOptions=no_such_option=1\n"
                                  << "invalid connection option \"no_such_option\"";
}

void TestDatabaseSettings::logsTheServersReason()
{
    QFETCH(QByteArray, settings);
    QFETCH(QString, reason);
    ServiceProcess service;
    service.start(settings);
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const QStringList lines = service.logTexts();
    QCOMPARE(lines.size(), 3);
    QVERIFY2(lines[1].startsWith(kCannotOpen) && lines[1].contains(reason), qPrintable(lines[1]));
    QVERIFY(service.isRunning());
}

void TestDatabaseSettings::emptyUserIsTheUserOfTheProcess()
{
    const QString user = processUser();
    PgServer::shared().administer(
        QStringLiteral("DO $$ BEGIN CREATE ROLE \"%1\" LOGIN; EXCEPTION WHEN duplicate_object THEN NULL; END $$")
            .arg(user));
    for (const QByteArray &line : {QByteArray(), QByteArray("DbUser=\n")}) {
        ServiceProcess service;
        service.start("DbHost=" + PgServer::shared().socketFolder().toUtf8() + "\nDbPort=" + port() +
                      "\nDbName=" + m_database + "\nDbOptions=application_name=whoami\n" + line);
        QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
        QCOMPARE(m_clone->rows("SELECT usename FROM pg_stat_activity WHERE application_name = 'whoami' AND datname = "
                               "current_database()"),
                 QStringList{user});
        service.kill();
        QVERIFY(ServiceProcess::waitUntil([&] {
            return m_clone->rows("SELECT 1 FROM pg_stat_activity WHERE application_name = 'whoami'").isEmpty();
        }));
    }
}

void TestDatabaseSettings::silentHostDelaysTheStartByTheTimeoutOnly()
{
    QTcpServer silent; // its connections are completed by the system and never served
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    const QByteArray settings = "DbHost=127.0.0.1\nDbPort=" + QByteArray::number(silent.serverPort()) + "\n";
    ServiceProcess own;
    ServiceProcess chosen;
    const qint64 began = QDateTime::currentMSecsSinceEpoch();
    own.start(settings);
    chosen.start(settings + "DbOptions=connect_timeout=7\n");
    QVERIFY2(own.waitForLog(kStartOk), qPrintable(own.story()));
    const qint64 ownTime = own.log().last().timeMs - began;
    QVERIFY2(ownTime < 6500, qPrintable(QString::number(ownTime)));
    QVERIFY2(!own.logTexts().filter(kCannotOpen).filter("timeout expired").isEmpty(), qPrintable(own.story()));
    QVERIFY2(chosen.waitForLog(kStartOk), qPrintable(chosen.story()));
    const qint64 chosenTime = chosen.log().last().timeMs - began;
    QVERIFY2(chosenTime > 6500 && chosenTime < 14000, qPrintable(QString::number(chosenTime)));
}

QTEST_GUILESS_MAIN(TestDatabaseSettings)
#include "test_database_settings.moc"

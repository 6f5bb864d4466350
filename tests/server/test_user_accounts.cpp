// Accounts: created, changed and deleted; what is stored, who is told, and in which order.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

using support::accountRequest;
using support::hex;
using support::i32;
using support::savedUser;

namespace {

constexpr int kOperator = 4;
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray fix(const QByteArray &request, int caller = kOperator)
{
    return support::command("Fix_user", request, caller);
}

QByteArray done(int caller = kOperator)
{
    return support::emptyAnswer("Fix_user", caller);
}

} // namespace

class TestUserAccounts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void creationHasTheKnownBytes();
    void creationStoresEveryField();
    void creationNumbersAccounts();
    void creationCutsTheTelephone_data();
    void creationCutsTheTelephone();
    void creationKeepsNullOutOfEmailAndPhoneOnly();
    void updateStoresEveryFieldOfThatAccount();
    void updateStoresNullAsNullAndEmptyAsEmpty();
    void updateDoesNotCutTheTelephone();
    void updateWithATelephoneTooLongFailsWhole();
    void updateOfAnUnknownAccountIsAnnounced();
    void updateOfOnesOwnAccountIsRecordedUnderTheNewName();
    void textsAreStoredAsTheyCame_data();
    void textsAreStoredAsTheyCame();
    void anyByteButZeroMakesAnAdministrator_data();
    void anyByteButZeroMakesAnAdministrator();
    void namesStandInTheRecordAsTheyAre_data();
    void namesStandInTheRecordAsTheyAre();
    void nobodyChecksLoginOrRequester();
    void deletionTakesEverythingThatHangsOnTheAccount();
    void deletionOfAnUnknownAccountIsAnnounced();
    void deletionOfOnesOwnAccountStillKnowsTheName();
    void deletionReadsNothingBehindTheNumber();
    void deletionOfTheSmallestNumberIsSurvived();
    void failedDeletionDeletesNothing_data();
    void failedDeletionDeletesNothing();
    void failedStatementsAreNotReported_data();
    void failedStatementsAreNotReported();
    void nulInATextFailsTheStatementSilently();
    void failedStatementKeepsThePasswordOutOfTheLog();

    void creationIsRecordedAndAnnouncedBehindTheStatement();
    void updateIsAnnouncedAndRecordedBehindTheStatement();
    void deletionIsAnnouncedAndRecordedBeforeTheStatements_data();
    void deletionIsAnnouncedAndRecordedBeforeTheStatements();
    void recordOfACreationComesBeforeItsNotice();
    void noticeOfAnUpdateComesBeforeItsRecord();
    void noticeOfADeletionComesBeforeItsRecord();

private:
    /// All accounts but the operator's own.
    QStringList
    accounts(const QString &columns = "\"Login\", \"Password\", \"Description\", \"Email\", \"Phone\", \"Admin\"");
    void giveAccount(int id, const QString &login);
    void giveDependants(int account);
    QStringList dependants();

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    int m_failedStatements = 0;
};

void TestUserAccounts::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    // The operator's own account has a number that the sequence has not given out.
    m_site.database->run("ALTER SEQUENCE \"Connections_Id_seq\" RESTART WITH 1000");
}

void TestUserAccounts::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestUserAccounts::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestUserAccounts::accounts(const QString &columns)
{
    return m_site.database->rows("SELECT " + columns + " FROM \"Connections\" WHERE \"Id\" <> 4 ORDER BY \"Id\"");
}

void TestUserAccounts::giveAccount(int id, const QString &login)
{
    m_site.database->run(QStringLiteral("INSERT INTO \"Connections\" VALUES (%1,'%2','old','old','old','old',false)")
                             .arg(QString::number(id), login));
}

void TestUserAccounts::giveDependants(int account)
{
    m_site.database->run(QStringLiteral("INSERT INTO \"Objects_permission\" VALUES (17,%1), (18,%1)").arg(account));
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Person_Setup\" VALUES (1,%1,17,201), (2,%1,5,1), (4,%1,0,211)").arg(account));
}

QStringList TestUserAccounts::dependants()
{
    return m_site.database->rows("SELECT 'permission', \"Id_connection\" FROM \"Objects_permission\" "
                                 "UNION ALL SELECT 'setup', \"Id_connect\" FROM \"Person_Setup\" ORDER BY 1, 2");
}

void TestUserAccounts::creationHasTheKnownBytes()
{
    m_admin.send(hex("00 00 00 38 CB 00 00 00 08 46 69 78 5F 75 73 65 72 00 00 00 23"
                     "00 00 00 00 00 00 00 02 00 75 00 00 00 02 00 70 00 00 00 02 00 64 00 00 00 02 00 65"
                     "00 00 00 02 00 31 01 00 00 00 04"));
    RECORDS(m_client, "User 'ivanov' create new user 'u'");
    SAYS(m_admin, hex("00 00 00 36 CA 00 00 00 0D 53 65 72 76 65 72 4D 65 73 73 61 67 65"
                      "00 00 00 09 53 61 76 65 64 55 73 65 72 00 00 00 04 00 00 00 00"
                      "01 FF FF FF FF 00 00 00 00 00 00 FF FF FF FF"));
    SAYS(m_admin, hex("00 00 00 2C CA 00 00 00 08 46 69 78 5F 75 73 65 72 00 00 00 08 46 69 78 5F 75 73 65 72"
                      "FF FF FF FF 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
    QCOMPARE(accounts(), QStringList("u|p|d|e|1|true"));
}

void TestUserAccounts::creationStoresEveryField()
{
    m_admin.send(
        fix(accountRequest(0, {"the login", "the password", "the description", "the e-mail", "the phone", 1})));
    RECORDS(m_client, "User 'ivanov' create new user 'the login'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
    QCOMPARE(accounts(), QStringList("the login|the password|the description|the e-mail|the phone|true"));
}

void TestUserAccounts::creationNumbersAccounts()
{
    for (const char *login : {"a", "b"}) {
        m_admin.send(fix(accountRequest(0, {login})));
        RECORDS(m_client, QByteArray("User 'ivanov' create new user '") + login + "'");
        SAYS(m_admin, savedUser(0));
        SAYS(m_admin, done());
    }
    QCOMPARE(accounts("\"Login\""), QStringList({"a", "b"}));
    QCOMPARE(m_site.database->value("SELECT count(DISTINCT \"Id\") FROM \"Connections\" WHERE \"Id\" > 0").toInt(), 3);
}

void TestUserAccounts::creationCutsTheTelephone_data()
{
    QTest::addColumn<QString>("phone");
    QTest::addColumn<QString>("stored");
    QTest::newRow("9") << "123456789"
                       << "123456789";
    QTest::newRow("10") << "1234567890"
                        << "1234567890";
    QTest::newRow("11") << "12345678901"
                        << "1234567890";
    QTest::newRow("15") << "+71234567890123"
                        << "+712345678";
    QTest::newRow("letters of two bytes") << QString::fromUtf8("абвгдежзиклмно") << QString::fromUtf8("абвгдежзик");
    QTest::newRow("blanks count") << "          7"
                                  << "          ";
    QTest::newRow("a million") << QString(1000000, '5') << "5555555555";
}

void TestUserAccounts::creationCutsTheTelephone()
{
    QFETCH(QString, phone);
    QFETCH(QString, stored);
    m_admin.send(fix(accountRequest(0, {.login = "u", .phone = phone})));
    RECORDS(m_client, "User 'ivanov' create new user 'u'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
    QCOMPARE(accounts("\"Phone\""), QStringList(stored));
}

void TestUserAccounts::creationKeepsNullOutOfEmailAndPhoneOnly()
{
    m_admin.send(fix(accountRequest(0, {{}, {}, {}, {}, {}, 0})) + fix(accountRequest(0, {"", "", "", "", "", 0})));
    for (int i = 0; i < 2; ++i) {
        RECORDS(m_client, "User 'ivanov' create new user ''");
        SAYS(m_admin, savedUser(0));
        SAYS(m_admin, done());
    }
    QCOMPARE(accounts(), QStringList({"NULL|NULL|NULL|||false", "|||||false"}));
}

void TestUserAccounts::updateStoresEveryFieldOfThatAccount()
{
    giveAccount(7, "petrov");
    giveAccount(8, "sidorov");
    m_admin.send(
        fix(accountRequest(7, {"the login", "the password", "the description", "the e-mail", "the phone", 1})));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' update user 'the login'");
    SAYS(m_admin, done());
    QCOMPARE(accounts(), QStringList({"the login|the password|the description|the e-mail|the phone|true",
                                      "sidorov|old|old|old|old|false"}));
}

void TestUserAccounts::updateStoresNullAsNullAndEmptyAsEmpty()
{
    giveAccount(7, "petrov");
    giveAccount(8, "sidorov");
    m_admin.send(fix(accountRequest(7, {{}, {}, {}, {}, {}, 0})) + fix(accountRequest(8, {"", "", "", "", "", 0})));
    for (const int id : {7, 8}) {
        SAYS(m_admin, savedUser(id));
        RECORDS(m_client, "User 'ivanov' update user ''");
        SAYS(m_admin, done());
    }
    QCOMPARE(accounts(), QStringList({"NULL|NULL|NULL|NULL|NULL|false", "|||||false"}));
}

void TestUserAccounts::updateDoesNotCutTheTelephone()
{
    giveAccount(7, "petrov");
    // An installation may have a wider column than the one that the service adds.
    m_site.database->run("ALTER TABLE \"Connections\" ALTER COLUMN \"Phone\" TYPE character varying(40)");
    m_admin.send(fix(accountRequest(7, {.login = "petrov", .phone = "+71234567890123"})) +
                 fix(accountRequest(0, {.login = "new", .phone = "+71234567890123"})));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' update user 'petrov'");
    SAYS(m_admin, done());
    RECORDS(m_client, "User 'ivanov' create new user 'new'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
    const QStringList phones =
        m_site.database->rows("SELECT \"Login\", \"Phone\" FROM \"Connections\" WHERE \"Id\" <> 4 ORDER BY \"Login\"");
    m_site.database->run("TRUNCATE \"Connections\"");
    m_site.database->run("ALTER TABLE \"Connections\" ALTER COLUMN \"Phone\" TYPE character varying(10)");
    QCOMPARE(phones, QStringList({"new|+712345678", "petrov|+71234567890123"}));
}

void TestUserAccounts::updateWithATelephoneTooLongFailsWhole()
{
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(7, {.login = "changed", .phone = "12345678901"})));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' update user 'changed'");
    SAYS(m_admin, done());
    QCOMPARE(accounts(), QStringList("petrov|old|old|old|old|false"));
    m_failedStatements = 1;
}

void TestUserAccounts::updateOfAnUnknownAccountIsAnnounced()
{
    m_admin.send(fix(accountRequest(4711, {.login = "nobody"})));
    SAYS(m_admin, savedUser(4711));
    RECORDS(m_client, "User 'ivanov' update user 'nobody'");
    SAYS(m_admin, done());
    QCOMPARE(accounts(), QStringList());
}

void TestUserAccounts::updateOfOnesOwnAccountIsRecordedUnderTheNewName()
{
    m_admin.send(fix(accountRequest(kOperator, {.login = "petrov"})));
    SAYS(m_admin, savedUser(kOperator));
    RECORDS(m_client, "User 'petrov' update user 'petrov'");
    SAYS(m_admin, done());
}

void TestUserAccounts::textsAreStoredAsTheyCame_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("quotes") << "it's \"q\" `b`";
    QTest::newRow("a statement") << "'; DELETE FROM \"Connections\"; --";
    QTest::newRow("placeholders") << "%0 %1 ? :x $1";
    QTest::newRow("backslashes") << "\\ \\x41 \\n";
    QTest::newRow("Russian") << QString::fromUtf8("Иванов Ёж");
    QTest::newRow("emoji") << QString::fromUtf8("😀");
    QTest::newRow("blanks around") << "  a\tb\r\n ";
    QTest::newRow("long") << QString(100000, 'n');
}

void TestUserAccounts::textsAreStoredAsTheyCame()
{
    QFETCH(QString, text);
    QString quoted = text;
    quoted = "'" + quoted.replace('\'', "''") + "'";
    const QString shortText = text.left(10);
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(0, {text, text, text, text.left(150), shortText, 0})) +
                 fix(accountRequest(7, {text, text, text, text.left(150), shortText, 0})));
    RECORDS(m_client, "User 'ivanov' create new user '" + text.toUtf8() + "'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' update user '" + text.toUtf8() + "'");
    SAYS(m_admin, done());
    QCOMPARE(m_site.database
                 ->value("SELECT count(*) FROM (SELECT " + quoted +
                         "::text AS t) AS given, \"Connections\" WHERE \"Login\" = t AND \"Password\" = t AND "
                         "\"Description\" = t AND \"Email\" = left(t, 150) AND \"Phone\" = left(t, 10)")
                 .toInt(),
             2);
}

void TestUserAccounts::anyByteButZeroMakesAnAdministrator_data()
{
    QTest::addColumn<int>("byte");
    QTest::addColumn<QString>("stored");
    QTest::newRow("0") << 0 << "false";
    QTest::newRow("1") << 1 << "true";
    QTest::newRow("2") << 2 << "true";
    QTest::newRow("255") << 255 << "true";
}

void TestUserAccounts::anyByteButZeroMakesAnAdministrator()
{
    QFETCH(int, byte);
    QFETCH(QString, stored);
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(0, {.login = "u", .admin = byte})) +
                 fix(accountRequest(7, {.login = "u", .admin = byte})));
    RECORDS(m_client, "User 'ivanov' create new user 'u'");
    RECORDS(m_client, "User 'ivanov' update user 'u'");
    for (const QByteArray &expected : {savedUser(0), done(), savedUser(7), done()})
        SAYS(m_admin, expected);
    QCOMPARE(accounts("\"Admin\""), QStringList({stored, stored}));
}

void TestUserAccounts::namesStandInTheRecordAsTheyAre_data()
{
    QTest::addColumn<QString>("own");
    QTest::addColumn<QString>("other");
    QTest::newRow("placeholder of the other name") << "%2"
                                                   << "petrov";
    QTest::newRow("placeholder of the own name") << "ivanov"
                                                 << "%1";
    QTest::newRow("both and more") << "%1 %2 %3 %L1"
                                   << "%2 %1 %%";
    QTest::newRow("quotes") << "o'neil"
                            << "\"x\"";
    QTest::newRow("Russian") << QString::fromUtf8("Иванов") << QString::fromUtf8("Пётр");
}

void TestUserAccounts::namesStandInTheRecordAsTheyAre()
{
    QFETCH(QString, own);
    QFETCH(QString, other);
    QString quoted = own;
    m_site.database->run("UPDATE \"Connections\" SET \"Login\" = '" + quoted.replace('\'', "''") + "'");
    giveAccount(7, "old");
    const QByteArray user = "User '" + own.toUtf8() + "' ";
    const QByteArray name = " '" + other.toUtf8() + "'";
    m_admin.send(fix(accountRequest(0, {.login = other})) + fix(accountRequest(7, {.login = other})) + fix(i32(-7)));
    RECORDS(m_client, user + "create new user" + name);
    RECORDS(m_client, user + "update user" + name);
    RECORDS(m_client, user + "delete user" + name);
    for (const QByteArray &expected : {savedUser(0), done(), savedUser(7), done(), savedUser(7), done()})
        SAYS(m_admin, expected);
}

void TestUserAccounts::nobodyChecksLoginOrRequester()
{
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(0, {.login = "petrov"}), 4711) + fix(i32(-7), 0));
    RECORDS(m_client, "User '' create new user 'petrov'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done(4711));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User '' delete user 'petrov'");
    SAYS(m_admin, done(0));
    QCOMPARE(accounts("\"Login\""), QStringList("petrov"));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Connections\" WHERE \"Id\" = 7").toInt(), 0);
}

void TestUserAccounts::deletionTakesEverythingThatHangsOnTheAccount()
{
    giveAccount(7, "petrov");
    giveAccount(8, "sidorov");
    giveDependants(7);
    giveDependants(8);
    m_admin.send(fix(i32(-7)));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' delete user 'petrov'");
    SAYS(m_admin, done());
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(accounts("\"Id\""), QStringList("8"));
    QCOMPARE(dependants(), QStringList({"permission|8", "permission|8", "setup|8", "setup|8", "setup|8"}));
}

void TestUserAccounts::deletionOfAnUnknownAccountIsAnnounced()
{
    giveDependants(4711);
    m_admin.send(fix(i32(-4711)));
    SAYS(m_admin, savedUser(4711));
    RECORDS(m_client, "User 'ivanov' delete user ''");
    SAYS(m_admin, done());
    QCOMPARE(dependants(), QStringList());
}

void TestUserAccounts::deletionOfOnesOwnAccountStillKnowsTheName()
{
    m_admin.send(fix(i32(-kOperator)));
    SAYS(m_admin, savedUser(kOperator));
    RECORDS(m_client, "User 'ivanov' delete user 'ivanov'");
    SAYS(m_admin, done());
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Connections\"").toInt(), 0);
}

void TestUserAccounts::deletionReadsNothingBehindTheNumber()
{
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(-7, {.login = "other"})));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' delete user 'petrov'");
    SAYS(m_admin, done());
    QCOMPARE(accounts("\"Id\""), QStringList());
}

void TestUserAccounts::deletionOfTheSmallestNumberIsSurvived()
{
    giveAccount(7, "petrov");
    m_admin.send(fix(i32(0x80000000)));
    // Its positive twin does not fit into the notice.
    SAYS(m_admin, savedUser(int(0x80000000)));
    RECORDS(m_client, "User 'ivanov' delete user ''");
    SAYS(m_admin, done());
    QCOMPARE(accounts("\"Id\""), QStringList("7"));
    m_failedStatements = int(m_site.newLogLines().size());
}

void TestUserAccounts::failedDeletionDeletesNothing_data()
{
    QTest::addColumn<QString>("table");
    for (const char *table : {"\"Connections\"", "\"Objects_permission\"", "\"Person_Setup\""})
        QTest::newRow(table) << table;
}

void TestUserAccounts::failedDeletionDeletesNothing()
{
    QFETCH(QString, table);
    giveAccount(7, "petrov");
    giveDependants(7);
    const QStringList before = accounts() + dependants();
    const support::StatementFault fault(*m_site.database, table, "DELETE");
    m_admin.send(fix(i32(-7)));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' delete user 'petrov'");
    SAYS(m_admin, done());
    QCOMPARE(accounts() + dependants(), before);
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains("Fix_user"), qPrintable(m_site.newLogLines().value(0)));
    QVERIFY2(m_site.newLogLines().value(0).contains("made to fail"), qPrintable(m_site.newLogLines().value(0)));
}

void TestUserAccounts::failedStatementsAreNotReported_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<int>("id");
    QTest::newRow("creation") << "INSERT" << 0;
    QTest::newRow("update") << "UPDATE" << 7;
}

void TestUserAccounts::failedStatementsAreNotReported()
{
    QFETCH(QString, event);
    QFETCH(int, id);
    giveAccount(7, "petrov");
    const QStringList before = accounts();
    const support::StatementFault fault(*m_site.database, "\"Connections\"", event);
    m_admin.send(fix(accountRequest(id, {.login = "u"})));
    RECORDS(m_client, id == 0 ? "User 'ivanov' create new user 'u'" : "User 'ivanov' update user 'u'");
    SAYS(m_admin, savedUser(id));
    SAYS(m_admin, done());
    QCOMPARE(accounts(), before);
    m_failedStatements = 1;
}

void TestUserAccounts::nulInATextFailsTheStatementSilently()
{
    giveAccount(7, "petrov");
    m_admin.send(fix(accountRequest(0, {.login = "u", .password = kNul})) +
                 fix(accountRequest(7, {.login = "u", .description = kNul})));
    RECORDS(m_client, "User 'ivanov' create new user 'u'");
    RECORDS(m_client, "User 'ivanov' update user 'u'");
    for (const QByteArray &expected : {savedUser(0), done(), savedUser(7), done()})
        SAYS(m_admin, expected);
    QCOMPARE(accounts(), QStringList("petrov|old|old|old|old|false"));
    m_failedStatements = 2;
}

void TestUserAccounts::failedStatementKeepsThePasswordOutOfTheLog()
{
    // The server's reason then quotes the whole row that failed.
    m_site.database->run(R"(ALTER TABLE "Connections" ADD CONSTRAINT test_check CHECK ("Login" <> 'nina') NOT VALID)");
    m_admin.send(fix(accountRequest(0, {.login = "nina", .password = "s3cret"})));
    RECORDS(m_client, "User 'ivanov' create new user 'nina'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
    m_site.database->run(R"(ALTER TABLE "Connections" DROP CONSTRAINT test_check)");
    m_failedStatements = 1;
    const QString line = m_site.newLogLines().value(0);
    QVERIFY2(line.contains("Fix_user: ") && line.contains("test_check"), qPrintable(line));
    QVERIFY2(!line.contains("s3cret"), qPrintable(line));
}

void TestUserAccounts::creationIsRecordedAndAnnouncedBehindTheStatement()
{
    support::TableLock lock(*m_site.database, "\"Connections\"");
    m_admin.send(fix(accountRequest(0, {.login = "u"})));
    QVERIFY(lock.isWaitedFor());
    QTest::qWait(100);
    QVERIFY(m_admin.isSilent());
    QVERIFY(m_client.isSilent());
    lock.release();
    RECORDS(m_client, "User 'ivanov' create new user 'u'");
    SAYS(m_admin, savedUser(0));
    SAYS(m_admin, done());
}

void TestUserAccounts::updateIsAnnouncedAndRecordedBehindTheStatement()
{
    giveAccount(7, "petrov");
    support::TableLock lock(*m_site.database, "\"Connections\"");
    m_admin.send(fix(accountRequest(7, {.login = "u"})));
    QVERIFY(lock.isWaitedFor());
    QTest::qWait(100);
    QVERIFY(m_admin.isSilent());
    QVERIFY(m_client.isSilent());
    lock.release();
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' update user 'u'");
    SAYS(m_admin, done());
}

void TestUserAccounts::deletionIsAnnouncedAndRecordedBeforeTheStatements_data()
{
    failedDeletionDeletesNothing_data();
}

void TestUserAccounts::deletionIsAnnouncedAndRecordedBeforeTheStatements()
{
    QFETCH(QString, table);
    giveAccount(7, "petrov");
    giveDependants(7);
    support::TableLock lock(*m_site.database, table);
    m_admin.send(fix(i32(-7)));
    SAYS(m_admin, savedUser(7));
    RECORDS(m_client, "User 'ivanov' delete user 'petrov'");
    QVERIFY(lock.isWaitedFor());
    QTest::qWait(100);
    QVERIFY(m_admin.isSilent());
    QCOMPARE(accounts("\"Id\""), QStringList("7"));
    lock.release();
    SAYS(m_admin, done());
    QCOMPARE(accounts("\"Id\""), QStringList());
    QCOMPARE(dependants(), QStringList());
}

// Two sockets have no order of their own: what was said first must be there already when the second has come, every
// time.

void TestUserAccounts::recordOfACreationComesBeforeItsNotice()
{
    for (int i = 0; i < 100; ++i) {
        m_admin.send(fix(accountRequest(0, {.login = "u"})));
        SAYS(m_admin, savedUser(0));
        QVERIFY2(!m_client.isSilent(), "the notice came first");
        RECORDS(m_client, "User 'ivanov' create new user 'u'");
        SAYS(m_admin, done());
    }
}

void TestUserAccounts::noticeOfAnUpdateComesBeforeItsRecord()
{
    giveAccount(7, "petrov");
    for (int i = 0; i < 100; ++i) {
        m_admin.send(fix(accountRequest(7, {.login = "u"})));
        RECORDS(m_client, "User 'ivanov' update user 'u'");
        QVERIFY2(!m_admin.isSilent(), "the record came first");
        SAYS(m_admin, savedUser(7));
        SAYS(m_admin, done());
    }
}

void TestUserAccounts::noticeOfADeletionComesBeforeItsRecord()
{
    for (int i = 0; i < 100; ++i) {
        m_admin.send(fix(i32(-7)));
        RECORDS(m_client, "User 'ivanov' delete user ''");
        QVERIFY2(!m_admin.isSilent(), "the record came first");
        SAYS(m_admin, savedUser(7));
        SAYS(m_admin, done());
    }
}

QTEST_GUILESS_MAIN(TestUserAccounts)
#include "test_user_accounts.moc"

// Two services where there should be one: on one database, under one server name, at one administration server. Nothing
// of it is refused; this is what holds then, and how often what does not.

#include "conversation.h"
#include "pg_server.h"
#include "registry_bytes.h"
#include "service_process.h"

#include <QSet>

using support::i32;
using support::ServiceProcess;
using support::text;

namespace {

constexpr int kOperator = 4;
constexpr int kRounds = 100;
constexpr int kProperties = 10;

QByteArray about(int caller)
{
    return support::commandWithNoData("About", caller);
}

QByteArray save(char who)
{
    QByteArray records;
    for (int i = 0; i < kProperties; ++i)
        records += support::cardRecord({-1, QString(QLatin1Char(who)) + QString::number(i), "", 0, "", 't'});
    return support::command("Save_object_card_v2", i32(17) + i32(kProperties) + records, kOperator);
}

QByteArray createObject(const QString &name)
{
    const QByteArray identity =
        text("modem") + text(name) + text("name") + text(name) + text("subdivision") + text("s");
    return support::command("Create_obj_by_template_v2", i32(0) + i32(3) + identity, kOperator);
}

/// A service with an administration server of its own.
struct Attended
{
    ServiceProcess service;
    support::AdminPeer admin{service.adminPath()};
};

} // namespace

class TestTwoServices : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void onOneDatabaseEachSeesTheOthersChanges();
    void onOneDatabaseNoticesStayWithTheirService();
    void onOneDatabaseNoObjectIsLost();
    void onOneDatabaseTheSameCardSavedAtOnceMayBeMixed();
    void onOneDatabaseTemplatesMadeAtOnceMayShareANumber();
    void atOneAdministrationServerEachDoesEveryCommand();
    void underOneNameNewClientsGoToTheLaterOne();

private:
    /// Sends both their commands at once, and returns when both have done them.
    void both(const QByteArray &first, const QByteArray &second);
    int count(const QString &from) { return m_database->value("SELECT count(*) FROM " + from).toInt(); }

    std::unique_ptr<support::TestDatabase> m_database = support::PgServer::shared().cloneDatabase();
    Attended m_first;
    Attended m_second;
    Attended m_namesake; ///< under the server name of the first
    QProcess m_hub;
    ServiceProcess m_atHub;
    ServiceProcess m_alsoAtHub;
};

void TestTwoServices::initTestCase()
{
    m_hub.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_hub.start(QStringLiteral(ADMIN_HUB_PATH),
                {"--services", m_atHub.adminPath(), "--clients", m_atHub.path("clients")});
    QVERIFY(m_hub.waitForReadyRead(10000));
    for (ServiceProcess *service : {&m_first.service, &m_second.service, &m_atHub})
        service->start(m_database->settings());
    m_alsoAtHub.start(m_database->settings() + "AdminServerName=" + m_atHub.adminPath().toUtf8() + "\n");
    for (Attended *attended : {&m_first, &m_second}) {
        QVERIFY2(attended->admin.attend(), qPrintable(attended->service.story()));
        SAYS(attended->admin, support::greeting(attended->service.serverPath().toUtf8()));
    }
    m_namesake.service.start(m_database->settings() + "ServerName=" + m_first.service.serverPath().toUtf8() + "\n");
}

void TestTwoServices::cleanup()
{
    for (Attended *attended : {&m_first, &m_second})
        ANSWERS(*attended);
    QCOMPARE(m_hub.state(), QProcess::Running);
}

void TestTwoServices::cleanupTestCase()
{
    m_atHub.kill();
    m_alsoAtHub.kill();
    m_hub.terminate();
    QVERIFY(m_hub.waitForFinished(10000));
}

void TestTwoServices::both(const QByteArray &first, const QByteArray &second)
{
    m_first.admin.send(first + about(1));
    m_second.admin.send(second + about(1));
    for (Attended *attended : {&m_first, &m_second}) {
        QByteArray frame = attended->admin.nextFrame();
        while (!frame.isEmpty() && !support::isAbout(frame, 1))
            frame = attended->admin.nextFrame();
        QVERIFY2(!frame.isEmpty(), "\"About\" is not answered");
    }
}

void TestTwoServices::onOneDatabaseEachSeesTheOthersChanges()
{
    const QByteArray get = support::command("Get_object_card_v2", i32(17), kOperator);
    m_second.admin.send(get);
    SAYS(m_second.admin, support::answer("Get_object_card_v2", i32(17) + i32(0), kOperator));
    m_first.admin.send(save('a'));
    SAYS(m_first.admin, support::savedCard(17));
    m_first.admin.send(get);
    const QByteArray card = m_first.admin.nextFrame();
    QVERIFY(card.size() > 100);
    m_second.admin.send(get);
    SAYS(m_second.admin, card);
}

void TestTwoServices::onOneDatabaseNoticesStayWithTheirService()
{
    m_first.admin.send(save('a'));
    SAYS(m_first.admin, support::savedCard(17));
    SAYS_NOTHING_MORE(m_second.admin);
}

void TestTwoServices::onOneDatabaseNoObjectIsLost()
{
    QByteArray first;
    QByteArray second;
    for (int i = 0; i < kRounds; ++i) {
        first += createObject(QStringLiteral("a%1").arg(i));
        second += createObject(QStringLiteral("b%1").arg(i));
    }
    both(first, second);
    QCOMPARE(count("\"Objects\""), 2 * kRounds);
    QCOMPARE(count("(SELECT \"Id_objects\" FROM \"Objects_property\" WHERE \"Name\" IN ('name','modem','subdivision') "
                   "GROUP BY 1 HAVING count(*) = 3) AS whole"),
             2 * kRounds);
    // The check for a twin and the creation are two statements.
    int twins = 0;
    for (int i = 0; i < kRounds; ++i) {
        both(createObject(QStringLiteral("c%1").arg(i)), createObject(QStringLiteral("c%1").arg(i)));
        const int made =
            count(QStringLiteral("\"Objects_property\" WHERE \"Name\" = 'modem' AND \"Value\" = 'c%1'").arg(i));
        QVERIFY(made == 1 || made == 2);
        twins += made - 1;
    }
    qInfo("the same object created at once: %d times of %d twice", twins, kRounds);
}

void TestTwoServices::onOneDatabaseTheSameCardSavedAtOnceMayBeMixed()
{
    int mixed = 0;
    for (int i = 0; i < kRounds; ++i) {
        both(save('a'), save('b'));
        const QStringList names =
            m_database->rows("SELECT \"Name\" FROM \"Objects_property\" WHERE \"Id_objects\" = 17 ORDER BY \"Name\"");
        const auto firsts = names.filter("a").size();
        const auto seconds = names.filter("b").size();
        QVERIFY2(firsts == kProperties || seconds == kProperties, qPrintable(names.join(' ')));
        mixed += names.size() == kProperties ? 0 : 1;
    }
    qInfo("the same card saved at once: %d times of %d it held rows of both", mixed, kRounds);
}

void TestTwoServices::onOneDatabaseTemplatesMadeAtOnceMayShareANumber()
{
    const QByteArray create = support::command("Fix_template_desc_v2", i32(0) + support::bytes("t"), kOperator);
    both(create.repeated(kRounds), create.repeated(kRounds));
    QCOMPARE(count("\"Templates\" WHERE \"Class\" = 't'"), 2 * kRounds);
    qInfo("templates made at once: %d numbers of %d stand for two templates",
          count("(SELECT \"Owner\" FROM \"Templates\" WHERE \"Class\" = 't' GROUP BY 1 HAVING count(*) > 1) AS shared"),
          2 * kRounds);
}

void TestTwoServices::atOneAdministrationServerEachDoesEveryCommand()
{
    support::Wire client = support::Wire::connectTo(m_atHub.path("clients"));
    QVERIFY(
        ServiceProcess::waitUntil([&] { return m_atHub.waitForLog("New Out") && m_alsoAtHub.waitForLog("New Out"); }));
    client.send(about(kOperator));
    for (int i = 0; i < 2; ++i) {
        const QByteArray said = client.nextFrame();
        QVERIFY2(support::isAbout(said, kOperator), qPrintable(support::describe(said)));
    }
    client.send(support::command("Fix_object_v2", i32(0) + support::bytes("twice"), kOperator) + about(kOperator));
    for (int i = 0; i < 2; ++i) {
        const QByteArray said = client.nextFrame();
        QVERIFY2(support::isAbout(said, kOperator), qPrintable(support::describe(said)));
    }
    QCOMPARE(count("\"Objects_property\" WHERE \"Name\" = 'name' AND \"Value\" = 'twice'"), 2);
}

void TestTwoServices::underOneNameNewClientsGoToTheLaterOne()
{
    const QString path = m_first.service.serverPath();
    const QString opened = "Start server: " + path;
    support::ClientPeer early;
    QVERIFY2(early.attach(path, m_first.admin), qPrintable(m_first.service.story()));
    QVERIFY2(m_namesake.admin.attend(), qPrintable(m_namesake.service.story()));
    SAYS(m_namesake.admin, support::greeting(path.toUtf8()));
    QVERIFY2(m_namesake.service.waitForLog(opened), qPrintable(m_namesake.service.story()));
    support::ClientPeer late;
    QVERIFY2(late.attach(path, m_namesake.admin), qPrintable(m_namesake.service.story()));
    // The first keeps the clients that it has, and learns nothing.
    m_first.admin.send(save('a'));
    SAYS(m_first.admin, support::savedCard(17));
    RECORDS(early, "User '' save card with id=17");
    QVERIFY(late.isSilent());
    m_namesake.admin.send(save('b'));
    SAYS(m_namesake.admin, support::savedCard(17));
    RECORDS(late, "User '' save card with id=17");
    QVERIFY(early.isSilent());
    QCOMPARE(m_first.service.logTexts().filter(opened).size(), 1);
    // Both say what has happened, and say it once however long it lasts.
    const QString taken = "Server name taken over: another process listens on " + path;
    const QString lost = "Server name lost: new connections to " + path + " go to another process";
    QVERIFY2(m_first.service.waitForLog(lost), qPrintable(m_first.service.story()));
    QCOMPARE(m_namesake.service.logCount(taken), 1);
    QCOMPARE(m_first.service.logCount(taken), 0);
    // The later one leaves the name free, and the first takes it again.
    m_namesake.admin.send(support::commandWithNoData("QuitSignal", kOperator));
    QCOMPARE(m_namesake.service.exitCode(), 0);
    QVERIFY2(ServiceProcess::waitUntil([&] { return m_first.service.logTexts().filter(opened).size() == 2; }),
             qPrintable(m_first.service.story()));
    QCOMPARE(m_first.service.logCount(lost), 1);
    support::ClientPeer again;
    QVERIFY2(again.attach(path, m_first.admin), qPrintable(m_first.service.story()));
    m_first.admin.send(save('a'));
    SAYS(m_first.admin, support::savedCard(17));
    RECORDS(again, "User '' save card with id=17");
    RECORDS(early, "User '' save card with id=17");
}

QTEST_GUILESS_MAIN(TestTwoServices)
#include "test_two_services.moc"

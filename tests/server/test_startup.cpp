// From the command line to the event loop, and the two ways out of it.

#include "conversation.h"
#include "installation.h"

#include <QFile>
#include <QProcess>

using support::ServiceProcess;

namespace {

const QString kNoConnections = QStringLiteral("Warrning: No Connections ");
const QString kStartOk = QStringLiteral("Start Ok!");
const QString kClosing = QStringLiteral("Admin connection is closed. Stopping application.");

/// A service and its administration server, nothing more.
struct Pair
{
    ServiceProcess service;
    support::AdminPeer admin{service.adminPath()};

    [[nodiscard]] bool meet()
    {
        return admin.attend() && admin.nextFrame() == support::greeting(service.serverPath().toUtf8());
    }
};

QByteArray burst(int commands)
{
    QByteArray result;
    for (int caller = 1; caller <= commands; ++caller)
        result += support::commandWithNoData("About", caller);
    return result;
}

/// The Db lines that let no database be found, so that every load leaves its own trace.
QByteArray absentDatabase(const QByteArray &folder)
{
    return "DbHost=/" + folder + "\n";
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void logsStartInOrder();
    void noArgumentLoadsTheDefaultSettings();
    void otherSpellingsAreIgnored_data();
    void otherSpellingsAreIgnored();
    void twoPathsAreTwoFullLoads();
    void optionAtTheEndLoadsTheDefaultTwice();
    void optionAtTheEndBehindAPathLoadsTheDefaultOnce();
    void pathMayLookLikeTheOption();
    void ownNameCountsAsArgument();
    void missingSettingsFileDoesNotStopTheStart();
    void unreadableTranslationIsNoMatter();
    void translationOfTheWorkingFolderIsInstalled();

    void quitSignalEndsWithZeroAndSaysNothing();
    void quitSignalInABurstEndsWithZero();
    void closedAdministrationLinkEndsWithFive();
    void administrationLinkClosedInABurstEndsWithFive();
    void twoTimersServeTheSameLinks();

private:
    Pair m_quit;
    Pair m_quitInBurst;
    Pair m_closed;
    Pair m_closedInBurst;
    Pair m_twoTimers;
};

void TestStartup::initTestCase()
{
    // They need the connector's first ticks; meanwhile the other tests run.
    for (Pair *pair : {&m_quit, &m_quitInBurst, &m_closed, &m_closedInBurst})
        pair->service.start();
    m_twoTimers.service.write("a.ini", m_twoTimers.service.settings());
    m_twoTimers.service.startWith({"-settings", "a.ini", "-settings", "a.ini"});
}

void TestStartup::logsStartInOrder()
{
    const auto database = support::PgServer::shared().cloneDatabase();
    ServiceProcess service;
    service.start(database->settings());
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts(), QStringList({kNoConnections, kStartOk}));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const ServiceProcess::LogLine &line : service.log())
        QVERIFY2(qAbs(line.timeMs - now.toMSecsSinceEpoch()) < 30000, "the line's time is not now in UTC");
}

void TestStartup::noArgumentLoadsTheDefaultSettings()
{
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings(absentDatabase("default")));
    service.startWith({});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const QStringList lines = service.logTexts();
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines[0], kNoConnections);
    QVERIFY2(lines[1].startsWith("Cannot open database : ") && lines[1].contains("/default/"), qPrintable(lines[1]));
    QCOMPARE(lines[2], kStartOk);
}

void TestStartup::otherSpellingsAreIgnored_data()
{
    QTest::addColumn<QString>("option");
    QTest::newRow("capital letter") << "-Settings";
    QTest::newRow("two dashes") << "--settings";
    QTest::newRow("with the path in one") << "-settings=other.ini";
    QTest::newRow("no dash") << "settings";
    QTest::newRow("something else") << "-help";
}

void TestStartup::otherSpellingsAreIgnored()
{
    QFETCH(QString, option);
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings(absentDatabase("default")));
    service.write("other.ini", service.settings(absentDatabase("other")));
    service.startWith({option, "other.ini", "more"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter("Cannot open database : ").size(), 1);
    QCOMPARE(service.logTexts().filter("/default/").size(), 1);
}

void TestStartup::twoPathsAreTwoFullLoads()
{
    ServiceProcess service;
    service.write("a.ini",
                  service.settings(absentDatabase("first") + "LogName=" + service.path("a.log").toUtf8() + "\n"));
    service.write("b.ini",
                  service.settings(absentDatabase("second") + "LogName=" + service.path("b.log").toUtf8() + "\n"));
    service.startWith({"-settings", "a.ini", "noise", "-settings", "b.ini"});
    const auto second = [&] { return ServiceProcess::readLog(service.path("b.log")); };
    QVERIFY2(ServiceProcess::waitUntil([&] { return !second().isEmpty() && second().last().text == kStartOk; }),
             qPrintable(service.story()));
    const auto first = ServiceProcess::readLog(service.path("a.log"));
    QCOMPARE(first.size(), 2);
    QCOMPARE(first[0].text, kNoConnections);
    QVERIFY2(first[1].text.contains("/first/"), qPrintable(first[1].text));
    QCOMPARE(second().size(), 3);
    QCOMPARE(second()[0].text, kNoConnections);
    QVERIFY2(second()[1].text.contains("/second/"), qPrintable(second()[1].text));
}

void TestStartup::optionAtTheEndLoadsTheDefaultTwice()
{
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings(absentDatabase("default")));
    service.startWith({"noise", "-settings"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter("Cannot open database : ").size(), 2);
    QCOMPARE(service.logCount(kNoConnections), 2);
    QCOMPARE(service.logCount(kStartOk), 1);
}

void TestStartup::optionAtTheEndBehindAPathLoadsTheDefaultOnce()
{
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings(absentDatabase("default")));
    service.write("a.ini", service.settings(absentDatabase("first")));
    service.startWith({"-settings", "a.ini", "-settings"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    const QStringList opened = service.logTexts().filter("Cannot open database : ");
    QCOMPARE(opened.size(), 2);
    QVERIFY2(opened[0].contains("/first/") && opened[1].contains("/default/"), qPrintable(opened.join('\n')));
}

void TestStartup::pathMayLookLikeTheOption()
{
    ServiceProcess service;
    service.useCopyNamed("frontier");
    service.write("frontier.ini", service.settings(absentDatabase("default")));
    service.write("-settings", service.settings(absentDatabase("dashed")));
    service.startWith({"-settings", "-settings"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter("Cannot open database : ").size(), 1);
    QCOMPARE(service.logTexts().filter("/dashed/").size(), 1);
}

void TestStartup::ownNameCountsAsArgument()
{
    ServiceProcess service;
    service.write("a.ini", service.settings(absentDatabase("first")));
    service.setOwnName("-settings");
    service.startWith({"a.ini"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter("/first/").size(), 1);
}

void TestStartup::missingSettingsFileDoesNotStopTheStart()
{
    ServiceProcess service;
    service.useCopyNamed("frontier");
    // Logging is off without settings, so only a later load can tell that the start went on.
    service.write("a.ini", service.settings(absentDatabase("first")));
    service.startWith({"-settings", "missing.ini", "-settings", "a.ini"});
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().filter("Cannot open database : ").size(), 1);
    QVERIFY(service.isRunning());
}

void TestStartup::unreadableTranslationIsNoMatter()
{
    ServiceProcess service;
    service.write("Objects_server.qm", "this is no translation");
    service.start(absentDatabase("none"));
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().first(), kNoConnections);
    QCOMPARE(service.log().size(), 3);
}

void TestStartup::translationOfTheWorkingFolderIsInstalled()
{
    const QString compiler = QStringLiteral(LRELEASE_PATH);
    ServiceProcess service;
    service.write("test.ts", "<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE TS><TS version=\"2.1\" "
                             "language=\"ru\"><context><name>TServerPlugin</name>"
                             "<message><source>Warrning: No Connections </source><translation>Нет "
                             "соединений</translation></message></context></TS>");
    QCOMPARE(
        QProcess::execute(compiler, {"-silent", service.path("test.ts"), "-qm", service.path("Objects_server.qm")}), 0);
    service.start(absentDatabase("none"));
    QVERIFY2(service.waitForLog(kStartOk), qPrintable(service.story()));
    QCOMPARE(service.logTexts().first(), QString::fromUtf8("Нет соединений"));
}

void TestStartup::quitSignalEndsWithZeroAndSaysNothing()
{
    QVERIFY2(m_quit.meet(), qPrintable(m_quit.service.story()));
    const QStringList lines = m_quit.service.logTexts();
    m_quit.admin.send(support::commandWithNoData("QuitSignal", 4));
    QVERIFY2(m_quit.admin.nextFrame().isEmpty(), "something was sent");
    QCOMPARE(m_quit.service.exitCode().value_or(-1), 0);
    QCOMPARE(m_quit.service.logTexts(), lines);
}

void TestStartup::quitSignalInABurstEndsWithZero()
{
    QVERIFY2(m_quitInBurst.meet(), qPrintable(m_quitInBurst.service.story()));
    m_quitInBurst.admin.send(burst(50) + support::commandWithNoData("QuitSignal", 4) + burst(50));
    for (int caller = 1; caller <= 50; ++caller)
        QVERIFY(support::isAbout(m_quitInBurst.admin.nextFrame(), caller));
    QCOMPARE(m_quitInBurst.service.exitCode().value_or(-1), 0);
    QCOMPARE(m_quitInBurst.service.logCount(kClosing), 0);
}

void TestStartup::closedAdministrationLinkEndsWithFive()
{
    QVERIFY2(m_closed.meet(), qPrintable(m_closed.service.story()));
    QVERIFY(m_closed.service.isRunning());
    m_closed.admin.close();
    QCOMPARE(m_closed.service.exitCode().value_or(-1), 5);
    QCOMPARE(m_closed.service.logCount(kClosing), 1);
    QCOMPARE(m_closed.service.logTexts().last(), kClosing);
}

void TestStartup::administrationLinkClosedInABurstEndsWithFive()
{
    QVERIFY2(m_closedInBurst.meet(), qPrintable(m_closedInBurst.service.story()));
    m_closedInBurst.admin.send(burst(2000) + support::commandWithNoData("About", 1).left(9));
    m_closedInBurst.admin.close();
    QCOMPARE(m_closedInBurst.service.exitCode().value_or(-1), 5);
    QCOMPARE(m_closedInBurst.service.logCount(kClosing), 1);
}

void TestStartup::twoTimersServeTheSameLinks()
{
    // The second timer's tick follows at once, so the server opens right behind the administration link and not 5 s
    // later.
    QVERIFY2(m_twoTimers.meet(), qPrintable(m_twoTimers.service.story()));
    QVERIFY2(m_twoTimers.service.waitForLog("Start server: "), qPrintable(m_twoTimers.service.story()));
    qint64 linked = 0;
    qint64 opened = 0;
    for (const ServiceProcess::LogLine &line : m_twoTimers.service.log()) {
        if (line.text == "New Out Connnection")
            linked = line.timeMs;
        if (line.text.startsWith("Start server: "))
            opened = line.timeMs;
    }
    QVERIFY2(opened >= linked && opened - linked < 3000, qPrintable(m_twoTimers.service.story()));
    QVERIFY(!m_twoTimers.admin.listener().hasCaller());
}

QTEST_GUILESS_MAIN(TestStartup)
#include "test_startup.moc"

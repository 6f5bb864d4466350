// Who may connect to the service's own server: the mode of its socket file, whatever umask the service was started
// with.

#include "conversation.h"
#include "installation.h"
#include "other_user.h"

#include <QDir>
#include <QFile>

using support::ServiceProcess;
using support::UmaskScope;

namespace {

constexpr mode_t kOpenToAll = 0;
constexpr mode_t kClosedToAll = 077;
constexpr int kOnlyUser = 0600;
constexpr int kUserAndGroup = 0660;

QString complaint(const QString &value)
{
    return QStringLiteral("Error load settings SocketMode: \"%1\" is neither user nor group, user is taken").arg(value);
}

QString pathOfSize(const ServiceProcess &service, qsizetype size)
{
    return service.path("f").leftJustified(size, u'f');
}

/// A service without an administration server opens its own server at its first tick.
struct Lone
{
    ServiceProcess service;

    void start(mode_t umask, const QByteArray &more = {})
    {
        // Strangers may pass the folder, so that the socket's own mode decides.
        QFile::setPermissions(service.path("."),
                              QFile::permissions(service.path(".")) | QFile::ExeGroup | QFile::ExeOther);
        const UmaskScope scope(umask);
        service.start("AdminServerName=\n" + more);
    }
    [[nodiscard]] bool isOpen() const { return service.waitForLog("Start server: "); }
    [[nodiscard]] QStringList complaints() const { return service.logTexts().filter("SocketMode"); }
};

} // namespace

class TestSocketMode : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void onlyTheUserMayConnectByDefault_data();
    void onlyTheUserMayConnectByDefault();
    void groupMayConnectWhereItIsSet_data();
    void groupMayConnectWhereItIsSet();
    void unknownValueIsToldOnceAndMeansUser_data();
    void unknownValueIsToldOnceAndMeansUser();
    void laterFileWithoutTheKeyLeavesTheMode();
    void staleFileIsReplacedAndLosesItsMode();
    void nothingElseIsMadeBesideTheSocket();
    void longestPathStillWorksAndALongerOneIsTold();

private:
    void checkUser(const Lone &lone);
    void checkGroup(const Lone &lone);

    Lone m_open;
    Lone m_closed;
    Lone m_named;
    Lone m_empty;
    Lone m_groupOpen;
    Lone m_groupClosed;
    Lone m_wrong;
    Lone m_list;
    Lone m_capital;
    Lone m_twice;
    Lone m_stale;
    Lone m_longest;
    Lone m_tooLong;
    QString m_longestPath;
};

void TestSocketMode::initTestCase()
{
    m_open.start(kOpenToAll);
    m_closed.start(kClosedToAll);
    m_named.start(kOpenToAll, "SocketMode=user\n");
    m_empty.start(kOpenToAll, "SocketMode=\n");
    m_groupOpen.start(kOpenToAll, "SocketMode=group\n");
    m_groupClosed.start(kClosedToAll, "SocketMode=group\n");
    m_wrong.start(kOpenToAll, "SocketMode=everyone %0 %1\n");
    m_list.start(kOpenToAll, "SocketMode=user,group\n");
    m_capital.start(kOpenToAll, "SocketMode=Group\n");
    m_twice.service.write("first.ini", m_twice.service.settings("AdminServerName=\nSocketMode=group\n"));
    m_twice.service.write("second.ini", m_twice.service.settings("AdminServerName=\n"));
    m_twice.service.startWith({"-settings", "first.ini", "-settings", "second.ini"});
    {
        const UmaskScope scope(kOpenToAll);
        const support::Listener stale(m_stale.service.serverPath());
        QVERIFY(QFile::rename(stale.path(), stale.path() + ".kept"));
    }
    QVERIFY(QFile::rename(m_stale.service.serverPath() + ".kept", m_stale.service.serverPath()));
    QCOMPARE(support::ownFileMode(m_stale.service.serverPath()), 0777);
    m_stale.start(kOpenToAll);
    // A short name in a long folder.
    const QString folder = pathOfSize(m_longest.service, 104);
    QVERIFY(QDir().mkpath(folder));
    m_longestPath = folder + "/s";
    m_longest.start(kOpenToAll, "ServerName=" + m_longestPath.toUtf8() + "\n");
    m_tooLong.start(kOpenToAll, "ServerName=" + pathOfSize(m_tooLong.service, 107).toUtf8() + "\n");
}

void TestSocketMode::checkUser(const Lone &lone)
{
    QVERIFY2(lone.isOpen(), qPrintable(lone.service.story()));
    QCOMPARE(support::ownFileMode(lone.service.serverPath()), kOnlyUser);
    QVERIFY(support::Wire::connectTo(lone.service.serverPath()).isOpen());
    if (!support::mayBecomeStranger())
        return;
    QCOMPARE(support::strangerConnects(lone.service.serverPath()), EACCES);
    QCOMPARE(support::strangerConnects(lone.service.serverPath(), ::getegid()), EACCES);
}

void TestSocketMode::checkGroup(const Lone &lone)
{
    QVERIFY2(lone.isOpen(), qPrintable(lone.service.story()));
    QCOMPARE(support::ownFileMode(lone.service.serverPath()), kUserAndGroup);
    QVERIFY(support::Wire::connectTo(lone.service.serverPath()).isOpen());
    if (!support::mayBecomeStranger())
        return;
    QCOMPARE(support::strangerConnects(lone.service.serverPath()), EACCES);
    QCOMPARE(support::strangerConnects(lone.service.serverPath(), ::getegid()), 0);
}

void TestSocketMode::onlyTheUserMayConnectByDefault_data()
{
    QTest::addColumn<Lone *>("lone");
    QTest::newRow("under an open umask") << &m_open;
    QTest::newRow("under a closed umask") << &m_closed;
    QTest::newRow("user") << &m_named;
    QTest::newRow("empty") << &m_empty;
}

void TestSocketMode::onlyTheUserMayConnectByDefault()
{
    QFETCH(Lone *, lone);
    checkUser(*lone);
    QCOMPARE(lone->complaints(), QStringList());
}

void TestSocketMode::groupMayConnectWhereItIsSet_data()
{
    QTest::addColumn<Lone *>("lone");
    QTest::newRow("under an open umask") << &m_groupOpen;
    QTest::newRow("under a closed umask") << &m_groupClosed;
}

void TestSocketMode::groupMayConnectWhereItIsSet()
{
    QFETCH(Lone *, lone);
    checkGroup(*lone);
    QCOMPARE(lone->complaints(), QStringList());
}

void TestSocketMode::unknownValueIsToldOnceAndMeansUser_data()
{
    QTest::addColumn<Lone *>("lone");
    QTest::addColumn<QString>("value");
    QTest::newRow("another word") << &m_wrong << "everyone %0 %1";
    QTest::newRow("both") << &m_list << "user,group";
    QTest::newRow("in other letters") << &m_capital << "Group";
}

void TestSocketMode::unknownValueIsToldOnceAndMeansUser()
{
    QFETCH(Lone *, lone);
    QFETCH(QString, value);
    checkUser(*lone);
    QCOMPARE(lone->complaints(), QStringList(complaint(value)));
}

void TestSocketMode::laterFileWithoutTheKeyLeavesTheMode()
{
    QVERIFY2(m_twice.isOpen(), qPrintable(m_twice.service.story()));
    QCOMPARE(support::ownFileMode(m_twice.service.serverPath()), kUserAndGroup);
}

void TestSocketMode::staleFileIsReplacedAndLosesItsMode()
{
    checkUser(m_stale);
    QCOMPARE(m_stale.service.logTexts().filter("Start Error"), QStringList());
}

void TestSocketMode::nothingElseIsMadeBesideTheSocket()
{
    QVERIFY2(m_groupOpen.isOpen(), qPrintable(m_groupOpen.service.story()));
    QCOMPARE(QDir(m_groupOpen.service.path(""))
                 .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name),
             QStringList({"own", "service.ini", "service.log", "stderr", "stdout"}));
}

void TestSocketMode::longestPathStillWorksAndALongerOneIsTold()
{
    QVERIFY2(m_longest.isOpen(), qPrintable(m_longest.service.story()));
    QCOMPARE(support::ownFileMode(m_longestPath), kOnlyUser);
    QVERIFY(support::Wire::connectTo(m_longestPath).isOpen());
    QVERIFY2(m_tooLong.service.waitForLog("Start Error: QLocalServer::listen: Name error"),
             qPrintable(m_tooLong.service.story()));
    QVERIFY(m_tooLong.service.isRunning());
}

QTEST_GUILESS_MAIN(TestSocketMode)
#include "test_socket_mode.moc"

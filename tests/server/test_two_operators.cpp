// Two operators at work at once on the administration server's stand-in: answers reach the one who asked, notices both.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

#include <QProcess>

using support::bytes;
using support::emptyAnswer;
using support::i32;
using support::noColour;
using support::noPicture;
using support::numbers;
using support::savedPersonConfig;
using support::savedUser;
using support::text;

namespace {

constexpr int kWatcher = 4;
constexpr int kChanger = 5;

QByteArray tree(int caller, const QList<int> &objects)
{
    QByteArray data = i32(objects.size());
    for (const int object : objects)
        data += i32(object) + bytes("n" + QByteArray::number(object)) + noPicture() + noColour() + noColour();
    return support::answer("Get_objects_tree", data + i32(0) + i32(0) + i32(0), caller);
}

} // namespace

class TestTwoOperators : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void answersReachTheOneWhoAsked();
    void noticeOfASetupChangeReachesBoth();
    void noticeOfAnAccountReachesBoth();
    void noticeOfACardReachesBoth();
    void watcherSeesHisTreeChange();
    void crossedRequestsAreAnsweredToTheirAskers();
    void sameOperatorOnTwoClientsIsAnsweredWhereHeAsked();
    void bothMayChangeAtOnce();
    void changerWhoLeavesIsStillHeard();

private:
    support::Wire attach() const;
    /// Nothing is waiting for `wire` but the answer to an "About" sent now.
    static QString leftover(support::Wire &wire, int caller);

    std::unique_ptr<support::TestDatabase> m_database = support::PgServer::shared().cloneDatabase();
    support::ServiceProcess m_service;
    QProcess m_hub;
    support::Wire m_watcher;
    support::Wire m_changer;
};

void TestTwoOperators::initTestCase()
{
    m_hub.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_hub.start(QStringLiteral(ADMIN_HUB_PATH),
                {"--services", m_service.adminPath(), "--clients", m_service.path("clients")});
    QVERIFY(m_hub.waitForReadyRead(10000));
    m_service.start(m_database->settings());
    m_watcher = attach();
    m_changer = attach();
    QVERIFY(m_watcher.isOpen() && m_changer.isOpen());
    // Until the service has linked itself the hub answers in its place.
    const bool isUp = support::ServiceProcess::waitUntil([this] {
        m_watcher.send(support::commandWithNoData("About", kWatcher));
        return support::isAbout(m_watcher.nextFrame(), kWatcher);
    });
    QVERIFY2(isUp, qPrintable(m_service.story()));
}

void TestTwoOperators::cleanupTestCase()
{
    m_watcher.close();
    m_changer.close();
    m_service.kill();
    m_hub.terminate();
    QVERIFY(m_hub.waitForFinished(10000));
    QCOMPARE(m_hub.exitCode(), 0);
}

void TestTwoOperators::init()
{
    m_database->run("TRUNCATE \"Connections\", \"Objects_property\", \"Person_Setup\", \"Params\", \"Objects\"");
    m_database->run("INSERT INTO \"Connections\" (\"Id\",\"Login\") VALUES (4,'watcher'), (5,'changer'), (7,'third')");
    for (const int object : {17, 18})
        m_database->run(support::givingProperty(object, "name", "n" + QByteArray::number(object)));
    m_database->run("INSERT INTO \"Person_Setup\" VALUES (1,4,17,201), (1,5,18,201)");
    m_database->run("INSERT INTO \"Params\" (\"Id_command\",\"Name\") SELECT i, 'p' FROM generate_series(1, 100) AS i");
}

void TestTwoOperators::cleanup()
{
    QCOMPARE(leftover(m_watcher, kWatcher), QString());
    QCOMPARE(leftover(m_changer, kChanger), QString());
    QVERIFY(m_service.isRunning());
    QCOMPARE(m_hub.state(), QProcess::Running);
}

support::Wire TestTwoOperators::attach() const
{
    return support::Wire::connectTo(m_service.path("clients"));
}

QString TestTwoOperators::leftover(support::Wire &wire, int caller)
{
    wire.send(support::commandWithNoData("About", caller));
    const QByteArray said = wire.nextFrame();
    return support::isAbout(said, caller) ? QString() : support::describe(said);
}

void TestTwoOperators::answersReachTheOneWhoAsked()
{
    m_changer.send(support::command("Get_objects_tree", "", kChanger));
    SAYS(m_changer, tree(kChanger, {18}));
    QVERIFY(m_watcher.isSilent());
    m_watcher.send(support::command("Get_objects_tree", "", kWatcher));
    SAYS(m_watcher, tree(kWatcher, {17}));
    QVERIFY(m_changer.isSilent());
}

void TestTwoOperators::noticeOfASetupChangeReachesBoth()
{
    m_changer.send(
        support::command("Fix_personal_setup_changes", support::setupChange(1, 4, {18}, {}, {201}), kChanger));
    SAYS(m_changer, emptyAnswer("Fix_personal_setup_changes", kChanger));
    SAYS(m_changer, savedPersonConfig());
    SAYS(m_watcher, savedPersonConfig());
    m_changer.send(support::command("Copy_personal_setup", support::setupCopy(1, 4, {7}), kChanger));
    SAYS(m_changer, emptyAnswer("Copy_personal_setup", kChanger));
    SAYS(m_changer, savedPersonConfig());
    SAYS(m_watcher, savedPersonConfig());
}

void TestTwoOperators::noticeOfAnAccountReachesBoth()
{
    const auto change = [this](int id, const QByteArray &request) {
        m_changer.send(support::command("Fix_user", request, kChanger));
        SAYS(m_changer, savedUser(id));
        SAYS(m_changer, emptyAnswer("Fix_user", kChanger));
        SAYS(m_watcher, savedUser(id));
    };
    change(7, support::accountRequest(7, {.login = "renamed"}));
    change(7, i32(-7));
    change(4711, i32(-4711));
    m_watcher.send(support::command("Get_users_list", "", kWatcher));
    SAYS(m_watcher, support::answer("Get_users_list",
                                    i32(2) + support::accountRecord(5, {"changer", {}, {}, {}, {}, 0}) +
                                        support::accountRecord(4, {"watcher", {}, {}, {}, {}, 0}),
                                    kWatcher));
}

void TestTwoOperators::noticeOfACardReachesBoth()
{
    // A change that has no answer: both get the notice, and the next answer is not mistaken for it.
    m_changer.send(support::command("Save_object_card_v2", i32(17) + i32(0), kChanger) +
                   support::command("Get_command_params", i32(4711), kChanger));
    SAYS(m_changer, support::savedCard(17));
    SAYS(m_changer, support::answer("Get_command_params", i32(0), kChanger));
    SAYS(m_watcher, support::savedCard(17));
}

void TestTwoOperators::watcherSeesHisTreeChange()
{
    m_watcher.send(support::command("Get_objects_tree", "", kWatcher));
    SAYS(m_watcher, tree(kWatcher, {17}));
    m_changer.send(
        support::command("Fix_personal_setup_changes", support::setupChange(1, 4, {17, 18}, {}, {201}), kChanger));
    // The notice says: load again.
    SAYS(m_watcher, savedPersonConfig());
    m_watcher.send(support::command("Get_objects_tree", "", kWatcher));
    SAYS(m_watcher, tree(kWatcher, {17, 18}));
    m_changer.send(
        support::command("Fix_personal_setup_changes", support::setupChange(1, 4, {17, 18}, {201}, {}), kChanger));
    SAYS(m_watcher, savedPersonConfig());
    m_watcher.send(support::command("Get_objects_tree", "", kWatcher));
    SAYS(m_watcher, tree(kWatcher, {}));
    for (int i = 0; i < 2; ++i) {
        SAYS(m_changer, emptyAnswer("Fix_personal_setup_changes", kChanger));
        SAYS(m_changer, savedPersonConfig());
    }
    m_changer.send(support::command("Get_objects_tree", "", kChanger));
    SAYS(m_changer, tree(kChanger, {18}));
}

void TestTwoOperators::crossedRequestsAreAnsweredToTheirAskers()
{
    for (int i = 0; i < 200; ++i) {
        m_watcher.send(support::command("Get_objs_by_query_v2", text(QStringLiteral("SELECT %1").arg(i)), kWatcher));
        m_changer.send(
            support::command("Get_objs_by_query_v2", text(QStringLiteral("SELECT %1").arg(1000 + i)), kChanger));
    }
    for (int i = 0; i < 200; ++i) {
        SAYS(m_watcher, support::answer("Get_objs_by_query_v2", numbers({i}), kWatcher));
        SAYS(m_changer, support::answer("Get_objs_by_query_v2", numbers({1000 + i}), kChanger));
    }
}

void TestTwoOperators::sameOperatorOnTwoClientsIsAnsweredWhereHeAsked()
{
    for (int i = 0; i < 100; ++i) {
        support::Wire &asker = i % 2 == 0 ? m_watcher : m_changer;
        support::Wire &other = i % 2 == 0 ? m_changer : m_watcher;
        asker.send(support::command("Get_command_params", i32(1000 + i), kWatcher));
        SAYS(asker, support::answer("Get_command_params", i32(0), kWatcher));
        QVERIFY(other.isSilent());
    }
}

void TestTwoOperators::bothMayChangeAtOnce()
{
    constexpr int rounds = 50;
    for (int i = 1; i <= rounds; ++i) {
        m_watcher.send(
            support::command("Fix_personal_setup_changes", support::setupChange(3, 4, {i}, {}, {1}), kWatcher));
        m_changer.send(
            support::command("Fix_personal_setup_changes", support::setupChange(3, 5, {i}, {}, {1}), kChanger));
    }
    // Each hears all notices and his own answers only, an answer before the notice of that change.
    for (support::Wire *wire : {&m_watcher, &m_changer}) {
        const QByteArray answer = emptyAnswer("Fix_personal_setup_changes", wire == &m_watcher ? kWatcher : kChanger);
        int answers = 0;
        for (int frame = 0; frame < 3 * rounds; ++frame) {
            const QByteArray said = wire->nextFrame();
            QVERIFY2(said == answer || said == savedPersonConfig(), qPrintable(support::describe(said)));
            if (said != answer)
                continue;
            ++answers;
            SAYS(*wire, savedPersonConfig());
            ++frame;
        }
        QCOMPARE(answers, rounds);
    }
    QCOMPARE(m_database->value("SELECT count(*) FROM \"Person_Setup\" WHERE \"Type\" = 3").toInt(), 2 * rounds);
}

void TestTwoOperators::changerWhoLeavesIsStillHeard()
{
    support::Wire visitor = attach();
    QVERIFY(visitor.isOpen());
    QCOMPARE(leftover(visitor, 7), QString());
    visitor.send(support::command("Fix_user", i32(-7), 7));
    QVERIFY(visitor.waitUntilRead());
    visitor.close();
    SAYS(m_watcher, savedUser(7));
    SAYS(m_changer, savedUser(7));
    m_watcher.send(support::command("Get_objs_by_query_v2", text("SELECT 17"), kWatcher));
    SAYS(m_watcher, support::answer("Get_objs_by_query_v2", numbers({17}), kWatcher));
    QCOMPARE(m_database->value("SELECT count(*) FROM \"Connections\" WHERE \"Id\" = 7").toInt(), 0);
}

QTEST_GUILESS_MAIN(TestTwoOperators)
#include "test_two_operators.moc"

// What the operators' commands say while the database is away: a statement that could not even be sent has failed.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::bytes;
using support::emptyAnswer;
using support::i32;
using support::i8;
using support::text;

namespace {

constexpr int kOperator = 4;

QByteArrayList answered(const QByteArray &name, const QByteArray &data)
{
    return {support::answer(name, data, kOperator)};
}

} // namespace

class TestAccessWithoutDatabase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void accountsAreAnnouncedAndRecordedAllTheSame();
    void catalogueIsAnswered();
    void setupCountsMinusOne();
    void setupChangesAreAnnouncedAndRecordedAllTheSame();
    void listsOfTheSearchesAreEmpty();
    void advancedSearchAnswersAnError_data();
    void advancedSearchAnswersAnError();
    void operatorListsCountZero_data();
    void operatorListsCountZero();
    void savingParametersIsAnswered();
    void treesCountAsTheDriverReports_data();
    void treesCountAsTheDriverReports();

private:
    QByteArrayList replies(const QByteArray &name, const QByteArray &request = {})
    {
        return m_site.replies(name, request);
    }

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
};

void TestAccessWithoutDatabase::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    m_site.closeDatabaseToService();
}

void TestAccessWithoutDatabase::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_client.isSilent());
    QVERIFY(m_site.service.isRunning());
}

void TestAccessWithoutDatabase::accountsAreAnnouncedAndRecordedAllTheSame()
{
    const QByteArrayList answer = {emptyAnswer("Fix_user", kOperator)};
    QCOMPARE(replies("Fix_user", support::accountRequest(0, {.login = "u"})),
             QByteArrayList{support::savedUser(0)} + answer);
    QCOMPARE(replies("Fix_user", support::accountRequest(7, {.login = "u"})),
             QByteArrayList{support::savedUser(7)} + answer);
    QCOMPARE(replies("Fix_user", i32(-7)), QByteArrayList{support::savedUser(7)} + answer);
    // Nobody is left to ask for names.
    QCOMPARE(m_site.recordedLines(),
             QByteArrayList({"User '' create new user 'u'", "User '' update user 'u'", "User '' delete user ''"}));
}

void TestAccessWithoutDatabase::catalogueIsAnswered()
{
    const QByteArrayList said = replies("Get_persprop4objects_desc");
    QCOMPARE(said.size(), 1);
    QCOMPARE(said[0].mid(4 + 1 + 2 * (4 + 25) + 4, 8), i32(5) + i32(0));
}

void TestAccessWithoutDatabase::setupCountsMinusOne()
{
    QCOMPARE(replies("Get_personalsetup4objects_X", i32(7)),
             answered("Get_personalsetup4objects_X", i32(-1) + i32(-1) + i32(-1)));
}

void TestAccessWithoutDatabase::setupChangesAreAnnouncedAndRecordedAllTheSame()
{
    QCOMPARE(replies("Fix_personal_setup_changes", support::setupChange(1, 7, {17}, {1}, {2})),
             QByteArrayList({emptyAnswer("Fix_personal_setup_changes", kOperator), support::savedPersonConfig()}));
    QCOMPARE(replies("Copy_personal_setup", support::setupCopy(1, 7, {8})),
             QByteArrayList({emptyAnswer("Copy_personal_setup", kOperator), support::savedPersonConfig()}));
    QCOMPARE(m_site.recordedLines(),
             QByteArrayList({"User '' update personal configuration", "User '' update personal configuration"}));
}

void TestAccessWithoutDatabase::listsOfTheSearchesAreEmpty()
{
    QCOMPARE(replies("Get_objs_by_condition_v2", text("%") + text("name")),
             answered("Get_objs_by_condition_v2", i32(0)));
    QCOMPARE(replies("Get_objs_by_query_v2", text("SELECT 17")), answered("Get_objs_by_query_v2", i32(0)));
}

void TestAccessWithoutDatabase::advancedSearchAnswersAnError_data()
{
    QTest::addColumn<QString>("wanted");
    QTest::newRow("empty") << "";
    QTest::newRow("text") << "v";
}

void TestAccessWithoutDatabase::advancedSearchAnswersAnError()
{
    QFETCH(QString, wanted);
    const QByteArrayList said = replies("Advanced_search", text(wanted));
    QCOMPARE(said.size(), 1);
    // "Failed", and a text behind it.
    const QByteArray start = i8(202) + bytes("Advanced_search") + bytes("Advanced_search");
    QCOMPARE(said[0].mid(4, start.size()), start);
    const qsizetype head = 4 + start.size() + 4;
    QCOMPARE(said[0].mid(head, 1), i8(0));
    const qsizetype letters = said[0].size() - head - 5 - 15;
    QVERIFY2(letters > 0 && said[0].mid(head + 1, 4) == i32(letters), qPrintable(support::describe(said[0])));
}

void TestAccessWithoutDatabase::operatorListsCountZero_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("data");
    QTest::newRow("accounts") << QByteArray("Get_user_list") << QByteArray() << i32(0);
    QTest::newRow("accounts again") << QByteArray("Get_users_list") << QByteArray() << i32(0);
    QTest::newRow("names") << QByteArray("Get_objects") << QByteArray() << i32(0);
    QTest::newRow("allowed") << QByteArray("Get_object_command") << i32(17) + i32(2) << i32(17) + i32(0) + i32(2);
    QTest::newRow("parameters") << QByteArray("Get_command_params") << i32(9) << i32(0);
}

void TestAccessWithoutDatabase::operatorListsCountZero()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, data);
    QCOMPARE(replies(name, request), answered(name, data));
}

void TestAccessWithoutDatabase::savingParametersIsAnswered()
{
    QCOMPARE(replies("Save_params", i32(0) + i32(9) + i32(2) + bytes("a") + bytes("b") + bytes("c") + bytes("d")),
             QByteArrayList{emptyAnswer("Save_params", kOperator)});
}

void TestAccessWithoutDatabase::treesCountAsTheDriverReports_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("own") << QByteArray("Get_objects_tree");
    QTest::newRow("full") << QByteArray("Get_full_objects_tree");
}

void TestAccessWithoutDatabase::treesCountAsTheDriverReports()
{
    QFETCH(QByteArray, name);
    QCOMPARE(replies(name), answered(name, i32(-1).repeated(4)));
}

QTEST_GUILESS_MAIN(TestAccessWithoutDatabase)
#include "test_access_without_database.moc"

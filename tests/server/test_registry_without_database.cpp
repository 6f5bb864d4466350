// What the registry's commands say while the database is away: a statement that could not even be sent has failed.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::commandRecord;
using support::i32;
using support::i8;
using support::numbers;
using support::savedCard;
using support::sensorRecord;
using support::text;

namespace {

constexpr int kOperator = 4;

} // namespace

class TestRegistryWithoutDatabase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void creationRecordsBothLinesWithZero();
    void renamingStillAnnouncesAndRecords();
    void deletionStillRecords();
    void sensorsAreAnsweredWithCountZero();
    void savingSensorsStillAnnounces();
    void settingAndRemovingASensorSaysNothing();
    void commandsAreNotAnswered();
    void savingCommandsSaysNothing();
    void settingAndRemovingACommandSaysNothing();
    void savingTheTreeStillRecords();
    void exampleCataloguesAnswerMinusOne_data();
    void exampleCataloguesAnswerMinusOne();

private:
    QByteArrayList replies(const QByteArray &name, const QByteArray &request) { return m_site.replies(name, request); }

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
};

void TestRegistryWithoutDatabase::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES (17)");
    m_site.closeDatabaseToService();
}

void TestRegistryWithoutDatabase::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_client.isSilent());
    QVERIFY(m_site.service.isRunning());
}

void TestRegistryWithoutDatabase::creationRecordsBothLinesWithZero()
{
    m_admin.send(support::command("Fix_object_v2", i32(0) + support::bytes("a"), kOperator));
    // Nobody is left to ask for the operator's name.
    RECORDS(m_client, "User '' create card with id=0, name=a");
    RECORDS(m_client, "User '' delete card with id=0");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.database->rows("SELECT \"Id\" FROM \"Objects\""), QStringList("17"));
}

void TestRegistryWithoutDatabase::renamingStillAnnouncesAndRecords()
{
    m_admin.send(support::command("Fix_object_v2", i32(17) + support::bytes("a"), kOperator));
    SAYS(m_admin, savedCard(17));
    RECORDS(m_client, "User '' update card with id=17, name=a");
}

void TestRegistryWithoutDatabase::deletionStillRecords()
{
    m_admin.send(support::command("Fix_object_v2", i32(-17), kOperator));
    RECORDS(m_client, "User '' delete card with id=17");
    QCOMPARE(m_site.database->rows("SELECT \"Id\" FROM \"Objects\""), QStringList("17"));
}

void TestRegistryWithoutDatabase::sensorsAreAnsweredWithCountZero()
{
    m_admin.send(support::command("Get_sensors_v2", i32(17), kOperator));
    SAYS(m_admin, support::answer("Get_sensors_v2", i32(17) + i32(0), kOperator));
}

void TestRegistryWithoutDatabase::savingSensorsStillAnnounces()
{
    QCOMPARE(replies("Save_sensors_v2", i32(17) + i32(2) + sensorRecord({"a"}) + sensorRecord({"b"})),
             QByteArrayList{savedCard(17)});
}

void TestRegistryWithoutDatabase::settingAndRemovingASensorSaysNothing()
{
    QCOMPARE(replies("Fix_sensor_multi_objs_v2", i8(1) + numbers({17, 18}) + sensorRecord({"a"})), QByteArrayList());
    QCOMPARE(replies("Fix_sensor_multi_objs_v2", i8(0) + numbers({17, 18}) + text("a")), QByteArrayList());
}

void TestRegistryWithoutDatabase::commandsAreNotAnswered()
{
    QCOMPARE(replies("Get_command_desc_v2", i32(17)), QByteArrayList());
}

void TestRegistryWithoutDatabase::savingCommandsSaysNothing()
{
    QCOMPARE(replies("Save_command_desc_v2", i32(17) + i32(2) + commandRecord({"a"}) + commandRecord({"b"})),
             QByteArrayList());
}

void TestRegistryWithoutDatabase::settingAndRemovingACommandSaysNothing()
{
    QCOMPARE(replies("Fix_cmd_desc_multi_objs_v2", i8(1) + numbers({17, 18}) + commandRecord({"a"})), QByteArrayList());
    QCOMPARE(replies("Fix_cmd_desc_multi_objs_v2", i8(0) + numbers({17, 18}) + text("a")), QByteArrayList());
}

void TestRegistryWithoutDatabase::savingTheTreeStillRecords()
{
    m_admin.send(support::command(
        "Save_objects_tree", i32(1) + i32(5) + i32(0) + support::bytes("g") + i32(1) + i32(5) + i32(17), kOperator));
    RECORDS(m_client, "User '' modify tree");
}

void TestRegistryWithoutDatabase::exampleCataloguesAnswerMinusOne_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"Get_example_objprops_v2", "Get_example_sensors_v2", "Get_example_controls_v2"})
        QTest::newRow(name) << QByteArray(name);
}

void TestRegistryWithoutDatabase::exampleCataloguesAnswerMinusOne()
{
    QFETCH(QByteArray, name);
    QCOMPARE(replies(name, {}), QByteArrayList{support::answer(name, i32(-1), kOperator)});
}

QTEST_GUILESS_MAIN(TestRegistryWithoutDatabase)
#include "test_registry_without_database.moc"

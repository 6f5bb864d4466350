// The tables that are written anew whole at every save do not grow by it: autovacuum keeps up as the schema leaves it,
// and the service's session, idle between commands, holds nothing that it must not clear away.

#include "conversation.h"
#include "operator_bytes.h"
#include "pg_server.h"
#include "registry_bytes.h"
#include "service_process.h"
#include "table_lock.h"

using support::bytes;
using support::i32;
using support::PgServer;
using support::ServiceProcess;

namespace {

constexpr int kOperator = 4;
constexpr int kObjects = 200;
constexpr int kGroups = 50;
constexpr int kSavesARound = 20;
constexpr int kRounds = 4;
constexpr int kMostGrowth = 2; ///< since the first round; without vacuums it were as many times as there are rounds

QByteArray tree()
{
    QByteArray groups = i32(kGroups);
    for (int group = 1; group <= kGroups; ++group)
        groups += i32(group) + i32(group - 1) + bytes("Group");
    QByteArray placements = i32(kObjects);
    for (int object = 1; object <= kObjects; ++object)
        placements += i32(1 + object % kGroups) + i32(object);
    return groups + placements;
}

QByteArray setup()
{
    QList<int> objects;
    for (int object = 1; object <= kObjects; ++object)
        objects.append(object);
    return support::setupChange(1, kOperator, objects, {201}, {202, 203});
}

} // namespace

class TestRewrittenTables : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void stayAsLargeAsTheyWere_data();
    void stayAsLargeAsTheyWere();

private:
    void say(const QByteArray &command, const QByteArray &request);
    [[nodiscard]] bool isCleared(const QString &table, int vacuums);
    [[nodiscard]] qint64 size(const QString &table);
    [[nodiscard]] int vacuums(const QString &table);

    // Looked for every second, not every minute.
    std::unique_ptr<PgServer> m_server = PgServer::own({"autovacuum_naptime=1s"});
    std::unique_ptr<support::TestDatabase> m_database = m_server->cloneDatabase();
    ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
};

void TestRewrittenTables::initTestCase()
{
    m_service.start(m_database->settings());
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
}

/// Sends a command and takes all that is said about it.
void TestRewrittenTables::say(const QByteArray &command, const QByteArray &request)
{
    m_admin.send(support::command(command, request, kOperator));
    QByteArray said = m_admin.frameAfterAbout();
    while (!said.isEmpty() && !support::isAbout(said, m_admin.lastCaller()))
        said = m_admin.nextFrame();
    QVERIFY2(!said.isEmpty(), qPrintable(m_service.story()));
}

qint64 TestRewrittenTables::size(const QString &table)
{
    return m_database->value("SELECT pg_total_relation_size('\"" + table + "\"')").toLongLong();
}

int TestRewrittenTables::vacuums(const QString &table)
{
    return m_database->value("SELECT autovacuum_count FROM pg_stat_user_tables WHERE relname = '" + table + "'")
        .toInt();
}

/// Another vacuum than the first so many has been there, and no dead row is left. The service's process of the server
/// counts what it has changed when it is asked for something.
bool TestRewrittenTables::isCleared(const QString &table, int vacuums)
{
    say("Get_user_list", {});
    return this->vacuums(table) > vacuums &&
           m_database->value("SELECT n_dead_tup FROM pg_stat_user_tables WHERE relname = '" + table + "'") == 0;
}

void TestRewrittenTables::stayAsLargeAsTheyWere_data()
{
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QStringList>("tables");
    QTest::newRow("tree") << QByteArray("Save_objects_tree") << tree()
                          << QStringList{"Groups", "Groups_groups", "Groups_objects"};
    QTest::newRow("setup") << QByteArray("Fix_personal_setup_changes") << setup() << QStringList{"Person_Setup"};
}

void TestRewrittenTables::stayAsLargeAsTheyWere()
{
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, request);
    QFETCH(QStringList, tables);
    QList<qint64> first;
    for (int round = 0; round < kRounds; ++round) {
        QList<int> before;
        for (const QString &table : tables)
            before.append(vacuums(table));
        {
            // No vacuum comes between the saves of a round, so each round leaves as much behind.
            const support::TableLock lock(*m_database, '"' + tables.join("\", \"") + '"', "SHARE UPDATE EXCLUSIVE");
            for (int save = 0; save < kSavesARound; ++save)
                say(command, request);
        }
        for (qsizetype i = 0; i < tables.size(); ++i) {
            const bool isDone = ServiceProcess::waitUntil([&] { return isCleared(tables[i], before[i]); });
            QVERIFY2(isDone, qPrintable("nothing clears " + tables[i]));
            if (round == 0)
                first.append(size(tables[i]));
        }
    }
    for (qsizetype i = 0; i < tables.size(); ++i) {
        QVERIFY2(size(tables[i]) <= kMostGrowth * first[i],
                 qPrintable(QStringLiteral("%1: %2 bytes instead of %3")
                                .arg(tables[i], QString::number(size(tables[i])), QString::number(first[i]))));
    }
}

QTEST_GUILESS_MAIN(TestRewrittenTables)
#include "test_rewritten_tables.moc"

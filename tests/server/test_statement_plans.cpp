// How the database carries out every statement of the service in a large registry: what asks for one object, operator
// or template must find it by an index, and must not read a whole table.

#include "access/access_commands.h"
#include "conversation.h"
#include "pg_server.h"
#include "plan_log.h"
#include "plan_trials.h"
#include "registry/registry_commands.h"
#include "service_process.h"
#include "templates/template_commands.h"

#include <QFile>
#include <QSet>

using support::PgServer;
using support::PlanLog;
using support::StatementPlan;
using support::TableRead;

namespace {

/// Pages of table and index that may be read for each object or operator of a command, and for each look-up of a read:
/// an index is three pages high, and rows that are looked for together may lie in as many pages.
constexpr int kPagesPerSubject = 20;
constexpr int kPagesPerLookUp = 5;

/// Rows of a table that may be read for a command: more than any object, operator or template has, and a small part of
/// the tables that hold those of all. Where a command names many, a few for each besides.
constexpr int kRowsOfOne = 2000;
constexpr int kRowsPerSubject = 20;

constexpr int kTold = 600; ///< characters of a statement that are told

QStringList serverSettings()
{
    // No plan shall depend on when autovacuum has last counted a table.
    return PlanLog::serverSettings() +
           QStringList{"autovacuum=off", "shared_buffers=256MB", "maintenance_work_mem=128MB", "max_wal_size=4GB"};
}

bool runsStatements(const PlanTrial &trial)
{
    return trial.command != "About" && trial.command != "Get_persprop4objects_desc";
}

/// The place of what allows the read in wholeReads(), -1 where nothing does.
qsizetype allowance(const PlanTrial &trial, const StatementPlan &plan, const TableRead &read)
{
    static const QList<WholeRead> all = wholeReads();
    for (qsizetype i = 0; i < all.size(); ++i) {
        if (trial.command == all[i].command && read.table == QLatin1String(all[i].table) &&
            plan.statement.contains(QLatin1String(all[i].words)))
            return i;
    }
    return -1;
}

} // namespace

class TestStatementPlans : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCommandIsTried();
    void findsByAnIndex_data();
    void findsByAnIndex();
    void everyWholeReadIsSeen();
    void cleanupTestCase();

private:
    void fill();
    void beginAnew(const QString &planMode);
    void ask(const PlanTrial &trial, QList<StatementPlan> &plans);
    void judge(const PlanTrial &trial, const QList<StatementPlan> &plans);

    std::unique_ptr<PgServer> m_server;
    std::unique_ptr<support::TestDatabase> m_filled; ///< nobody changes it
    std::unique_ptr<support::TestDatabase> m_database;
    std::unique_ptr<PlanLog> m_plans;
    support::ServiceProcess m_service;
    support::AdminPeer m_admin{m_service.adminPath()};
    QSet<qsizetype> m_seenWhole; ///< places in wholeReads()
    int m_faults = 0;
};

void TestStatementPlans::initTestCase()
{
    m_server = PgServer::own(serverSettings());
    m_filled = m_server->cloneDatabase();
    m_database = m_server->cloneDatabase();
    m_plans = std::make_unique<PlanLog>(*m_server, *m_database);
    m_service.start(m_database->settings() + "Log=2\n"); // a line for each statement that fails
    fill();
    QVERIFY2(m_admin.attend(), qPrintable(m_service.story()));
    SAYS(m_admin, support::greeting(m_service.serverPath().toUtf8()));
    // The last line of its log that has nothing to do with statements.
    QVERIFY2(m_service.waitForLog("Start server"), qPrintable(m_service.story()));
}

void TestStatementPlans::cleanupTestCase()
{
    m_database.reset();
    m_filled.reset();
}

void TestStatementPlans::fill()
{
    QFile registry(QStringLiteral(LARGE_REGISTRY_PATH));
    QVERIFY(registry.open(QIODevice::ReadOnly));
    m_filled->run(QString::fromUtf8(registry.readAll()));
    m_filled->run("VACUUM ANALYZE");
    m_filled->disconnect();
}

/// The service gets a new session on the registry as it was filled, in which the server plans as `planMode` says.
void TestStatementPlans::beginAnew(const QString &planMode)
{
    m_database->disconnect();
    m_server->administer("DROP DATABASE " + m_database->name() + " WITH (FORCE)");
    m_server->administer("CREATE DATABASE " + m_database->name() + " TEMPLATE " + m_filled->name());
    // A copy has not got what the schema sets for its database.
    const QStringList settings =
        m_database->rows("SELECT unnest(setconfig) FROM pg_db_role_setting JOIN pg_database d ON d.oid = setdatabase "
                         "WHERE datname = 'objects_template'");
    QVERIFY(settings.contains("random_page_cost=1.1"));
    for (const QString &setting : settings)
        m_server->administer("ALTER DATABASE " + m_database->name() + " SET " + setting);
    m_server->administer("ALTER ROLE objects_service SET plan_cache_mode = " + planMode);
}

void TestStatementPlans::everyCommandIsTried()
{
    QSet<QByteArray> served;
    for (const auto table : {operators::operatorCommands(), registry::registryCommands(), operators::accessCommands(),
                             templates::templateCommands()}) {
        for (const registry::CommandRow &row : table)
            served.insert(row.name);
    }
    QSet<QByteArray> tried{"QuitSignal"}; // runs no statement and ends the service
    for (const PlanTrial &trial : planTrials())
        tried.insert(trial.command);
    QCOMPARE(tried, served);
    QCOMPARE(served.size(), 43);
}

void TestStatementPlans::ask(const PlanTrial &trial, QList<StatementPlan> &plans)
{
    m_admin.send(support::command(trial.command, trial.request, kAskingOperator));
    QByteArray said = m_admin.frameAfterAbout();
    while (!said.isEmpty() && !support::isAbout(said, m_admin.lastCaller()))
        said = m_admin.nextFrame();
    QVERIFY2(!said.isEmpty(), qPrintable(m_service.story()));
    const auto taken = m_plans->take();
    QVERIFY2(taken, "the database server does not log its plans");
    QCOMPARE(taken->isEmpty(), !runsStatements(trial));
    plans = *taken;
}

void TestStatementPlans::judge(const PlanTrial &trial, const QList<StatementPlan> &plans)
{
    for (const StatementPlan &plan : plans) {
        for (const TableRead &read : plan.reads) {
            const int mostRows = kRowsOfOne + kRowsPerSubject * trial.subjects;
            const int mostPages = kPagesPerSubject * trial.subjects + kPagesPerLookUp * read.lookUps;
            if (!read.isWhole && read.pages <= mostPages && read.rows <= mostRows)
                continue;
            const qsizetype allowed = allowance(trial, plan, read);
            if (allowed >= 0) {
                m_seenWhole.insert(allowed);
                continue;
            }
            ++m_faults;
            qWarning().noquote() << trial.command << trial.way << "reads" << read.told() << "in"
                                 << plan.statement.left(kTold);
        }
    }
}

void TestStatementPlans::findsByAnIndex_data()
{
    QTest::addColumn<QString>("planMode");
    QTest::addColumn<QString>("value"); ///< how a plan names the value of the first placeholder
    QTest::newRow("planned for its values") << "force_custom_plan"
                                            << "50000";
    QTest::newRow("planned for any values") << "force_generic_plan"
                                            << "$1";
}

void TestStatementPlans::findsByAnIndex()
{
    QFETCH(QString, planMode);
    QFETCH(QString, value);
    beginAnew(planMode);
    m_faults = 0;
    QList<StatementPlan> plans;
    ask({"Get_users_list", "", {}}, plans); // connects
    const qsizetype lines = m_service.log().size();
    for (const PlanTrial &trial : planTrials()) {
        ask(trial, plans);
        if (QTest::currentTestFailed())
            return;
        if (trial.command == "Get_object_card_v2")
            QVERIFY2(plans.last().reads.value(0).condition.contains(value), qPrintable(plans.last().statement));
        judge(trial, plans);
    }
    QCOMPARE(m_faults, 0);
    // The plan of a statement that fails is not known.
    QVERIFY2(m_service.log().size() == lines, qPrintable(m_service.story()));
}

void TestStatementPlans::everyWholeReadIsSeen()
{
    const QList<WholeRead> all = wholeReads();
    for (qsizetype i = 0; i < all.size(); ++i)
        QVERIFY2(m_seenWhole.contains(i), all[i].command);
}

QTEST_GUILESS_MAIN(TestStatementPlans)
#include "test_statement_plans.moc"

// Statements that are sent before they are asked for: each runs once, where it was sent, and concerns nobody else.

#include "bytes.h"
#include "database/connection.h"
#include "pg_server.h"
#include "registry/command_call.h"
#include "registry/dispatcher.h"

#include <QTest>

using database::Connection;
using database::CopiedRow;
using database::Statement;
using database::Value;
using namespace support;

namespace {

/// Tells how many of its kind have run.
const Statement kNext{"select nextval('runs')", {}};

const Statement kOther{"select 7", {}};

/// What the commands below found when they were handled.
QStringList found;

QList<Statement> readsNext(registry::RequestReader &, int)
{
    return {kNext};
}

QList<Statement> readsTwice(registry::RequestReader &, int)
{
    return {kNext, kNext};
}

void handleNext(registry::CommandCall &call)
{
    const bool isAhead = call.db.isAhead();
    const auto rows = call.db.query(kNext);
    found += QStringLiteral("%1%2").arg(QLatin1String(isAhead ? "ahead " : ""), QString::number(rows.integer(0, 0)));
}

void handleTwice(registry::CommandCall &call)
{
    handleNext(call);
    handleNext(call);
}

constexpr registry::CommandRow kCommands[] = {
    {"Read", handleNext, registry::Reply::None, readsNext},
    {"Read twice", handleTwice, registry::Reply::None, readsTwice},
    {"Change", handleNext, registry::Reply::None},
};

class Nobody : public registry::Announcer
{
    void sendAction(const QByteArray &, const QByteArray &, const QByteArray &, const QColor &, int) override {}
    void sendAnswer(const QByteArray &) override {}
    void writeToLog(const QByteArray &, quint8) override {}
    void stop(int) override {}
};

} // namespace

class TestStatementsAhead : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestDatabase> m_database;
    Connection m_connection;
    QStringList m_failures;

    int next() { return m_connection.query(kNext).integer(0, 0); }

    /// As often as the sequence has been asked, this time included.
    int runs() { return m_database->value("select nextval('runs')").toInt(); }

private slots:
    void init()
    {
        m_database = PgServer::shared().cloneDatabase();
        m_database->run("create sequence runs; grant all on sequence runs to public");
        PgServer::shared().addConnection("tested", m_database->name());
        m_connection = Connection();
        m_connection.setName("tested");
        m_connection.onFailure([this](const QSqlError &error) { m_failures.append(error.databaseText()); });
        m_connection.beginCommand();
        // A text that comes for the first time is waited for.
        QCOMPARE(m_connection.query(kOther).integer(0, 0), 7);
        QCOMPARE(next(), 1);
        m_failures.clear();
        found.clear();
    }

    void cleanup()
    {
        m_connection = Connection();
        QSqlDatabase::removeDatabase("tested");
        m_database.reset();
    }

    void eachRunsOnceInTheOrderOfSending()
    {
        for (int i = 0; i < 20; ++i)
            QVERIFY(m_connection.sendAhead(kNext));
        for (int i = 2; i <= 21; ++i) {
            m_connection.beginCommand();
            QVERIFY(m_connection.isAhead());
            QCOMPARE(next(), i);
            m_connection.settle();
        }
        QVERIFY(!m_connection.isAhead());
        QCOMPARE(runs(), 22);
    }

    void valuesTellStatementsApart()
    {
        const auto doubled = [](int number) { return Statement{"select 2 * ?::int", {Value::integer(number)}}; };
        QCOMPARE(m_connection.query(doubled(1)).integer(0, 0), 2);
        QVERIFY(m_connection.sendAhead(doubled(10)));
        QVERIFY(m_connection.sendAhead(doubled(11)));
        QCOMPARE(m_connection.query(doubled(10)).integer(0, 0), 20);
        QCOMPARE(m_connection.query(doubled(12)).integer(0, 0), 24);
        QVERIFY(!m_connection.isAhead());
    }

    void anyOtherStatementMakesThemUnasked_data()
    {
        QTest::addColumn<int>("way");
        int way = 0;
        for (const char *name : {"query", "post", "queryOnce", "script", "foreignScript", "forEachRow"})
            QTest::newRow(name) << way++;
    }

    void anyOtherStatementMakesThemUnasked()
    {
        QFETCH(int, way);
        QVERIFY(m_connection.sendAhead(kNext));
        QVERIFY(m_connection.sendAhead(kNext));
        int seen = 7;
        switch (way) {
        case 0:
            seen = m_connection.query(kOther).integer(0, 0);
            break;
        case 1:
            m_connection.post(kOther.text, {});
            break;
        case 2:
            seen = m_connection.queryOnce("select 7").integer(0, 0);
            break;
        case 3:
            seen = m_connection.script("select 7").integer(0, 0);
            break;
        case 4:
            seen = m_connection.foreignScript("select 7").integer(0, 0);
            break;
        default:
            QVERIFY(m_connection.forEachRow("select 7", [&](const CopiedRow &row) { seen = row.integer(0); }));
        }
        QCOMPARE(seen, 7);
        QVERIFY(!m_connection.isAhead());
        QCOMPARE(next(), 4);
        QCOMPARE(m_failures, QStringList());
    }

    void whatIsForgottenRunsAnew()
    {
        QVERIFY(m_connection.sendAhead(kNext));
        QVERIFY(m_connection.sendAhead(kNext));
        QCOMPARE(next(), 2);
        m_connection.forgetAhead();
        QCOMPARE(next(), 4);
        QCOMPARE(m_failures, QStringList());
    }

    void whatWasPostedIsDoneBefore()
    {
        m_connection.post("select setval('runs', 100)", {});
        QVERIFY(m_connection.sendAhead(kNext));
        QCOMPARE(next(), 101);
    }

    void onlyTheFirstOfANewTextIsSent()
    {
        const Statement fresh{"select 8", {}};
        QVERIFY(m_connection.sendAhead(fresh));
        QVERIFY(!m_connection.sendAhead(kNext));
        QCOMPARE(m_connection.query(fresh).integer(0, 0), 8);
        QVERIFY(m_connection.sendAhead(fresh));
        QVERIFY(m_connection.sendAhead(kNext));
        QCOMPARE(m_connection.query(fresh).integer(0, 0), 8);
        QCOMPARE(next(), 2);
    }

    void noMoreAreSentThanTheQueueHolds()
    {
        int sent = 0;
        while (sent < 1000 && m_connection.sendAhead(kNext))
            ++sent;
        QCOMPARE(sent, int(database::StatementQueue::kMost));
        for (int i = 0; i < sent; ++i)
            QCOMPARE(next(), i + 2);
        QCOMPARE(m_failures, QStringList());
    }

    void aFailureIsToldWhenItIsAskedFor()
    {
        const Statement failing{"select 1 / (? - 1)", {Value::integer(1)}};
        QVERIFY(!m_connection.query(failing).ok());
        m_failures.clear();
        QVERIFY(m_connection.sendAhead(failing));
        QVERIFY(m_connection.sendAhead(kNext));
        QCOMPARE(m_failures, QStringList());
        QVERIFY(!m_connection.query(failing).ok());
        QCOMPARE(m_failures.size(), 1);
        QCOMPARE(next(), 2);
        QVERIFY(m_connection.sendAhead(failing));
        QCOMPARE(m_connection.query(kOther).integer(0, 0), 7);
        QCOMPARE(m_failures.size(), 1);
    }

    void anImpossibleTextIsNotSent()
    {
        const Statement impossible{"select ?", {Value::text(QString(QChar(0)))}};
        QVERIFY(!m_connection.sendAhead(impossible));
        QVERIFY(!m_connection.query(impossible).ok());
        QCOMPARE(m_failures.size(), 1);
        QCOMPARE(next(), 2);
    }

    void aTextThatTheSessionHasLostIsPreparedAgain()
    {
        QVERIFY(m_connection.queryOnce("deallocate all").ok());
        QVERIFY(m_connection.sendAhead(kNext));
        QVERIFY(m_connection.sendAhead(kNext));
        QCOMPARE(next(), 2);
        QCOMPARE(next(), 3);
        QCOMPARE(m_failures, QStringList());
        QCOMPARE(runs(), 4);
    }

    void aSessionThatEndsIsMetByOneOfThem()
    {
        int lost = 0;
        m_connection.onLost([&] { ++lost; });
        QVERIFY(m_connection.sendAhead(kOther));
        QVERIFY(m_connection.sendAhead(kOther));
        m_database->endSessions("objects");
        // The server may have answered before it went.
        for (int i = 0; i < 3; ++i) {
            m_connection.beginCommand();
            (void)m_connection.query(kOther);
        }
        QVERIFY2(m_failures.size() <= 1, qPrintable(m_failures.join(u'\n')));
        m_connection.beginCommand();
        QCOMPARE(m_connection.query(kOther).integer(0, 0), 7);
        QCOMPARE(next(), 2);
        QCOMPARE(lost, 1);
    }

    void aSessionThatEndsWithUnaskedOnesIsReplaced()
    {
        QVERIFY(m_connection.sendAhead(kOther));
        QVERIFY(m_connection.sendAhead(kOther));
        m_database->endSessions("objects");
        m_connection.beginCommand();
        QCOMPARE(next(), 2);
        QCOMPARE(m_failures, QStringList());
    }

    void goWithASessionThatIsNotReplaced()
    {
        const auto end = [](int process) {
            return Statement{"select pg_terminate_backend(?)", {Value::integer(process)}};
        };
        const int process = m_connection.query("select pg_backend_pid()").integer(0, 0);
        QVERIFY(m_connection.query(end(0)).ok());
        QVERIFY(m_connection.sendAhead(end(process)));
        QVERIFY(m_connection.sendAhead(kNext));
        PgServer::shared().administer("alter database " + m_database->name() + " allow_connections false");
        QVERIFY(!m_connection.query(end(process)).ok());
        m_connection.beginCommand();
        QVERIFY(!m_connection.ready());
        QVERIFY(!m_connection.isAhead());
        PgServer::shared().administer("alter database " + m_database->name() + " allow_connections true");
        m_connection.beginCommand();
        QCOMPARE(next(), 2);
    }

    void nothingIsSentWithoutASession()
    {
        m_connection.setName("nobody");
        m_connection.beginCommand();
        QVERIFY(!m_connection.sendAhead(kNext));
        QVERIFY(!m_connection.isAhead());
        QCOMPARE(m_failures, QStringList());
    }

    void theLimitHoldsForEach()
    {
        const Statement slow{"select pg_sleep(?)", {Value::integer(0)}};
        const Statement tooSlow{"select pg_sleep(?)", {Value::integer(600)}};
        m_connection.setStatementTimeout(std::chrono::milliseconds(2000));
        m_connection.beginCommand();
        QVERIFY(m_connection.query(slow).ok());
        QVERIFY(m_connection.query(kOther).ok());
        QVERIFY(m_connection.sendAhead(tooSlow));
        QVERIFY(m_connection.sendAhead(kOther));
        QVERIFY(!m_connection.query(tooSlow).ok());
        QCOMPARE(m_connection.query(kOther).integer(0, 0), 7);
        QCOMPARE(m_failures.size(), 1);
    }

    void readsThatArriveTogetherAreSentTogether_data()
    {
        QTest::addColumn<QByteArrayList>("commands");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char *name, const QByteArrayList &commands, const QStringList &expected) {
            QTest::newRow(name) << commands << expected;
        };
        row("one alone", {"Read"}, {"2"});
        row("one alone with two statements", {"Read twice"}, {"2", "3"});
        row("two statements and one", {"Read twice", "Read"}, {"ahead 2", "ahead 3", "ahead 4"});
        row("three", {"Read", "Read", "Read"}, {"ahead 2", "ahead 3", "ahead 4"});
        row("nothing over a change", {"Read", "Change", "Read", "Read"}, {"2", "3", "ahead 4", "ahead 5"});
        row("a change first", {"Change", "Read", "Read"}, {"2", "ahead 3", "ahead 4"});
        row("nothing over an unknown name", {"Read", "Unknown", "Read"}, {"2", "3"});
    }

    void readsThatArriveTogetherAreSentTogether()
    {
        QFETCH(QByteArrayList, commands);
        QFETCH(QStringList, expected);
        Nobody nobody;
        registry::Dispatcher dispatcher({kCommands}, m_connection, nobody);
        std::vector<bus::Frame> frames;
        for (const QByteArray &command : commands)
            frames.push_back(bus::Command{command, {}, 1});
        for (std::size_t i = 0; i < frames.size(); ++i)
            dispatcher.dispatch(std::get<bus::Command>(frames[i]).name, {}, 1, std::span(frames).subspan(i + 1));
        QCOMPARE(found, expected);
        QCOMPARE(runs(), int(expected.size()) + 2);
    }

    void connectsOnceForACommand()
    {
        int waits = 0;
        m_connection.onWait([&] { ++waits; });
        PgServer::shared().administer("alter database " + m_database->name() + " allow_connections false");
        m_database->endSessions("objects");
        Nobody nobody;
        registry::Dispatcher dispatcher({kCommands}, m_connection, nobody);
        const std::vector<bus::Frame> following{bus::Command{"Read", {}, 1}};
        dispatcher.dispatch("Read", {}, 1, following);
        PgServer::shared().administer("alter database " + m_database->name() + " allow_connections true");
        QCOMPARE(waits, 1);
    }

    void aResetFindsNothingAhead()
    {
        const int process = m_connection.query("select pg_backend_pid()").integer(0, 0);
        QVERIFY(m_connection.sendAhead(kNext));
        m_connection.resetSession();
        QVERIFY(!m_connection.isAhead());
        QCOMPARE(m_connection.query("select pg_backend_pid()").integer(0, 0), process);
    }

    void nothingIsSentOverAnotherFrame()
    {
        Nobody nobody;
        registry::Dispatcher dispatcher({kCommands}, m_connection, nobody);
        const std::vector<bus::Frame> following{bus::Data{1, "x"}, bus::Command{"Read", {}, 1}};
        dispatcher.dispatch("Read", {}, 1, following);
        QCOMPARE(found, QStringList({"2"}));
        QVERIFY(!m_connection.isAhead());
    }
};

QTEST_GUILESS_MAIN(TestStatementsAhead)
#include "test_statements_ahead.moc"

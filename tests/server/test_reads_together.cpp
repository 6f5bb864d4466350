// Commands that only read and arrive together: their answers are those that each would have had alone, in their order,
// whatever stands between them.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

using support::command;
using support::i32;

namespace {

constexpr int kOperator = 4;

const QString kRegistry =
    R"(INSERT INTO "Objects_property"("Id", "Id_objects", "Name", "Description", "Type", "Value", "Visible")
           SELECT i, i % 7, 'p' || i, 'd', 10, convert_to(repeat('v', i), 'UTF8'), true FROM generate_series(1, 40) i;
       INSERT INTO "Sensors"("Id_objects", "Name", "Type") SELECT i % 7, 's' || i, i FROM generate_series(1, 30) i;
       INSERT INTO "Commands"("Id", "Id_object", "Name", "Operation", "Description", "ExecBy")
           SELECT i, i % 7, 'c' || i, i % 3, 'd', 'by' FROM generate_series(1, 30) i;
       INSERT INTO "Params"("Id_command", "Name", "Description", "Value", "Type")
           SELECT i % 30 + 1, 'n' || i, 'd', 'v', 1 FROM generate_series(1, 50) i;
       INSERT INTO "Person_Setup"("Type", "Id_connect", "Id_object", "Id_PersProp")
           SELECT 1, 4, i, 200 + k FROM generate_series(0, 6) i, generate_series(0, 2) k)";

QByteArray ask(const char *name, const QByteArray &request)
{
    return command(name, request, kOperator);
}

QByteArray askCard(int object)
{
    return ask("Get_object_card_v2", i32(object));
}

QByteArray askSensors(int object)
{
    return ask("Get_sensors_v2", i32(object));
}

QByteArray changeField(int object, const QByteArray &value)
{
    return ask("Update_object_card_field",
               i32(object) + i32(1) + i32(0) + support::cardRecord({-1, "p1", "d", 10, value, 't'}));
}

/// Every way to ask for one object.
QByteArrayList questions(int object)
{
    return {askCard(object),
            askSensors(object),
            ask("Get_command_desc_v2", i32(object)),
            ask("Get_object_command", i32(object) + i32(object % 3)),
            ask("Get_command_params", i32(object + 1)),
            askCard(object + 1)};
}

} // namespace

class TestReadsTogether : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void areAnsweredAsOneByOne_data();
    void areAnsweredAsOneByOne();
    void findWhatWasChangedBeforeThem();
    void aFailureIsNobodyElses();
    void aStatementNobodyAsksForFailsUnseen();
    void areAnsweredOnANewSession();
    void aSessionThatIsLostCostsOneAnswer();

private:
    [[nodiscard]] QByteArray answerTo(const QByteArray &question);
    /// Every question about that many objects, and the answers that each has alone.
    [[nodiscard]] std::pair<QByteArray, QByteArrayList> askedAlone(int objects);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
};

void TestReadsTogether::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestReadsTogether::init()
{
    m_site.beginFunction();
    m_site.database->run(kRegistry);
    // Every statement is prepared from here on.
    for (const QByteArray &question : questions(1))
        QVERIFY(!answerTo(question).isEmpty());
}

QByteArray TestReadsTogether::answerTo(const QByteArray &question)
{
    m_admin.send(question);
    return m_admin.nextFrame();
}

std::pair<QByteArray, QByteArrayList> TestReadsTogether::askedAlone(int objects)
{
    QByteArray all;
    QByteArrayList answers;
    for (int object = 0; object < objects; ++object) {
        for (const QByteArray &question : questions(object)) {
            answers.append(answerTo(question));
            all += question;
        }
    }
    return {all, answers};
}

void TestReadsTogether::areAnsweredAsOneByOne_data()
{
    QTest::addColumn<int>("times");
    QTest::newRow("once") << 1;
    QTest::newRow("more than are looked at in advance") << 5;
}

void TestReadsTogether::areAnsweredAsOneByOne()
{
    QFETCH(int, times);
    const auto [all, alone] = askedAlone(7);
    m_admin.send(all.repeated(times));
    for (int i = 0; i < times; ++i) {
        for (const QByteArray &answer : alone)
            SAYS(m_admin, answer);
    }
    QCOMPARE(m_site.leftover(0), QString());
}

void TestReadsTogether::findWhatWasChangedBeforeThem()
{
    const QByteArray sensors = answerTo(askSensors(1));
    QByteArray all;
    for (int i = 0; i < 20; ++i)
        all += changeField(1, QByteArray::number(i)) + askCard(1) + askSensors(1) + askCard(1);
    m_admin.send(all);
    for (int i = 0; i < 20; ++i) {
        SAYS(m_admin, support::savedCard(1));
        const QByteArray card = m_admin.nextFrame();
        QVERIFY2(card.contains(support::bytes(QByteArray::number(i))), qPrintable(support::describe(card)));
        SAYS(m_admin, sensors);
        SAYS(m_admin, card);
    }
    (void)m_site.recordedLines();
    QCOMPARE(m_site.leftover(0), QString());
}

void TestReadsTogether::aFailureIsNobodyElses()
{
    const QByteArray card = answerTo(askCard(1));
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Sensors\"");
    m_admin.send(askCard(1) + askSensors(1) + askCard(1) + askSensors(2) + askCard(1));
    SAYS(m_admin, card);
    SAYS(m_admin, support::answer("Get_sensors_v2", i32(1) + i32(0), kOperator));
    SAYS(m_admin, card);
    SAYS(m_admin, support::answer("Get_sensors_v2", i32(2) + i32(0), kOperator));
    SAYS(m_admin, card);
    QCOMPARE(m_site.leftover(2), QString());
}

/// The commands of an object are counted first; where that fails they are not read.
void TestReadsTogether::aStatementNobodyAsksForFailsUnseen()
{
    const QByteArray card = answerTo(askCard(1));
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Commands\"");
    m_admin.send(ask("Get_command_desc_v2", i32(1)) + askCard(1) + askCard(1));
    SAYS(m_admin, card);
    SAYS(m_admin, card);
    QCOMPARE(m_site.leftover(1), QString());
}

void TestReadsTogether::areAnsweredOnANewSession()
{
    const auto [all, alone] = askedAlone(5);
    m_site.database->endSessions();
    m_admin.send(all);
    for (const QByteArray &answer : alone)
        SAYS(m_admin, answer);
    QCOMPARE(m_site.leftover(1), QString()); // the line that tells of the lost session
}

void TestReadsTogether::aSessionThatIsLostCostsOneAnswer()
{
    const QByteArray card = answerTo(askCard(1));
    support::TableLock lock(*m_site.database, "\"Sensors\"", "ACCESS EXCLUSIVE");
    m_admin.send(askCard(1) + askSensors(1) + askCard(1) + askCard(1));
    SAYS(m_admin, card);
    QVERIFY(lock.isWaitedFor());
    m_site.database->endSessions();
    SAYS(m_admin, support::answer("Get_sensors_v2", i32(1) + i32(0), kOperator));
    SAYS(m_admin, card);
    SAYS(m_admin, card);
    lock.release();
    QCOMPARE(m_site.leftover(2), QString()); // the statement and the session
}

QTEST_GUILESS_MAIN(TestReadsTogether)
#include "test_reads_together.moc"

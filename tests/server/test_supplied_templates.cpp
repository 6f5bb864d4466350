// Templates and examples supplied with the system are only read: no command changes them, and the service's role may
// not.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::cardRecord;
using support::commandRecord;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::parameterRecord;
using support::sensorRecord;

namespace {

constexpr int kOperator = 4;

} // namespace

class TestSuppliedTemplates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void negativeNumbersSaveNothing_data();
    void negativeNumbersSaveNothing();
    void deletionAndReadsLeaveSuppliedOnesAlone();
    void roleMayOnlyRead_data();
    void roleMayOnlyRead();

private:
    /// What `statement` ends in when the service's role runs it: "done" or the code of its error.
    QString triedByService(const QString &statement);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
};

void TestSuppliedTemplates::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    m_site.database->run("CREATE FUNCTION test_try(statement text) RETURNS text LANGUAGE plpgsql AS $$ BEGIN "
                         "SET LOCAL ROLE objects_service; EXECUTE statement; RESET ROLE; RETURN 'done'; "
                         "EXCEPTION WHEN OTHERS THEN RETURN SQLSTATE; END $$");
}

void TestSuppliedTemplates::init()
{
    m_site.beginFunction();
    for (const QString &table : {kOwn, kSupplied}) {
        for (const int number : {1, 2, 3, 2147483647}) {
            const int id = number % 100 * 10;
            m_site.give(table, id, {number, 't', {}, "title", {}});
            m_site.give(table, id + 1, {number, 'p', "property", "caption", "x"});
            m_site.give(table, id + 2, {number, 's', "", "sensor", "x"});
            m_site.give(table, id + 3, {number, 'c', "command", "caption", "x"});
            m_site.give(table, id + 4, {id + 3, 'd', "parameter", "caption", "x"});
        }
    }
}

void TestSuppliedTemplates::cleanup()
{
    // A number below zero ends the command: not even a count behind it is looked at.
    const QString leftover = m_site.leftover(0);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QString TestSuppliedTemplates::triedByService(const QString &statement)
{
    return m_site.database->value("SELECT test_try('" + QString(statement).replace('\'', "''") + "')").toString();
}

void TestSuppliedTemplates::negativeNumbersSaveNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("rest");
    const auto row = [](const char *title, const char *name, const QByteArray &rest) {
        QTest::newRow(title) << QByteArray(name) << rest;
    };
    const QByteArray property = cardRecord({-1, "new", "", 0, "", 't'});
    const QByteArray command = commandRecord({.name = "new", .numParams = 1}) + parameterRecord({.name = "p"});
    const QByteArray beyond = i32(0x7FFFFFFF);
    row("card", "Save_template_card_v2", i32(1) + property);
    row("empty card", "Save_template_card_v2", i32(0));
    row("card beyond", "Save_template_card_v2", beyond);
    row("sensors", "Save_template_sensors_v2", i32(1) + sensorRecord({.name = "new"}));
    row("no sensors", "Save_template_sensors_v2", i32(0));
    row("sensors beyond", "Save_template_sensors_v2", beyond);
    row("controls", "Save_template_controls_v2", i32(1) + command);
    row("no controls", "Save_template_controls_v2", i32(0));
    row("controls beyond", "Save_template_controls_v2", beyond);
    row("parameters beyond", "Save_template_controls_v2",
        i32(1) + commandRecord({.name = "c", .numParams = 0x7FFFFFFF}));
    row("nothing behind a card", "Save_template_card_v2", {});
    row("nothing behind sensors", "Save_template_sensors_v2", {});
    row("nothing behind controls", "Save_template_controls_v2", {});
}

void TestSuppliedTemplates::negativeNumbersSaveNothing()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, rest);
    const QStringList before = m_site.written(kOwn) + m_site.written(kSupplied);
    for (const qint64 number :
         {qint64(-1), qint64(-2), qint64(-3), qint64(-4711), qint64(-2147483647), qint64(0x80000000)}) {
        m_admin.send(support::command(name, i32(number) + rest, kOperator));
        SAYS(m_admin, support::emptyAnswer(name, kOperator));
    }
    QCOMPARE(m_site.written(kOwn) + m_site.written(kSupplied), before);
}

void TestSuppliedTemplates::deletionAndReadsLeaveSuppliedOnesAlone()
{
    const QStringList own = m_site.written(kOwn);
    const QStringList supplied = m_site.written(kSupplied);
    for (const char *name : {"Get_template_card_v2", "Get_template_sensors_v2", "Get_template_controls_v2"}) {
        for (const int number : {1, -1}) {
            m_admin.send(support::command(name, i32(number), kOperator));
            const QByteArray said = m_admin.nextFrame();
            QVERIFY2(said.contains(support::bytes(name) + support::bytes(name)), qPrintable(support::describe(said)));
        }
    }
    QCOMPARE(m_site.written(kOwn), own);
    // A title's number below zero means the own template.
    m_admin.send(support::command("Fix_template_desc_v2", i32(-2), kOperator) +
                 support::command("Fix_template_desc_v2", i32(0x80000000), kOperator));
    SAYS(m_admin, support::emptyAnswer("Fix_template_desc_v2", kOperator));
    SAYS(m_admin, support::emptyAnswer("Fix_template_desc_v2", kOperator));
    QCOMPARE(m_site.count(kOwn), "15");
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestSuppliedTemplates::roleMayOnlyRead_data()
{
    QTest::addColumn<QString>("table");
    for (const char *table : {"TemplatesFirm", "ExampleObjProps", "ExampleSensors", "ExampleControls"})
        QTest::newRow(table) << table;
}

void TestSuppliedTemplates::roleMayOnlyRead()
{
    QFETCH(QString, table);
    const QString quoted = "\"" + table + "\"";
    for (const char *right : {"INSERT", "UPDATE", "DELETE", "TRUNCATE", "REFERENCES", "TRIGGER"}) {
        const QString question = QStringLiteral("SELECT has_table_privilege('objects_service', '%1', '%2')");
        QVERIFY2(!m_site.database->value(question.arg(quoted, right)).toBool(), right);
    }
    for (const char *right : {"INSERT", "UPDATE", "REFERENCES"}) {
        const QString question = QStringLiteral("SELECT has_any_column_privilege('objects_service', '%1', '%2')");
        QVERIFY2(!m_site.database->value(question.arg(quoted, right)).toBool(), right);
    }
    const QString denied = "42501";
    QCOMPARE(triedByService("SELECT * FROM " + quoted), "done");
    QCOMPARE(triedByService("INSERT INTO " + quoted + " (\"Name\") VALUES ('a')"), denied);
    QCOMPARE(triedByService("INSERT INTO " + quoted + " DEFAULT VALUES"), denied);
    QCOMPARE(triedByService("UPDATE " + quoted + " SET \"Name\" = 'a'"), denied);
    QCOMPARE(triedByService("DELETE FROM " + quoted), denied);
    QCOMPARE(triedByService("TRUNCATE " + quoted), denied);
    QCOMPARE(triedByService("DROP TABLE " + quoted), denied);
    QCOMPARE(triedByService("ALTER TABLE " + quoted + " ADD COLUMN more text"), denied);
    // What it may change shows that trying works.
    QCOMPARE(triedByService("INSERT INTO \"Templates\" (\"Owner\", \"Class\") VALUES (9, 't')"), "done");
    QCOMPARE(m_site.count(kOwn, "\"Owner\" = 9"), "1");
    QCOMPARE(triedByService("TRUNCATE \"Templates\""), denied);
}

QTEST_GUILESS_MAIN(TestSuppliedTemplates)
#include "test_supplied_templates.moc"

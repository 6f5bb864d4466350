// What the template commands say while the database is away: a statement that could not even be sent has failed.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::i32;
using support::kOwn;
using support::text;

namespace {

constexpr int kOperator = 4;

} // namespace

class TestTemplatesWithoutDatabase : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void everyCommandAnswers_data();
    void everyCommandAnswers();

private:
    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    QStringList m_before;
};

void TestTemplatesWithoutDatabase::initTestCase()
{
    m_site.begin();
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    m_site.beginFunction();
    m_site.give(kOwn, 1, {5, 't', {}, "title", {}});
    m_site.give(kOwn, 2, {5, 'p', "property", "", {}});
    m_before = m_site.written(kOwn);
    m_site.closeDatabaseToService();
}

void TestTemplatesWithoutDatabase::cleanup()
{
    SAYS_NOTHING_MORE(m_admin);
    QVERIFY(m_site.client.isSilent());
    QVERIFY(m_site.service.isRunning());
    QCOMPARE(m_site.written(kOwn), m_before);
}

void TestTemplatesWithoutDatabase::everyCommandAnswers_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<QByteArray>("data");
    const auto row = [](const char *title, const char *name, const QByteArray &request, const QByteArray &data) {
        QTest::newRow(title) << QByteArray(name) << request << data;
    };
    const QByteArray nothing;
    row("list", "Get_template_list_v2", {}, i32(0));
    row("create", "Fix_template_desc_v2", i32(0) + support::bytes("t"), nothing);
    row("rename", "Fix_template_desc_v2", i32(5) + support::bytes("t"), nothing);
    row("delete", "Fix_template_desc_v2", i32(-5), nothing);
    row("card", "Get_template_card_v2", i32(5), i32(5) + i32(-1));
    row("supplied card", "Get_template_card_v2", i32(-5), i32(5) + i32(-1));
    row("save card", "Save_template_card_v2",
        i32(5) + i32(2) + support::cardRecord({-1, "a", "", 0, "", 't'}) +
            support::cardRecord({-1, "b", "", 0, "", 't'}),
        nothing);
    row("sensors", "Get_template_sensors_v2", i32(5), i32(5) + i32(-1));
    row("save sensors", "Save_template_sensors_v2", i32(5) + i32(1) + support::sensorRecord({.name = "a"}), nothing);
    row("controls", "Get_template_controls_v2", i32(5), nothing);
    row("save controls", "Save_template_controls_v2", i32(5) + i32(1) + support::commandRecord({.name = "a"}), nothing);
    row("create object", "Create_obj_by_template_v2",
        i32(5) + i32(2) + text("name") + text("a") + text("modem") + text("1"), i32(2));
    row("create object without name", "Create_obj_by_template_v2", i32(5) + i32(0), i32(1));
    row("copy", "Copy_template_v2", i32(5) + text("t"), i32(2));
}

void TestTemplatesWithoutDatabase::everyCommandAnswers()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(QByteArray, data);
    m_admin.send(support::command(name, request, kOperator));
    SAYS(m_admin, data.isNull() ? support::emptyAnswer(name, kOperator) : support::answer(name, data, kOperator));
}

QTEST_GUILESS_MAIN(TestTemplatesWithoutDatabase)
#include "test_templates_without_database.moc"

// The three catalogues of ready-made entries, which are only read.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::cardRecord;
using support::commandRecord;
using support::hex;
using support::i32;
using support::i8;
using support::parameterRecord;
using support::sensorRecord;

namespace {

constexpr int kOperator = 4;

QByteArray ask(const QByteArray &what, const QByteArray &request = {})
{
    return support::command("Get_example_" + what + "_v2", request, kOperator);
}

QByteArray catalogue(const QByteArray &what, int count, const QByteArrayList &records)
{
    return support::answer("Get_example_" + what + "_v2", i32(count) + records.join(), kOperator);
}

struct Parameter
{
    QByteArray name;
    QString description;
    int type = 0;
};

struct Control
{
    int id = 0;
    QString name;
    QString description;
    int operation = 0;
    int numParams = 0;
    QList<Parameter> parameters;
    QString kind;
};

/// A control as it travels: the command, its parameters with their count, the hardware kind. `nothing` stands for the
/// bytes that a catalogue does not hold.
QByteArray controlRecord(const Control &control, const QByteArray &nothing)
{
    QByteArray result =
        commandRecord({control.name, control.description, control.operation, nothing, control.numParams, control.id});
    result += i32(control.parameters.size());
    for (const Parameter &parameter : control.parameters)
        result += parameterRecord({parameter.name, nothing, parameter.description, parameter.type});
    return result + support::textOrNull(control.kind);
}

} // namespace

class TestExampleCatalogues : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void emptyCataloguesAnswerTheCountAlone_data();
    void emptyCataloguesAnswerTheCountAlone();
    void failedQueriesAnswerMinusOne_data();
    void failedQueriesAnswerMinusOne();
    void requestsAreNotRead_data() { emptyCataloguesAnswerTheCountAlone_data(); }
    void requestsAreNotRead();

    void answersPropertiesInOrderOfRows();
    void answersFlagOfProperty_data();
    void answersFlagOfProperty();
    void answersNullPropertyColumns();

    void answersSensorsByType();
    void answersKindOfSensor_data() { answersFlagOfProperty_data(); }
    void answersKindOfSensor();
    void answersLabelsOfSensor_data();
    void answersLabelsOfSensor();
    void answersRightsOfSensor();
    void answersNullSensorColumns();

    void answersControlsWithKnownBytes();
    void answersControlWithoutParameters();
    void listsDefinitionOncePerKind();
    void rowsOfOneDefinitionInARowAreOneControl();
    void countsRowsAndNotControls();
    void answersControlsByKindThenDefinition();
    void parametersComeInOrderOfRows();
    void definitionNamedTwiceCollectsEveryRow();
    void leavesOutWhatBelongsToNobody();
    void answersNullControlColumns();
    void answersTextsAsTheyAre();

private:
    /// The answer holds `count` and these controls. What a catalogue does not hold travels as an empty or as a null
    /// byte array, which is the same to a reader.
    void verifyControls(int count, const QList<Control> &controls);
    void giveControl(int id, int owner, const QString &name, const QString &description, int number = 0);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestExampleCatalogues::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestExampleCatalogues::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestExampleCatalogues::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestExampleCatalogues::verifyControls(int count, const QList<Control> &controls)
{
    QByteArrayList withEmpty;
    QByteArrayList withNull;
    for (const Control &control : controls) {
        withEmpty += controlRecord(control, "");
        withNull += controlRecord(control, {});
    }
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(said == catalogue("controls", count, withNull) || said == catalogue("controls", count, withEmpty),
             qPrintable(support::describe(said) + "\ninstead of\n" +
                        support::describe(catalogue("controls", count, withNull))));
}

void TestExampleCatalogues::giveControl(int id, int owner, const QString &name, const QString &description, int number)
{
    m_site.database->run(
        QStringLiteral("INSERT INTO \"ExampleControls\" (\"Id\",\"Owner\",\"Name\",\"Description\",\"SpecificInt\") "
                       "VALUES (%1,%2,'%3','%4',%5)")
            .arg(QString::number(id), QString::number(owner), name, description, QString::number(number)));
}

void TestExampleCatalogues::emptyCataloguesAnswerTheCountAlone_data()
{
    QTest::addColumn<QByteArray>("what");
    QTest::addColumn<QString>("table");
    QTest::newRow("properties") << QByteArray("objprops") << "\"ExampleObjProps\"";
    QTest::newRow("sensors") << QByteArray("sensors") << "\"ExampleSensors\"";
    QTest::newRow("controls") << QByteArray("controls") << "\"ExampleControls\"";
}

void TestExampleCatalogues::emptyCataloguesAnswerTheCountAlone()
{
    QFETCH(QByteArray, what);
    m_admin.send(ask(what));
    SAYS(m_admin, catalogue(what, 0, {}));
}

void TestExampleCatalogues::failedQueriesAnswerMinusOne_data()
{
    emptyCataloguesAnswerTheCountAlone_data();
}

void TestExampleCatalogues::failedQueriesAnswerMinusOne()
{
    QFETCH(QByteArray, what);
    QFETCH(QString, table);
    m_site.database->run("INSERT INTO " + table + " (\"Name\") VALUES ('a')");
    const support::RightTaken taken(*m_site.database, "SELECT", table);
    m_admin.send(ask(what));
    SAYS(m_admin, catalogue(what, -1, {}));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_example_" + what + "_v2"));
}

void TestExampleCatalogues::requestsAreNotRead()
{
    QFETCH(QByteArray, what);
    m_admin.send(ask(what, support::everyByte()) + ask(what, hex("FF FF FF FF 7F")) +
                 support::commandWithNoData("Get_example_" + what + "_v2", kOperator));
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, catalogue(what, 0, {}));
}

void TestExampleCatalogues::answersPropertiesInOrderOfRows()
{
    m_site.database->run(
        "INSERT INTO \"ExampleObjProps\" (\"Id\",\"Name\",\"Description\",\"Type\",\"Value\",\"Visible\") VALUES "
        "(30,'third','C',-2147483648,'\\x00ff5c27','f'), (-10,'first','A',2147483647,'x','t'), "
        "(20,'second','Второе',2,'','t')");
    m_admin.send(ask("objprops"));
    // The row's id only orders.
    SAYS(m_admin, catalogue("objprops", 3,
                            {cardRecord({-1, "first", "A", 2147483647, "x", 't'}),
                             cardRecord({-1, "second", "Второе", 2, "", 't'}),
                             cardRecord({-1, "third", "C", int(0x80000000), hex("00 FF 5C 27"), 'f'})}));
}

void TestExampleCatalogues::answersFlagOfProperty_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("code");
    QTest::newRow("NULL") << "NULL" << 0;
    QTest::newRow("empty") << "''" << 0;
    QTest::newRow("t") << "'t'" << 116;
    QTest::newRow("first code") << "chr(1)" << 1;
    QTest::newRow("last code") << "'ÿ'" << 255;
    QTest::newRow("beyond the last code") << "'Ā'" << 0;
    QTest::newRow("Russian") << "'я'" << 0;
    QTest::newRow("emoji") << "'😀'" << 0;
}

void TestExampleCatalogues::answersFlagOfProperty()
{
    QFETCH(QString, stored);
    QFETCH(int, code);
    m_site.database->run("INSERT INTO \"ExampleObjProps\" (\"Name\",\"Description\",\"Type\",\"Value\",\"Visible\") "
                         "VALUES ('a','b',1,'v'," +
                         stored + ")");
    m_admin.send(ask("objprops"));
    SAYS(m_admin, catalogue("objprops", 1, {cardRecord({-1, "a", "b", 1, "v", code})}));
}

void TestExampleCatalogues::answersNullPropertyColumns()
{
    m_site.database->run("INSERT INTO \"ExampleObjProps\" (\"Id\") VALUES (1)");
    m_admin.send(ask("objprops"));
    SAYS(m_admin, catalogue("objprops", 1, {cardRecord({-1, {}, {}, 0, {}, 0})}));
}

void TestExampleCatalogues::answersSensorsByType()
{
    m_site.database->run(
        "INSERT INTO \"ExampleSensors\" VALUES ('b','°C',-2147483648,32767,'d','x;y','f(x)','\\x00ff',true,false),"
        "('c','',2147483647,-32768,'a','','','',false,true), ('a','km',5,2,'t','Вкл;Выкл','','r',true,true)");
    m_admin.send(ask("sensors"));
    SAYS(m_admin, catalogue("sensors", 3,
                            {sensorRecord({"c", "", 2147483647, -32768, 'a', {""}, "", ""}) + i8(0) + i8(1),
                             sensorRecord({"a", "km", 5, 2, 't', {"Вкл", "Выкл"}, "", "r"}) + i8(1) + i8(1),
                             sensorRecord({"b", "°C", int(0x80000000), 32767, 'd', {"x", "y"}, "f(x)", hex("00 FF")}) +
                                 i8(1) + i8(0)}));
}

void TestExampleCatalogues::answersKindOfSensor()
{
    QFETCH(QString, stored);
    QFETCH(int, code);
    m_site.database->run("INSERT INTO \"ExampleSensors\" VALUES ('s','m',1,2," + stored + ",'','c','r',true,true)");
    m_admin.send(ask("sensors"));
    SAYS(m_admin, catalogue("sensors", 1, {sensorRecord({"s", "m", 1, 2, code, {""}, "c", "r"}) + i8(1) + i8(1)}));
}

void TestExampleCatalogues::answersLabelsOfSensor_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("empty") << "" << QStringList({""});
    QTest::newRow("one") << "a" << QStringList({"a"});
    QTest::newRow("only a separator") << ";" << QStringList({"", ""});
    QTest::newRow("empty parts") << ";a;;b;" << QStringList({"", "a", "", "b", ""});
}

void TestExampleCatalogues::answersLabelsOfSensor()
{
    QFETCH(QString, stored);
    QFETCH(QStringList, labels);
    m_site.database->run("INSERT INTO \"ExampleSensors\" VALUES ('s','m',1,2,'d','" + stored + "','c','r',true,true)");
    m_admin.send(ask("sensors"));
    SAYS(m_admin, catalogue("sensors", 1, {sensorRecord({"s", "m", 1, 2, 'd', labels, "c", "r"}) + i8(1) + i8(1)}));
}

void TestExampleCatalogues::answersRightsOfSensor()
{
    m_site.database->run("INSERT INTO \"ExampleSensors\" VALUES ('s','m',1,1,'d','','c','r',true,false), "
                         "('s','m',1,2,'d','','c','r',false,true),"
                         "('s','m',1,3,'d','','c','r',NULL,NULL)");
    m_admin.send(ask("sensors"));
    SAYS(m_admin, catalogue("sensors", 3,
                            {sensorRecord({"s", "m", 1, 1, 'd', {""}, "c", "r"}) + i8(1) + i8(0),
                             sensorRecord({"s", "m", 1, 2, 'd', {""}, "c", "r"}) + i8(0) + i8(1),
                             sensorRecord({"s", "m", 1, 3, 'd', {""}, "c", "r"}) + i8(0) + i8(0)}));
}

void TestExampleCatalogues::answersNullSensorColumns()
{
    m_site.database->run("INSERT INTO \"ExampleSensors\" (\"Enum\") VALUES ('')");
    m_admin.send(ask("sensors"));
    SAYS(m_admin, catalogue("sensors", 1, {sensorRecord({{}, {}, 0, 0, 0, {""}, {}, {}}) + i8(0) + i8(0)}));
}

void TestExampleCatalogues::answersControlsWithKnownBytes()
{
    giveControl(1, -1, "kind", "HW");
    giveControl(2, 1, "C", "");
    giveControl(10, -2, "C", "d", 7);
    giveControl(11, 10, "p", "q", 3);
    m_admin.send(hex("00 00 00 24 CB 00 00 00 17 47 65 74 5F 65 78 61 6D 70 6C 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32 "
                     "00 00 00 00 00 00 00 04"));
    const QByteArray said = m_admin.nextFrame();
    const auto expected = [](const QByteArray &nothing) {
        return hex("00 00 00 8D CA 00 00 00 17 47 65 74 5F 65 78 61 6D 70 6C 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32"
                   "00 00 00 17 47 65 74 5F 65 78 61 6D 70 6C 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32"
                   "00 00 00 43 00 00 00 01"
                   "00 00 00 0A 00 00 00 02 00 43 00 00 00 02 00 64 00 00 00 07") +
               nothing +
               hex("00 00 00 01"
                   "00 00 00 01 00 00 00 01 70") +
               nothing +
               hex("00 00 00 02 00 71 00 00 00 03 00 00 00 00"
                   "00 00 00 04 00 48 00 57"
                   "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04");
    };
    QVERIFY2(said == expected(hex("FF FF FF FF")) || said == expected(hex("00 00 00 00")),
             qPrintable(support::describe(said)));
}

void TestExampleCatalogues::answersControlWithoutParameters()
{
    giveControl(1, -1, "kind", "Блок");
    giveControl(2, 1, "C", "");
    giveControl(10, -2, "C", "d", 7);
    m_admin.send(ask("controls"));
    verifyControls(1, {{10, "C", "d", 7, 0, {}, "Блок"}});
}

void TestExampleCatalogues::listsDefinitionOncePerKind()
{
    giveControl(1, -1, "k1", "first kind");
    giveControl(2, -1, "k2", "second kind");
    for (const int kind : {1, 2}) {
        giveControl(20 + kind, kind, "A", "");
        giveControl(30 + kind, kind, "B", "");
    }
    giveControl(10, -2, "A", "a", 1);
    giveControl(11, -2, "B", "b", 2);
    giveControl(40, 10, "p", "q", 3);
    giveControl(41, 10, "r", "s", 4);
    const QList<Parameter> parameters = {{"p", "q", 3}, {"r", "s", 4}};
    m_admin.send(ask("controls"));
    verifyControls(6, {{10, "A", "a", 1, 2, parameters, "first kind"},
                       {11, "B", "b", 2, 0, {}, "first kind"},
                       {10, "A", "a", 1, 2, parameters, "second kind"},
                       {11, "B", "b", 2, 0, {}, "second kind"}});
}

void TestExampleCatalogues::rowsOfOneDefinitionInARowAreOneControl()
{
    // Rows become controls by the definition alone, so a definition that ends one kind and begins the next is not
    // parted.
    giveControl(1, -1, "k1", "first kind");
    giveControl(2, -1, "k2", "second kind");
    giveControl(3, 1, "A", "");
    giveControl(4, 2, "A", "");
    giveControl(10, -2, "A", "a", 1);
    giveControl(20, 10, "p", "q", 3);
    m_admin.send(ask("controls"));
    verifyControls(2, {{10, "A", "a", 1, 1, {{"p", "q", 3}, {"p", "q", 3}}, "first kind"}});
}

void TestExampleCatalogues::countsRowsAndNotControls()
{
    giveControl(1, -1, "k", "kind");
    giveControl(2, 1, "A", "");
    giveControl(10, -2, "A", "a", 1);
    QList<Parameter> parameters;
    for (int i = 0; i < 5; ++i) {
        giveControl(20 + i, 10, "p" + QString::number(i), "", i);
        parameters.append({"p" + QByteArray::number(i), "", i});
    }
    m_admin.send(ask("controls"));
    verifyControls(5, {{10, "A", "a", 1, 5, parameters, "kind"}});
}

void TestExampleCatalogues::answersControlsByKindThenDefinition()
{
    giveControl(200, -1, "k", "late kind");
    giveControl(100, -1, "k", "early kind");
    giveControl(1, 200, "A", "");
    giveControl(2, 200, "B", "");
    giveControl(3, 100, "C", "");
    giveControl(12, -2, "A", "a", 2147483647);
    giveControl(11, -2, "B", "b", -2147483647);
    giveControl(13, -2, "C", "c", 0);
    m_admin.send(ask("controls"));
    verifyControls(3, {{13, "C", "c", 0, 0, {}, "early kind"},
                       {11, "B", "b", -2147483647, 0, {}, "late kind"},
                       {12, "A", "a", 2147483647, 0, {}, "late kind"}});
}

void TestExampleCatalogues::parametersComeInOrderOfRows()
{
    giveControl(1, -1, "k", "kind");
    giveControl(2, 1, "A", "");
    giveControl(10, -2, "A", "a", 1);
    giveControl(22, 10, "a", "", 1);
    giveControl(20, 10, "c", "", 3);
    giveControl(21, 10, "b", "", 2);
    m_admin.send(ask("controls"));
    verifyControls(3, {{10, "A", "a", 1, 3, {{"c", "", 3}, {"b", "", 2}, {"a", "", 1}}, "kind"}});
}

void TestExampleCatalogues::definitionNamedTwiceCollectsEveryRow()
{
    // One kind names the definition twice: every parameter comes twice, and the control says how many it carries.
    giveControl(1, -1, "k", "kind");
    giveControl(2, 1, "A", "");
    giveControl(3, 1, "A", "");
    giveControl(10, -2, "A", "a", 1);
    giveControl(20, 10, "p", "", 1);
    giveControl(21, 10, "q", "", 2);
    m_admin.send(ask("controls"));
    verifyControls(4, {{10, "A", "a", 1, 2, {{"p", "", 1}, {"p", "", 1}, {"q", "", 2}, {"q", "", 2}}, "kind"}});
}

void TestExampleCatalogues::leavesOutWhatBelongsToNobody()
{
    giveControl(1, -1, "k", "kind without commands");
    giveControl(2, -1, "k", "kind");
    giveControl(3, 2, "undefined", "");
    giveControl(4, 2, "a", "");
    giveControl(10, -2, "A", "of no kind", 1);
    giveControl(20, 10, "p", "", 1);
    giveControl(30, 4711, "A", "of nobody", 1);
    m_admin.send(ask("controls"));
    verifyControls(0, {});
}

void TestExampleCatalogues::answersNullControlColumns()
{
    m_site.database->run(
        "INSERT INTO \"ExampleControls\" (\"Id\",\"Owner\",\"Name\",\"Description\",\"SpecificInt\") VALUES "
        "(1,-1,NULL,NULL,NULL), (2,1,'A',NULL,NULL), (10,-2,'A',NULL,NULL), (20,10,NULL,NULL,NULL)");
    m_admin.send(ask("controls"));
    verifyControls(1, {{10, "A", {}, 0, 1, {{{}, {}, 0}}, {}}});
}

void TestExampleCatalogues::answersTextsAsTheyAre()
{
    const QString texts = QString::fromUtf8("\"q\" %1 ? :x \\ \\x41 😀 я\n\t;--");
    giveControl(1, -1, "k", texts);
    giveControl(2, 1, texts, "");
    giveControl(10, -2, texts, texts, 1);
    giveControl(20, 10, texts, texts, 1);
    m_admin.send(ask("controls"));
    verifyControls(1, {{10, texts, texts, 1, 1, {{texts.toUtf8(), texts, 1}}, texts}});
}

QTEST_GUILESS_MAIN(TestExampleCatalogues)
#include "test_example_catalogues.moc"

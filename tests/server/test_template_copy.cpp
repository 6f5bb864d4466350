// Templates that are made as copies of others.

#include "conversation.h"
#include "template_site.h"

using support::commandData;
using support::hex;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::parameterData;
using support::propertyData;
using support::said;
using support::sensorData;
using support::TemplateRow;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");

QByteArray copy(int number, const QString &title)
{
    return support::command("Copy_template_v2", i32(number) + support::textOrNull(title), kOperator);
}

QByteArray answered(int code)
{
    return support::answer("Copy_template_v2", i32(code), kOperator);
}

} // namespace

class TestTemplateCopy : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersWithKnownBytes();
    void copiesOwnTemplateUnderTheNextNumber();
    void copiesSuppliedTemplate();
    void reservedPropertiesAreNotCopied();
    void parametersHangOnTheCopyOfTheirCommand();
    void copiesInTheOrderOfTheRows();
    void sourceWithoutRowsGivesAnEmptyTemplate_data();
    void sourceWithoutRowsGivesAnEmptyTemplate();
    void numbersFollowTheHighestHead();
    void rowsWithoutHeadUnderTheNewNumberAreDoubled();
    void storesTitles_data();
    void storesTitles();
    void valuesAreCopiedAsTheyAre();
    void shortDataIsCopiedAsZerosAndEmpties();
    void copyOfACopyIsTheSame();

    void failedHeadIsCodeTwo_data();
    void failedHeadIsCodeTwo();
    void failedRowsAreLeftOut_data();
    void failedRowsAreLeftOut();
    void parametersOfAFailedCommandGoToTheOneWrittenLast();
    void unreadableSourceGivesAnEmptyTemplate();
    void firstCommandOfNumberZeroIsNotCopied();

private:
    /// Everything of template `number` but its commands.
    QStringList rowsOf(int number)
    {
        return m_site.stored(kOwn, "\"Class\" NOT IN ('c', 'd') AND \"Owner\" = " + QString::number(number));
    }
    /// The commands of template `number` with all but their numbers, each followed by its parameters.
    QStringList controlsOf(int number);
    /// Template `number`: head, card with the reserved names, two sensors, two commands.
    void giveTemplate(const QString &table, int number, const QString &prefix);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestTemplateCopy::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateCopy::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestTemplateCopy::cleanup()
{
    // A copy is neither announced nor told to the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestTemplateCopy::controlsOf(int number)
{
    return m_site.database->rows(
        QStringLiteral("SELECT r.\"Class\", r.\"Name\", r.\"Description\", r.\"SpecificData\" FROM \"Templates\" c, "
                       "\"Templates\" r WHERE c.\"Class\" = 'c' AND c.\"Owner\" = %1 AND (r.\"Id\" = c.\"Id\" OR "
                       "r.\"Class\" = 'd' AND r.\"Owner\" = c.\"Id\") ORDER BY c.\"Id\", r.\"Class\", r.\"Id\"")
            .arg(number));
}

void TestTemplateCopy::giveTemplate(const QString &table, int number, const QString &prefix)
{
    const int id = number * 20;
    m_site.give(table, id, {number, 't', {}, prefix + "title", {}});
    m_site.give(table, id + 1, {number, 'p', "name", "reserved", propertyData(1, "v", 't')});
    m_site.give(table, id + 2, {number, 'p', prefix + "colour", "Colour", propertyData(2, "red", 't')});
    m_site.give(table, id + 3, {number, 'p', "modem", "reserved", propertyData(1, "v", 't')});
    m_site.give(table, id + 4, {number, 'p', prefix + "plate", "Plate", propertyData(3, "A1", 'f')});
    m_site.give(table, id + 5, {number, 'p', "subdivision", "reserved", propertyData(1, "v", 't')});
    m_site.give(table, id + 6,
                {number, 's', "", prefix + "speed", sensorData({"", "km/h", 1, 2, 't', {"a", "b"}, "x", "r"})});
    m_site.give(table, id + 7, {number, 's', "", prefix + "fuel", sensorData({"", "l", 3, 4, 'd', {}, "y", ""})});
    m_site.give(table, id + 8, {number, 'c', prefix + "stop", "Stop", commandData(7, "unit")});
    m_site.give(table, id + 9, {id + 8, 'd', "when", "When", parameterData("now", 8)});
    m_site.give(table, id + 10, {id + 8, 'd', "why", "Why", parameterData("", 9)});
    m_site.give(table, id + 11, {number, 'c', prefix + "go", "Go", commandData(10, "")});
    m_site.give(table, id + 12, {id + 11, 'd', "where", "Where", parameterData("home", 11)});
}

void TestTemplateCopy::answersWithKnownBytes()
{
    m_site.give(kSupplied, 1, {3, 'p', "P", "d", hex("00 00 00 02 00 00 00 02 FF 00 00 74")});
    m_admin.send(hex("00 00 00 27 CB 00 00 00 10 43 6F 70 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
                     "00 00 00 0A FF FF FF FD 00 00 00 02 00 54 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 40 CA 00 00 00 10 43 6F 70 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
                      "00 00 00 10 43 6F 70 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
                      "00 00 00 04 00 00 00 00 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
    QCOMPARE(m_site.stored(kOwn), QStringList({"1|t|NULL|T|NULL", "1|p|P|d|\\x0000000200000002ff000074"}));
}

void TestTemplateCopy::copiesOwnTemplateUnderTheNextNumber()
{
    giveTemplate(kOwn, 4, "");
    giveTemplate(kOwn, 6, "other ");
    giveTemplate(kSupplied, 4, "supplied ");
    const QStringList before = m_site.written(kOwn);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(copy(4, "new title"));
    SAYS(m_admin, answered(0));
    QCOMPARE(rowsOf(7),
             QStringList({said({7, 't', {}, "new title", {}}),
                          said({7, 'p', "colour", "Colour", propertyData(2, "red", 't')}),
                          said({7, 'p', "plate", "Plate", propertyData(3, "A1", 'f')}),
                          said({7, 's', "", "speed", sensorData({"", "km/h", 1, 2, 't', {"a", "b"}, "x", "r"})}),
                          said({7, 's', "", "fuel", sensorData({"", "l", 3, 4, 'd', {}, "y", ""})})}));
    QCOMPARE(controlsOf(7), controlsOf(4));
    QCOMPARE(m_site.commandNames(7), QStringList({"stop when why", "go where"}));
    // Nothing else was written, and what was there stays untouched.
    QCOMPARE(m_site.count(kOwn), QString::number(13 + 13 + 10));
    QCOMPARE(m_site.written(kOwn).mid(0, before.size()), before);
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateCopy::copiesSuppliedTemplate()
{
    giveTemplate(kOwn, 4, "own ");
    giveTemplate(kSupplied, 4, "supplied ");
    giveTemplate(kSupplied, 9, "another ");
    const QStringList before = m_site.written(kOwn);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(copy(-4, "new title"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.database->rows("SELECT \"Class\", \"Name\", \"Description\" FROM \"Templates\" WHERE \"Owner\" = 5 "
                                   "ORDER BY \"Id\""),
             QStringList({"t|NULL|new title", "p|supplied colour|Colour", "p|supplied plate|Plate", "s||supplied speed",
                          "s||supplied fuel", "c|supplied stop|Stop", "c|supplied go|Go"}));
    QCOMPARE(m_site.commandNames(5), QStringList({"supplied stop when why", "supplied go where"}));
    QCOMPARE(m_site.written(kOwn).mid(0, before.size()), before);
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateCopy::reservedPropertiesAreNotCopied()
{
    int id = 0;
    for (const char *name : {"name", "subdivision", "modem", "Modem"})
        m_site.give(kSupplied, ++id, {4, 'p', name, "", propertyData(1, "v", 't')});
    m_site.give(kSupplied, ++id, {4, 'p', {}, "no name", propertyData(1, "v", 't')});
    m_admin.send(copy(-4, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(rowsOf(1),
             QStringList({said({1, 't', {}, "t", {}}), said({1, 'p', "Modem", "", propertyData(1, "v", 't')})}));
}

void TestTemplateCopy::parametersHangOnTheCopyOfTheirCommand()
{
    for (int i = 0; i < 40; ++i) {
        const QString name = QString::number(i);
        m_site.give(kOwn, 100 + i, {4, 'c', "c" + name, "", commandData(i, "")});
        // Numbered against the order of the commands.
        for (int parameter = 0; parameter < i % 3; ++parameter)
            m_site.give(kOwn, 900 - 3 * i + parameter,
                        {100 + i, 'd', "p" + name + "." + QString::number(parameter), "", parameterData("", 1)});
    }
    const QStringList before = m_site.commandNames(4);
    m_admin.send(copy(4, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(before.value(5), "c5 p5.0 p5.1");
    QCOMPARE(m_site.commandNames(1), before);
    QCOMPARE(m_site.commandNames(4), before);
    QCOMPARE(m_site.count(kOwn, "\"Class\" = 'd'"), QString::number(2 * 39));
}

void TestTemplateCopy::copiesInTheOrderOfTheRows()
{
    for (int i = 0; i < 120; ++i) {
        m_site.give(kOwn, 500 - i, {4, 'p', QString::number(i * 7919 % 120), "", propertyData(i, "", 't')});
        m_site.give(kOwn, 900 - i, {4, 's', "", QString::number(i * 7919 % 120), sensorData({})});
    }
    QStringList expected = rowsOf(4);
    for (QString &row : expected)
        row.replace(0, 1, "1");
    m_admin.send(copy(4, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(rowsOf(1), QStringList(said({1, 't', {}, "t", {}})) + expected);
}

void TestTemplateCopy::sourceWithoutRowsGivesAnEmptyTemplate_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {4711, -4711, 0, 2147483647, -2147483647})
        QTest::newRow(QByteArray::number(number).constData()) << number;
}

void TestTemplateCopy::sourceWithoutRowsGivesAnEmptyTemplate()
{
    QFETCH(int, number);
    giveTemplate(kOwn, 4, "");
    giveTemplate(kSupplied, 4, "");
    m_admin.send(copy(number, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.stored(kOwn, "\"Id\" >= 1000"), QStringList(said({5, 't', {}, "t", {}})));
}

void TestTemplateCopy::numbersFollowTheHighestHead()
{
    m_site.give(kOwn, 1, {6, 't', {}, "six", {}});
    m_site.give(kOwn, 2, {2, 't', {}, "two", {}});
    m_site.give(kOwn, 3, {60, 'p', "of no head", "", {}});
    m_site.give(kSupplied, 1, {50, 't', {}, "supplied", {}});
    m_admin.send(copy(2, "a") + copy(6, "a") + copy(-50, "b"));
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, answered(0));
    QCOMPARE(m_site.stored(kOwn, "\"Id\" >= 1000"),
             QStringList({said({7, 't', {}, "a", {}}), said({8, 't', {}, "a", {}}), said({9, 't', {}, "b", {}})}));
}

void TestTemplateCopy::rowsWithoutHeadUnderTheNewNumberAreDoubled()
{
    m_site.give(kOwn, 1, {1, 'p', "a", "", propertyData(1, "", 't')});
    m_site.give(kOwn, 2, {1, 's', "", "b", sensorData({})});
    m_site.give(kOwn, 3, {1, 'c', "c", "", commandData(1, "")});
    m_site.give(kOwn, 4, {3, 'd', "d", "", parameterData("", 1)});
    m_admin.send(copy(1, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.count(kOwn), "9");
    QCOMPARE(m_site.commandNames(1), QStringList({"c d", "c d"}));
}

void TestTemplateCopy::storesTitles_data()
{
    QTest::addColumn<QString>("title");
    QTest::newRow("texts") << kTexts;
    QTest::newRow("empty") << "";
    QTest::newRow("null") << QString();
    QTest::newRow("100 KB") << QString(50000, QChar(0x44F));
}

void TestTemplateCopy::storesTitles()
{
    QFETCH(QString, title);
    m_admin.send(copy(4, title));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({1, 't', {}, title, {}})));
}

void TestTemplateCopy::valuesAreCopiedAsTheyAre()
{
    const QList<TemplateRow> rows = {
        {4, 'p', kTexts, kTexts, propertyData(int(0x80000000), support::everyByte(), -32768)},
        {4, 'p', "", {}, propertyData(2147483647, {}, 0)},
        {4, 's', "", kTexts, sensorData({"", kTexts, 2147483647, -32768, 32767, {kTexts, ""}, kTexts, hex("00 FF")})},
        {4, 's', "", {}, sensorData({{}, {}, int(0x80000000), 0, 0, {QString()}, {}, {}})},
        {4, 'c', kTexts, kTexts, commandData(int(0x80000000), support::everyByte())},
        {4, 'c', {}, {}, commandData(2147483647, {})}};
    QStringList expected{said({1, 't', {}, "t", {}})};
    int id = 0;
    for (const TemplateRow &row : rows) {
        m_site.give(kOwn, ++id, row);
        expected += said({1, row.kind, row.name, row.description, row.data});
    }
    m_site.give(kOwn, 20, {5, 'd', kTexts, kTexts, parameterData(support::everyByte(), int(0x80000000))});
    m_site.give(kOwn, 21, {6, 'd', {}, {}, parameterData({}, 2147483647)});
    m_admin.send(copy(4, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.stored(kOwn, "\"Owner\" = 1"), expected);
    QCOMPARE(controlsOf(1), controlsOf(4));
    QCOMPARE(controlsOf(1).size(), 4);
}

void TestTemplateCopy::shortDataIsCopiedAsZerosAndEmpties()
{
    m_site.give(kOwn, 1, {4, 'p', "a", "", propertyData(-1, "before", -1)});
    m_site.give(kOwn, 2, {4, 'p', "b", "", {}});
    m_site.give(kOwn, 3, {4, 's', "", "a", sensorData({"", "before", -1, -1, -1, {"before"}, "before", "before"})});
    m_site.give(kOwn, 4, {4, 's', "", "b", {}});
    m_site.give(kOwn, 5, {4, 'c', "a", "", commandData(-1, "before")});
    m_site.give(kOwn, 6, {4, 'c', "b", "", {}});
    m_site.give(kOwn, 7, {5, 'd', "a", "", parameterData("before", -1)});
    m_site.give(kOwn, 8, {5, 'd', "b", "", {}});
    m_admin.send(copy(4, "t"));
    SAYS(m_admin, answered(0));
    const auto packed = [this](const QString &which) {
        return m_site.database
            ->value(
                "SELECT \"SpecificData\" FROM \"Templates\" WHERE \"Id\" >= 1000 AND coalesce(nullif(\"Name\", ''), "
                "\"Description\") = 'b' AND \"Class\" = '" +
                which + "'")
            .toByteArray();
    };
    const QByteArray none = i32(0);
    const QByteArray half = support::i16(0);
    QVERIFY(support::spellings({none, {}, half}).contains(packed("p")));
    QVERIFY(support::spellings({{}, none, half, half, none, {}, {}}).contains(packed("s")));
    QVERIFY(support::spellings({none, {}}).contains(packed("c")));
    QVERIFY(support::spellings({{}, none}).contains(packed("d")));
}

void TestTemplateCopy::copyOfACopyIsTheSame()
{
    giveTemplate(kSupplied, 4, "");
    m_admin.send(copy(-4, "first") + copy(1, "second"));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, answered(0));
    const QString columns = "SELECT \"Class\", \"Name\", \"Description\", \"SpecificData\" FROM \"Templates\" WHERE "
                            "\"Class\" NOT IN ('t', 'd') AND \"Owner\" = %1 ORDER BY \"Id\"";
    QCOMPARE(m_site.database->rows(columns.arg(2)), m_site.database->rows(columns.arg(1)));
    QCOMPARE(controlsOf(2), controlsOf(1));
    QCOMPARE(m_site.count(kOwn), "20");
}

void TestTemplateCopy::failedHeadIsCodeTwo_data()
{
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("highest");
    QTest::newRow("insert") << "bad" << 4;
    QTest::newRow("no character in the title") << QStringLiteral("a") + QChar(0) + "b" << 4;
    QTest::newRow("no number left") << "t" << 2147483647;
}

void TestTemplateCopy::failedHeadIsCodeTwo()
{
    QFETCH(QString, title);
    QFETCH(int, highest);
    giveTemplate(kOwn, 4, "");
    m_site.give(kOwn, 1, {highest, 't', {}, "highest", {}});
    const QStringList before = m_site.written(kOwn);
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Description\" = 'bad'");
    m_admin.send(copy(4, title));
    SAYS(m_admin, answered(2));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.written(kOwn), before);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Copy_template_v2"));
}

void TestTemplateCopy::failedRowsAreLeftOut_data()
{
    QTest::addColumn<QString>("condition");
    QTest::addColumn<QString>("rows");
    QTest::addColumn<QStringList>("controls");
    const QStringList all = {"stop when why", "go where"};
    QTest::newRow("property") << "NEW.\"Name\" = 'colour'"
                              << "title,plate,speed,fuel" << all;
    QTest::newRow("sensor") << "NEW.\"Description\" = 'speed'"
                            << "title,colour,plate,fuel" << all;
    QTest::newRow("parameter") << "NEW.\"Name\" = 'when'"
                               << "title,colour,plate,speed,fuel" << QStringList({"stop why", "go where"});
    QTest::newRow("last parameter") << "NEW.\"Name\" = 'where'"
                                    << "title,colour,plate,speed,fuel" << QStringList({"stop when why", "go"});
    QTest::newRow("command without parameters") << "NEW.\"Name\" = 'last'"
                                                << "title,colour,plate,speed,fuel" << all;
    QTest::newRow("first command") << "NEW.\"Name\" = 'stop'"
                                   << "title,colour,plate,speed,fuel" << QStringList("go where");
}

void TestTemplateCopy::failedRowsAreLeftOut()
{
    QFETCH(QString, condition);
    QFETCH(QString, rows);
    QFETCH(QStringList, controls);
    giveTemplate(kSupplied, 4, "");
    if (condition.contains("last"))
        m_site.give(kSupplied, 900, {4, 'c', "last", "", commandData(1, "")});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", condition);
    m_admin.send(copy(-4, "title"));
    SAYS(m_admin, answered(0));
    m_failedStatements = 1;
    QCOMPARE(m_site.database
                 ->rows("SELECT coalesce(nullif(\"Name\", ''), \"Description\") FROM \"Templates\" WHERE \"Owner\" = 1 "
                        "AND \"Class\" <> 'c' AND \"Class\" <> 'd' ORDER BY \"Id\"")
                 .join(','),
             rows);
    QCOMPARE(m_site.commandNames(1), controls);
}

void TestTemplateCopy::parametersOfAFailedCommandGoToTheOneWrittenLast()
{
    giveTemplate(kSupplied, 4, "");
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Name\" = 'go'");
    m_admin.send(copy(-4, "title"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.commandNames(1), QStringList("stop when why where"));
    m_failedStatements = 1;
}

void TestTemplateCopy::unreadableSourceGivesAnEmptyTemplate()
{
    giveTemplate(kSupplied, 4, "");
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"TemplatesFirm\"");
        m_admin.send(copy(-4, "t"));
        SAYS(m_admin, answered(0));
    }
    QCOMPARE(m_site.stored(kOwn), QStringList(said({1, 't', {}, "t", {}})));
    // Card, sensors and the count of the commands.
    m_failedStatements = 3;
}

void TestTemplateCopy::firstCommandOfNumberZeroIsNotCopied()
{
    // The number before the first command is 0, so a command of that number does not begin.
    m_site.give(kSupplied, 0, {4, 'c', "zero", "", commandData(1, "")});
    m_site.give(kSupplied, 1, {0, 'd', "of zero", "", parameterData("", 1)});
    m_site.give(kSupplied, 2, {4, 'c', "two", "", commandData(1, "")});
    m_admin.send(copy(-4, "t"));
    SAYS(m_admin, answered(0));
    QCOMPARE(m_site.commandNames(1), QStringList("two"));
    QCOMPARE(m_site.count(kOwn), "2");
}

QTEST_GUILESS_MAIN(TestTemplateCopy)
#include "test_template_copy.moc"

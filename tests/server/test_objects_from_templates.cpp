// Objects that are created from templates.

#include "conversation.h"
#include "template_site.h"

#include <QRegularExpression>
#include <QSet>

using support::commandData;
using support::hex;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::parameterData;
using support::propertyData;
using support::savedCard;
using support::sensorData;
using support::text;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");

using Pairs = QList<std::pair<QString, QString>>;

QByteArray request(int number, const Pairs &identity)
{
    QByteArray result = i32(number) + i32(identity.size());
    for (const auto &[key, value] : identity)
        result += text(key) + support::textOrNull(value);
    return result;
}

QByteArray create(int number, const Pairs &identity)
{
    return support::command("Create_obj_by_template_v2", request(number, identity), kOperator);
}

Pairs identity(const QString &name, const QString &subdivision, const QString &modem)
{
    return {{"modem", modem}, {"name", name}, {"subdivision", subdivision}};
}

QByteArray answered(int code)
{
    return support::answer("Create_obj_by_template_v2", i32(code), kOperator);
}

/// The identity's rows of an object as TestObjectsFromTemplates::properties() says them.
const QString kName = QStringLiteral("name|Наименование объекта|10|");
const QString kSubdivision = QStringLiteral("subdivision|Подразделение|10|");
const QString kModem = QStringLiteral("modem|Идентификационный номер навигационного блока|10|");

QString shown(const QString &head, const QByteArray &value)
{
    return head + "\\x" + QString::fromLatin1(value.toHex()) + "|true";
}

} // namespace

class TestObjectsFromTemplates : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersAndAnnouncesWithKnownBytes();
    void writesTheIdentityFirst();
    void givesEveryObjectAGuidOfItsOwn();
    void leavesOutAnEmptySubdivision_data();
    void leavesOutAnEmptySubdivision();
    void storesIdentityAsBytes();
    void refusesWithoutNameOrModem_data();
    void refusesWithoutNameOrModem();
    void refusesASecondOneOfSameSubdivisionAndModem();
    void sameSubdivisionOrSameModemAloneIsNoTwin();
    void objectsWithoutSubdivisionAreNoTwins();
    void failedTwinCheckIsCodeTwo();

    void copiesEveryFieldInItsColumn();
    void copiesFromSuppliedTemplate();
    void copiesInTheOrderOfTheRows();
    void reservedPropertiesAreNotCopied();
    void templateWithoutRowsGivesABareObject_data();
    void templateWithoutRowsGivesABareObject();
    void copiesCodesAndNullsAsTheyAreStored();
    void shortDataGivesZerosAndEmpties();
    void templatesStayAsTheyWere();

    void failedStatementOfTheIdentityEndsTheCreation_data();
    void failedStatementOfTheIdentityEndsTheCreation();
    void failedRowsAreLeftOut_data();
    void failedRowsAreLeftOut();
    void failedFirstCommandLeavesTheNextWhole();
    void parametersOfAFailedCommandGoToTheOneWrittenLast();
    void unreadableTemplateGivesABareObject();
    void announcesOnlyWhatThisCommandCreated();

private:
    /// The one object's number, and its rows in their order.
    int object() { return m_site.database->value("SELECT max(\"Id\") FROM \"Objects\"").toInt(); }
    QStringList properties(int number);
    QStringList controls(int number);
    QStringList created();
    /// Template 5 of `table`: a card, two sensors, two commands.
    void giveTemplate(const QString &table, const QString &prefix);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestObjectsFromTemplates::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectsFromTemplates::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectsFromTemplates::cleanup()
{
    // A creation leaves no line in the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestObjectsFromTemplates::properties(int number)
{
    return m_site.database->rows(
        QStringLiteral("SELECT \"Name\", \"Description\", \"Type\", \"Value\", \"Visible\" FROM "
                       "\"Objects_property\" WHERE \"Id_objects\" = %1 ORDER BY \"Id\"")
            .arg(number));
}

QStringList TestObjectsFromTemplates::controls(int number)
{
    return m_site.database->rows(
        QStringLiteral("SELECT \"Name\" || coalesce((SELECT string_agg(' ' || \"Name\", '' ORDER BY \"Id\") FROM "
                       "\"Params\" WHERE \"Id_command\" = c.\"Id\"), '') FROM \"Commands\" c WHERE \"Id_object\" = %1 "
                       "ORDER BY \"Id\"")
            .arg(number));
}

QStringList TestObjectsFromTemplates::created()
{
    return {m_site.count("Objects"), m_site.count("Objects_property"), m_site.count("Sensors"),
            m_site.count("Commands"), m_site.count("Params")};
}

void TestObjectsFromTemplates::giveTemplate(const QString &table, const QString &prefix)
{
    m_site.give(table, 1, {5, 't', {}, prefix + "title", {}});
    m_site.give(table, 2, {5, 'p', prefix + "colour", "Colour", propertyData(2, "red", 't')});
    m_site.give(table, 3, {5, 'p', prefix + "plate", "Plate", propertyData(3, "A1", 'f')});
    m_site.give(table, 4, {5, 's', "", prefix + "speed", sensorData({"", "km/h", 1, 2, 't', {"a", "b"}, "x", "r"})});
    m_site.give(table, 5, {5, 's', "", prefix + "fuel", sensorData({"", "l", 3, 4, 'd', {}, "y", ""})});
    m_site.give(table, 6, {5, 'c', prefix + "stop", "Stop", commandData(7, "unit")});
    m_site.give(table, 7, {6, 'd', "when", "When", parameterData("now", 8)});
    m_site.give(table, 8, {6, 'd', "why", "Why", parameterData("", 9)});
    m_site.give(table, 9, {5, 'c', prefix + "go", "Go", commandData(10, "")});
    m_site.give(table, 10, {9, 'd', "where", "Where", parameterData("home", 11)});
}

void TestObjectsFromTemplates::answersAndAnnouncesWithKnownBytes()
{
    m_site.database->run("SELECT setval(pg_get_serial_sequence('\"Objects\"', 'Id'), 16)");
    m_admin.send(
        hex("00 00 00 54 CB 00 00 00 19 43 72 65 61 74 65 5F 6F 62 6A 5F 62 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
            "00 00 00 2E 00 00 00 05 00 00 00 02"
            "00 00 00 08 00 6E 00 61 00 6D 00 65 00 00 00 02 00 4E"
            "00 00 00 0A 00 6D 00 6F 00 64 00 65 00 6D 00 00 00 02 00 31 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 52 CA 00 00 00 19 43 72 65 61 74 65 5F 6F 62 6A 5F 62 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
             "00 00 00 19 43 72 65 61 74 65 5F 6F 62 6A 5F 62 79 5F 74 65 6D 70 6C 61 74 65 5F 76 32"
             "00 00 00 04 00 00 00 00 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 36 CA 00 00 00 0D 53 65 72 76 65 72 4D 65 73 73 61 67 65 00 00 00 09 53 61 76 65 64 43 "
                      "61 72 64 00 00 00 04 00 00 00 11 01 FF FF FF FF 00 00 00 00 00 00 FF FF FF FF"));
    QCOMPARE(properties(17), QStringList({shown(kName, "N"), shown(kModem, "1")}));
}

void TestObjectsFromTemplates::writesTheIdentityFirst()
{
    giveTemplate(kOwn, "");
    m_admin.send(create(5, identity("Car", "Garage", "17")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(m_site.database->rows("SELECT \"Id_owner\", \"Id_shema_sensors\", length(\"guid\") FROM \"Objects\""),
             QStringList("0|1|38"));
    QCOMPARE(properties(object()), QStringList({shown(kName, "Car"), shown(kSubdivision, "Garage"), shown(kModem, "17"),
                                                "colour|Colour|2|\\x726564|true", "plate|Plate|3|\\x4131|false"}));
}

void TestObjectsFromTemplates::givesEveryObjectAGuidOfItsOwn()
{
    m_admin.send(create(5, identity("a", "", "1")) + create(5, identity("a", "", "1")) +
                 create(5, identity("a", "", "1")));
    const int last = 3;
    for (int i = 0; i < last; ++i) {
        SAYS(m_admin, answered(0));
        SAYS(m_admin, savedCard(1000 + i));
    }
    const QStringList guids = m_site.database->rows("SELECT \"guid\" FROM \"Objects\" ORDER BY \"Id\"");
    QCOMPARE(guids.size(), last);
    // A random one: version 4 of the usual variant.
    static const QRegularExpression form(
        "\\A\\{[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\}\\z");
    for (const QString &guid : guids)
        QVERIFY2(guid.size() == 38 && form.match(guid).hasMatch(), qPrintable(guid));
    QCOMPARE(QSet<QString>(guids.begin(), guids.end()).size(), last);
}

void TestObjectsFromTemplates::leavesOutAnEmptySubdivision_data()
{
    QTest::addColumn<Pairs>("pairs");
    QTest::newRow("empty") << identity("a", "", "1");
    QTest::newRow("null") << identity("a", {}, "1");
    QTest::newRow("missing") << Pairs{{"name", "a"}, {"modem", "1"}};
}

void TestObjectsFromTemplates::leavesOutAnEmptySubdivision()
{
    QFETCH(Pairs, pairs);
    m_admin.send(create(5, pairs));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(properties(object()), QStringList({shown(kName, "a"), shown(kModem, "1")}));
}

void TestObjectsFromTemplates::storesIdentityAsBytes()
{
    const QString nul = QStringLiteral("a") + QChar(0) + "b";
    // Keys that are none of the three mean nothing.
    m_admin.send(
        create(5, {{"Name", "other"}, {"modem", nul}, {"name", kTexts}, {"plate", "x"}, {"subdivision", " "}}));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(properties(object()),
             QStringList({shown(kName, kTexts.toUtf8()), shown(kSubdivision, " "), shown(kModem, hex("61 00 62"))}));
}

void TestObjectsFromTemplates::refusesWithoutNameOrModem_data()
{
    QTest::addColumn<Pairs>("pairs");
    QTest::newRow("nothing") << Pairs();
    QTest::newRow("no name") << Pairs{{"modem", "1"}, {"subdivision", "s"}};
    QTest::newRow("no modem") << Pairs{{"name", "a"}, {"subdivision", "s"}};
    QTest::newRow("empty name") << identity("", "s", "1");
    QTest::newRow("empty modem") << identity("a", "s", "");
    QTest::newRow("null name") << identity({}, "s", "1");
    QTest::newRow("null modem") << identity("a", "s", {});
    QTest::newRow("both empty") << identity("", "", "");
    QTest::newRow("other spelling") << Pairs{{"Name", "a"}, {"Modem", "1"}};
}

void TestObjectsFromTemplates::refusesWithoutNameOrModem()
{
    QFETCH(Pairs, pairs);
    giveTemplate(kOwn, "");
    m_admin.send(create(5, pairs));
    SAYS(m_admin, answered(1));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(created(), QStringList(5, "0"));
}

void TestObjectsFromTemplates::refusesASecondOneOfSameSubdivisionAndModem()
{
    giveTemplate(kOwn, "");
    m_admin.send(create(5, identity("a", "Гараж", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    const QStringList before = created();
    m_admin.send(create(5, identity("another", "Гараж", "1")) + create(-5, identity("a", "Гараж", "1")));
    SAYS(m_admin, answered(3));
    SAYS(m_admin, answered(3));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(created(), before);
}

void TestObjectsFromTemplates::sameSubdivisionOrSameModemAloneIsNoTwin()
{
    // What is the same is spread over two objects, and in a third one stands under other names.
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES "
                         "(1,'subdivision','s'), (1,'modem','2'), (2,'subdivision','t'), (2,'modem','1'), "
                         "(3,'subdivision','1'), (3,'modem','s'), (4,'Subdivision','s'), (4,'modem','1'), "
                         "(5,'subdivision','S'), (5,'modem','1'), (6,'subdivision','s'), (6,'modem','1 ')");
    m_admin.send(create(5, identity("a", "s", "1")) + create(5, identity("a", "s", "2")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    SAYS(m_admin, answered(3));
}

void TestObjectsFromTemplates::objectsWithoutSubdivisionAreNoTwins()
{
    m_admin.send(create(5, identity("a", "", "1")) + create(5, identity("b", "", "1")));
    for (int i = 0; i < 2; ++i) {
        SAYS(m_admin, answered(0));
        SAYS(m_admin, savedCard(1000 + i));
    }
    // An object whose subdivision is there and empty is one.
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES "
                         "(1,'subdivision',''), (1,'modem','1')");
    m_admin.send(create(5, identity("c", "", "1")));
    SAYS(m_admin, answered(3));
    QCOMPARE(m_site.count("Objects"), "2");
}

void TestObjectsFromTemplates::failedTwinCheckIsCodeTwo()
{
    giveTemplate(kOwn, "");
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"Objects_property\"");
        m_admin.send(create(5, identity("a", "s", "1")) + create(5, identity("", "s", "1")));
        SAYS(m_admin, answered(2));
        // Where name or number is missing nobody asks the database.
        SAYS(m_admin, answered(1));
        SAYS_NOTHING_MORE(m_admin);
    }
    QCOMPARE(created(), QStringList(5, "0"));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Create_obj_by_template_v2"));
}

void TestObjectsFromTemplates::copiesEveryFieldInItsColumn()
{
    giveTemplate(kOwn, "");
    m_admin.send(create(5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(object(), 1000);
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\", \"Name\", \"Measure\", \"Type\", \"Calculate\", \"Vid\", "
                                   "\"Quality\", \"Enum\", \"Rate\" FROM \"Sensors\" ORDER BY \"Id\""),
             QStringList({"1000|speed|km/h|2|x|t|1|a;b|\\x72", "1000|fuel|l|4|y|d|3||\\x"}));
    QCOMPARE(m_site.database->rows("SELECT \"Id_object\", \"Name\", \"Operation\", \"Description\", \"ExecBy\" FROM "
                                   "\"Commands\" ORDER BY \"Id\""),
             QStringList({"1000|stop|7|Stop|\\x756e6974", "1000|go|10|Go|\\x"}));
    QCOMPARE(m_site.database->rows("SELECT c.\"Name\" AS command, p.\"Name\", p.\"Description\", p.\"Value\", "
                                   "p.\"Type\" FROM \"Params\" p LEFT JOIN \"Commands\" c ON c.\"Id\" = "
                                   "p.\"Id_command\" ORDER BY p.\"Id\""),
             QStringList({"stop|when|When|\\x6e6f77|8", "stop|why|Why|\\x|9", "go|where|Where|\\x686f6d65|11"}));
}

void TestObjectsFromTemplates::copiesFromSuppliedTemplate()
{
    giveTemplate(kOwn, "own ");
    giveTemplate(kSupplied, "supplied ");
    m_admin.send(create(-5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(properties(object()).mid(2),
             QStringList({"supplied colour|Colour|2|\\x726564|true", "supplied plate|Plate|3|\\x4131|false"}));
    QCOMPARE(m_site.database->rows("SELECT \"Name\" FROM \"Sensors\" ORDER BY \"Id\""),
             QStringList({"supplied speed", "supplied fuel"}));
    QCOMPARE(controls(object()), QStringList({"supplied stop when why", "supplied go where"}));
}

void TestObjectsFromTemplates::copiesInTheOrderOfTheRows()
{
    QStringList names;
    for (int i = 0; i < 150; ++i) {
        names += QString::number(i * 7919 % 150);
        m_site.give(kOwn, 600 - i, {5, 's', "", QString::number(149 - i), sensorData({})});
        m_site.give(kOwn, i, {5, 'p', names.last(), "", propertyData(1, "v", 't')});
    }
    m_site.give(kOwn, 400, {5, 'c', "late", "", commandData(1, "")});
    m_site.give(kOwn, 300, {5, 'c', "early", "", commandData(2, "")});
    m_site.give(kOwn, 320, {400, 'd', "b", "", parameterData("", 1)});
    m_site.give(kOwn, 310, {400, 'd', "a", "", parameterData("", 1)});
    m_site.give(kOwn, 330, {300, 'd', "c", "", parameterData("", 1)});
    m_admin.send(create(5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(m_site.database->rows("SELECT \"Name\" FROM \"Objects_property\" ORDER BY \"Id\"").mid(2), names);
    QStringList sensors;
    for (int i = 0; i < 150; ++i)
        sensors += QString::number(i);
    QCOMPARE(m_site.database->rows("SELECT \"Name\" FROM \"Sensors\" ORDER BY \"Id\""), sensors);
    QCOMPARE(controls(object()), QStringList({"early c", "late a b"}));
}

void TestObjectsFromTemplates::reservedPropertiesAreNotCopied()
{
    int id = 0;
    for (const char *name : {"name", "subdivision", "modem", "Modem"})
        m_site.give(kSupplied, ++id, {5, 'p', name, "of the template", propertyData(1, "v", 't')});
    m_admin.send(create(-5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(properties(object()),
             QStringList({shown(kName, "a"), shown(kModem, "1"), "Modem|of the template|1|\\x76|true"}));
}

void TestObjectsFromTemplates::templateWithoutRowsGivesABareObject_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {4711, -4711, 0, 2147483647, -2147483647})
        QTest::newRow(QByteArray::number(number).constData()) << number;
}

void TestObjectsFromTemplates::templateWithoutRowsGivesABareObject()
{
    QFETCH(int, number);
    giveTemplate(kOwn, "");
    giveTemplate(kSupplied, "");
    m_admin.send(create(number, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(created(), QStringList({"1", "2", "0", "0", "0"}));
}

void TestObjectsFromTemplates::copiesCodesAndNullsAsTheyAreStored()
{
    m_site.give(kOwn, 1, {5, 'p', "none", {}, propertyData(int(0x80000000), {}, 0)});
    m_site.give(kOwn, 2, {5, 'p', "empty", "", propertyData(2147483647, "", '1')});
    m_site.give(kOwn, 3, {5, 's', "", {}, sensorData({{}, {}, 0, -32768, 0, {}, {}, {}})});
    m_site.give(kOwn, 4, {5, 's', "", "", sensorData({"", "", 0, 32767, 255, {"a"}, "", ""})});
    m_site.give(kOwn, 5,
                {5, 's', "", kTexts, sensorData({"", kTexts, 0, 0, 0x44F, {"a;b", "", "c"}, kTexts, "\\x41"})});
    m_site.give(kOwn, 6, {5, 'c', {}, {}, commandData(int(0x80000000), {})});
    m_site.give(kOwn, 7, {6, 'd', {}, {}, parameterData({}, 2147483647)});
    m_admin.send(create(5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(properties(object()).mid(2),
             QStringList({"none|NULL|-2147483648|NULL|NULL", "empty||2147483647|\\x|true"}));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Measure\", \"Type\", \"Vid\", \"Enum\", \"Calculate\", \"Rate\" "
                                   "FROM \"Sensors\" ORDER BY \"Id\""),
             QStringList({"NULL|NULL|-32768|||NULL|NULL", QString::fromUtf8("||32767|ÿ|a||\\x"),
                          kTexts + "|" + kTexts + QString::fromUtf8("|0|я|a;b;;c|") + kTexts + "|\\x5c783431"}));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Operation\", \"Description\", \"ExecBy\" FROM \"Commands\""),
             QStringList("NULL|-2147483648|NULL|NULL"));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Description\", \"Value\", \"Type\" FROM \"Params\""),
             QStringList("NULL|NULL|NULL|2147483647"));
}

void TestObjectsFromTemplates::shortDataGivesZerosAndEmpties()
{
    m_site.give(kOwn, 1, {5, 'p', "a", "d", propertyData(1, "v", 't')});
    m_site.give(kOwn, 2, {5, 'p', "b", "d", {}});
    m_site.give(kOwn, 3, {5, 's', "", "a", sensorData({"", "m", 1, 2, 't', {"on"}, "c", "r"})});
    m_site.give(kOwn, 4, {5, 's', "", "b", hex("00 00")});
    m_site.give(kOwn, 5, {5, 'c', "a", "d", commandData(1, "e")});
    m_site.give(kOwn, 6, {5, 'd', "a", "d", parameterData("v", 1)});
    m_site.give(kOwn, 7, {5, 'c', "b", "d", {}});
    m_site.give(kOwn, 8, {7, 'd', "b", "d", {}});
    m_admin.send(create(5, identity("a", "", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(m_site.database->rows("SELECT \"Type\", coalesce(\"Value\", ''), \"Visible\" FROM \"Objects_property\" "
                                   "WHERE \"Name\" = 'b'"),
             QStringList("0|\\x|NULL"));
    QCOMPARE(
        m_site.database->rows("SELECT coalesce(\"Measure\", ''), \"Type\", coalesce(\"Calculate\", ''), \"Vid\", "
                              "\"Quality\", \"Enum\", coalesce(\"Rate\", '') FROM \"Sensors\" WHERE \"Name\" = 'b'"),
        QStringList("|0|||0||\\x"));
    QCOMPARE(m_site.database->rows("SELECT \"Operation\", coalesce(\"ExecBy\", '') FROM \"Commands\" WHERE \"Name\" = "
                                   "'b'"),
             QStringList("0|\\x"));
    QCOMPARE(m_site.database->rows("SELECT coalesce(\"Value\", ''), \"Type\" FROM \"Params\" WHERE \"Name\" = 'b'"),
             QStringList("\\x|0"));
}

void TestObjectsFromTemplates::templatesStayAsTheyWere()
{
    giveTemplate(kOwn, "");
    giveTemplate(kSupplied, "");
    const QStringList before = m_site.written(kOwn) + m_site.written(kSupplied);
    m_admin.send(create(5, identity("a", "", "1")) + create(-5, identity("a", "", "1")));
    for (int i = 0; i < 2; ++i) {
        SAYS(m_admin, answered(0));
        SAYS(m_admin, savedCard(1000 + i));
    }
    QCOMPARE(m_site.written(kOwn) + m_site.written(kSupplied), before);
}

void TestObjectsFromTemplates::failedStatementOfTheIdentityEndsTheCreation_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("condition");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("object") << "\"Objects\""
                            << "true" << QStringList();
    QTest::newRow("name") << "\"Objects_property\""
                          << "NEW.\"Name\" = 'name'" << QStringList();
    QTest::newRow("subdivision") << "\"Objects_property\""
                                 << "NEW.\"Name\" = 'subdivision'" << QStringList(shown(kName, "a"));
    QTest::newRow("modem") << "\"Objects_property\""
                           << "NEW.\"Name\" = 'modem'" << QStringList({shown(kName, "a"), shown(kSubdivision, "s")});
}

void TestObjectsFromTemplates::failedStatementOfTheIdentityEndsTheCreation()
{
    QFETCH(QString, table);
    QFETCH(QString, condition);
    QFETCH(QStringList, left);
    giveTemplate(kOwn, "");
    const support::StatementFault fault(*m_site.database, table, "INSERT", condition);
    m_admin.send(create(5, identity("a", "s", "1")));
    SAYS(m_admin, answered(2));
    SAYS_NOTHING_MORE(m_admin);
    // What was written stays.
    const bool objectFailed = table == "\"Objects\"";
    QCOMPARE(created(), QStringList({objectFailed ? "0" : "1", QString::number(left.size()), "0", "0", "0"}));
    QCOMPARE(properties(object()), left);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Create_obj_by_template_v2"));
}

void TestObjectsFromTemplates::failedRowsAreLeftOut_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("bad");
    QTest::addColumn<QString>("properties");
    QTest::addColumn<QString>("sensors");
    QTest::addColumn<QStringList>("controls");
    const QStringList all = {"stop when why", "go where"};
    QTest::newRow("property") << "Objects_property"
                              << "colour"
                              << "plate"
                              << "speed,fuel" << all;
    QTest::newRow("sensor") << "Sensors"
                            << "speed"
                            << "colour,plate"
                            << "fuel" << all;
    QTest::newRow("last sensor") << "Sensors"
                                 << "fuel"
                                 << "colour,plate"
                                 << "speed" << all;
    QTest::newRow("parameter") << "Params"
                               << "when"
                               << "colour,plate"
                               << "speed,fuel" << QStringList({"stop why", "go where"});
    QTest::newRow("last parameter") << "Params"
                                    << "where"
                                    << "colour,plate"
                                    << "speed,fuel" << QStringList({"stop when why", "go"});
    QTest::newRow("command") << "Commands"
                             << "last"
                             << "colour,plate"
                             << "speed,fuel" << all;
}

void TestObjectsFromTemplates::failedRowsAreLeftOut()
{
    QFETCH(QString, table);
    QFETCH(QString, bad);
    QFETCH(QString, properties);
    QFETCH(QString, sensors);
    QFETCH(QStringList, controls);
    giveTemplate(kOwn, "");
    if (bad == "last")
        m_site.give(kOwn, 20, {5, 'c', "last", "", commandData(1, "")});
    const support::StatementFault fault(*m_site.database, "\"" + table + "\"", "INSERT",
                                        "NEW.\"Name\" = '" + bad + "'");
    m_admin.send(create(5, identity("a", "s", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    m_failedStatements = 1;
    const auto names = [this](const QString &from) {
        return m_site.database->rows("SELECT \"Name\" FROM \"" + from + "\" ORDER BY \"Id\"").join(',');
    };
    QCOMPARE(names("Objects_property"), "name,subdivision,modem," + properties);
    QCOMPARE(names("Sensors"), sensors);
    QCOMPARE(this->controls(object()), controls);
    QCOMPARE(m_site.count("Params"), QString::number(controls.join("").count(' ')));
}

void TestObjectsFromTemplates::failedFirstCommandLeavesTheNextWhole()
{
    giveTemplate(kOwn, "");
    const support::StatementFault fault(*m_site.database, "\"Commands\"", "INSERT", "NEW.\"Name\" = 'stop'");
    m_admin.send(create(5, identity("a", "s", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(controls(object()), QStringList("go where"));
    m_failedStatements = 1;
}

void TestObjectsFromTemplates::parametersOfAFailedCommandGoToTheOneWrittenLast()
{
    giveTemplate(kOwn, "");
    const support::StatementFault fault(*m_site.database, "\"Commands\"", "INSERT", "NEW.\"Name\" = 'go'");
    m_admin.send(create(5, identity("a", "s", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(object()));
    QCOMPARE(controls(object()), QStringList("stop when why where"));
    m_failedStatements = 1;
}

void TestObjectsFromTemplates::unreadableTemplateGivesABareObject()
{
    giveTemplate(kOwn, "");
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"Templates\"");
        m_admin.send(create(5, identity("a", "", "1")));
        SAYS(m_admin, answered(0));
        SAYS(m_admin, savedCard(object()));
    }
    QCOMPARE(created(), QStringList({"1", "2", "0", "0", "0"}));
    // Card, sensors and the count of the commands.
    m_failedStatements = 3;
}

void TestObjectsFromTemplates::announcesOnlyWhatThisCommandCreated()
{
    m_admin.send(create(5, identity("a", "s", "1")) + create(5, identity("a", "s", "1")) + create(5, Pairs()) +
                 support::command("Get_template_list_v2", {}, kOperator) + create(5, identity("b", "t", "1")));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(1000));
    SAYS(m_admin, answered(3));
    SAYS(m_admin, answered(1));
    SAYS(m_admin, support::answer("Get_template_list_v2", i32(0), kOperator));
    SAYS(m_admin, answered(0));
    SAYS(m_admin, savedCard(1001));
}

QTEST_GUILESS_MAIN(TestObjectsFromTemplates)
#include "test_objects_from_templates.moc"

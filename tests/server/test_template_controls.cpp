// The two commands on the controls of a template: remote-control commands with their parameters.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::commandData;
using support::CommandFields;
using support::commandRecord;
using support::Field;
using support::hex;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::parameterData;
using support::ParameterFields;
using support::parameterRecord;
using support::said;
using support::text;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray get(qint64 number)
{
    return support::command("Get_template_controls_v2", i32(number), kOperator);
}

/// `number` is the one answered, which has no sign.
QByteArray controls(int number, int count, const QByteArrayList &records)
{
    return support::answer("Get_template_controls_v2", i32(number) + i32(count) + records.join(), kOperator);
}

/// `records`: commands, each followed by its parameters.
QByteArray save(int number, int count, const QByteArrayList &records)
{
    return support::command("Save_template_controls_v2", i32(number) + i32(count) + records.join(), kOperator);
}

QByteArray saved()
{
    return support::emptyAnswer("Save_template_controls_v2", kOperator);
}

QByteArrayList withParameters(const QString &name, const QByteArrayList &parameters)
{
    QByteArrayList result{commandRecord({.name = name, .numParams = parameters.size()})};
    for (const QByteArray &parameter : parameters)
        result += parameterRecord({.name = parameter});
    return result;
}

/// While it lives, row 99 of "Templates" is there for the statements in whose turn `condition` holds: every statement
/// that comes across the row counts one more.
class FleetingRow
{
public:
    FleetingRow(support::TestDatabase &database, const QString &condition)
        : m_database(database)
    {
        m_database.run("CREATE SEQUENCE test_turn");
        m_database.run("CREATE FUNCTION test_seen() RETURNS boolean LANGUAGE sql VOLATILE SECURITY DEFINER AS "
                       "$$ SELECT nextval('public.test_turn') " +
                       condition + " $$");
        m_database.run("ALTER TABLE \"Templates\" RENAME TO test_templates");
        m_database.run("CREATE VIEW \"Templates\" AS SELECT * FROM test_templates WHERE \"Id\" <> 99 OR test_seen()");
        m_database.run("GRANT SELECT ON \"Templates\" TO objects_service");
    }
    ~FleetingRow()
    {
        m_database.run("DROP VIEW \"Templates\"");
        m_database.run("ALTER TABLE test_templates RENAME TO \"Templates\"");
        m_database.run("DROP FUNCTION test_seen");
        m_database.run("DROP SEQUENCE test_turn");
    }
    Q_DISABLE_COPY_MOVE(FleetingRow)

private:
    support::TestDatabase &m_database;
};

} // namespace

class TestTemplateControls : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersControlsWithKnownBytes();
    void answersTemplateWithoutControlsWithCountZero();
    void answersCommandWithAndWithoutParameters();
    void answersCommandsAndParametersInTheOrderOfTheirRows();
    void answersSuppliedControlsUnderTheNumberWithoutSign();
    void saysNothingWhenTheCountFails_data();
    void saysNothingWhenTheCountFails();
    void answersTheCountAloneWhenTheRowsFail_data();
    void answersTheCountAloneWhenTheRowsFail();
    void countAndRowsAreTwoLooks_data();
    void countAndRowsAreTwoLooks();
    void firstCommandOfNumberZeroIsCountedOnly();
    void answersNullColumns();
    void unpacksEveryBeginningOfACommand();
    void unpacksEveryBeginningOfAParameter();

    void savesEveryFieldInItsColumn();
    void valuesComeBackAsTheyWent_data();
    void valuesComeBackAsTheyWent();
    void savesNullAsNullAndEmptyAsEmpty();
    void parameterNamesAreText();
    void saveReplacesTheControlsAlone();
    void saveSparesParametersOfOtherCommands();
    void savingNothingOnlyDeletes();
    void savesWithoutHead_data();
    void savesWithoutHead();
    void negativeNumberOfParametersIsNone_data();
    void negativeNumberOfParametersIsNone();
    void saveStopsAtTheFirstFailedCommand_data();
    void saveStopsAtTheFirstFailedCommand();
    void saveStopsAtTheFirstFailedParameter();
    void nulInATextStopsTheSave_data();
    void nulInATextStopsTheSave();
    void failedDeletionKeepsTheOldControlsInFront_data();
    void failedDeletionKeepsTheOldControlsInFront();

private:
    void giveCommand(const QString &table, int id, int owner, const CommandFields &command);
    void giveParameter(const QString &table, int command, const ParameterFields &parameter);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestTemplateControls::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateControls::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestTemplateControls::cleanup()
{
    // None of these commands announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestTemplateControls::giveCommand(const QString &table, int id, int owner, const CommandFields &command)
{
    m_site.give(table, id,
                {owner, 'c', command.name, command.description, commandData(command.operation, command.execBy)});
}

void TestTemplateControls::giveParameter(const QString &table, int command, const ParameterFields &parameter)
{
    m_site.give(table, parameter.id,
                {command, 'd', QString::fromUtf8(parameter.name), parameter.description,
                 parameterData(parameter.value, parameter.type)});
}

void TestTemplateControls::answersControlsWithKnownBytes()
{
    m_site.give(kSupplied, 5, {3, 'c', "C", "d", hex("00 00 00 02 00 00 00 01 FF")});
    m_site.give(kSupplied, 7, {5, 'd', "p", "q", hex("00 00 00 02 01 00 00 00 00 03")});
    m_admin.send(
        hex("00 00 00 29 CB 00 00 00 18 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32 "
            "00 00 00 04 FF FF FF FD 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 8A CA 00 00 00 18 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32"
             "00 00 00 18 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 6F 6E 74 72 6F 6C 73 5F 76 32"
             "00 00 00 3E 00 00 00 03 00 00 00 01"
             "00 00 00 05 00 00 00 02 00 43 00 00 00 02 00 64 00 00 00 02 00 00 00 01 FF 00 00 00 01"
             "00 00 00 01 70 00 00 00 02 01 00 00 00 00 02 00 71 00 00 00 03 00 00 00 07"
             "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestTemplateControls::answersTemplateWithoutControlsWithCountZero()
{
    for (const QString &table : {kOwn, kSupplied}) {
        m_site.give(table, 500, {5, 't', {}, "title", {}});
        for (const char kind : {'p', 's', 'd'})
            m_site.give(table, kind, {5, kind, "name", "", {}});
        giveCommand(table, 600, 6, {.name = "of another"});
    }
    m_admin.send(get(5) + get(-5) + get(0) + get(4711) + get(-4711));
    for (const int number : {5, 5, 0, 4711, 4711})
        SAYS(m_admin, controls(number, 0, {}));
}

void TestTemplateControls::answersCommandWithAndWithoutParameters()
{
    giveCommand(kOwn, 10, 5, {"first", "A", 1, "x"});
    giveParameter(kOwn, 10, {"a", "1", "of first", 3, 11});
    giveParameter(kOwn, 10, {"b", "2", "of first too", 4, 12});
    giveCommand(kOwn, 13, 5, {"second", "B", 2, "y"});
    m_admin.send(get(5));
    SAYS(m_admin,
         controls(5, 2,
                  {commandRecord({"first", "A", 1, "x", 2, 10}), parameterRecord({"a", "1", "of first", 3, 11}),
                   parameterRecord({"b", "2", "of first too", 4, 12}), commandRecord({"second", "B", 2, "y", 0, 13})}));
}

void TestTemplateControls::answersCommandsAndParametersInTheOrderOfTheirRows()
{
    const QByteArray every = support::everyByte();
    giveCommand(kOwn, 905, 5, {"a", "last", 2147483647, every});
    giveCommand(kOwn, -7, 5, {"z", "first", int(0x80000000), ""});
    giveCommand(kOwn, 900, 6, {"of another", "", 0, ""});
    giveCommand(kOwn, 20, 5, {"z", "without", 1, "u"});
    giveCommand(kOwn, 30, 5, {"m", "second", 1, "u"});
    giveParameter(kOwn, -7, {"x", every, "", 2147483647, 802});
    giveParameter(kOwn, 905, {"y", "", "", int(0x80000000), 803});
    giveParameter(kOwn, -7, {"x", "again", "", 0, -801});
    giveParameter(kOwn, 900, {"of another", "", "", 0, 800});
    giveParameter(kOwn, 30, {"w", "", "", 1, 804});
    giveParameter(kOwn, -7, {"a", "", "", 1, 805});
    // Of a row that is no command.
    m_site.give(kOwn, 40, {5, 'p', "property", "", {}});
    giveParameter(kOwn, 40, {"of a property", "", "", 1, 806});
    m_admin.send(get(5));
    SAYS(m_admin,
         controls(5, 4,
                  {commandRecord({"z", "first", int(0x80000000), "", 3, -7}),
                   parameterRecord({"x", "again", "", 0, -801}), parameterRecord({"x", every, "", 2147483647, 802}),
                   parameterRecord({"a", "", "", 1, 805}), commandRecord({"z", "without", 1, "u", 0, 20}),
                   commandRecord({"m", "second", 1, "u", 1, 30}), parameterRecord({"w", "", "", 1, 804}),
                   commandRecord({"a", "last", 2147483647, every, 1, 905}),
                   parameterRecord({"y", "", "", int(0x80000000), 803})}));
}

void TestTemplateControls::answersSuppliedControlsUnderTheNumberWithoutSign()
{
    // Rows of one number in both tables have nothing to do with each other.
    giveCommand(kOwn, 1, 3, {.name = "own"});
    giveParameter(kOwn, 1, {.name = "of own", .id = 2});
    giveParameter(kOwn, 1, {.name = "of own too", .id = 3});
    giveCommand(kSupplied, 1, 3, {.name = "supplied"});
    giveParameter(kSupplied, 1, {.name = "of supplied", .id = 2});
    m_admin.send(get(-3) + get(3));
    SAYS(m_admin, controls(3, 1,
                           {commandRecord({.name = "supplied", .numParams = 1, .id = 1}),
                            parameterRecord({.name = "of supplied", .id = 2})}));
    SAYS(m_admin,
         controls(3, 1,
                  {commandRecord({.name = "own", .numParams = 2, .id = 1}),
                   parameterRecord({.name = "of own", .id = 2}), parameterRecord({.name = "of own too", .id = 3})}));
}

void TestTemplateControls::saysNothingWhenTheCountFails_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<int>("number");
    QTest::newRow("own") << kOwn << 3;
    QTest::newRow("supplied") << kSupplied << -3;
}

void TestTemplateControls::saysNothingWhenTheCountFails()
{
    QFETCH(QString, table);
    QFETCH(int, number);
    giveCommand(table, 1, 3, {.name = "a"});
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"" + table + "\"");
        m_admin.send(get(number) + get(-number));
        SAYS(m_admin, support::emptyAnswer("Get_template_controls_v2", kOperator));
        SAYS(m_admin, controls(3, 0, {}));
    }
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_template_controls_v2"));
    m_admin.send(get(number));
    SAYS(m_admin, controls(3, 1, {commandRecord({.name = "a", .id = 1})}));
}

void TestTemplateControls::answersTheCountAloneWhenTheRowsFail_data()
{
    saysNothingWhenTheCountFails_data();
}

void TestTemplateControls::answersTheCountAloneWhenTheRowsFail()
{
    QFETCH(QString, table);
    QFETCH(int, number);
    giveCommand(table, 1, 3, {.name = "a", .numParams = 1});
    giveParameter(table, 1, {.name = "p", .id = 2});
    giveCommand(table, 3, 3, {.name = "b"});
    {
        // The count reads two columns, the rows all.
        const support::RightTaken taken(*m_site.database, "SELECT", "\"" + table + "\"");
        const QString columns = "SELECT (\"Owner\", \"Class\") ON \"" + table + "\"";
        m_site.database->run("GRANT " + columns + " TO objects_service");
        m_admin.send(get(number));
        SAYS(m_admin, controls(3, 2, {}));
        m_site.database->run("REVOKE " + columns + " FROM objects_service");
    }
    m_failedStatements = 1;
}

void TestTemplateControls::countAndRowsAreTwoLooks_data()
{
    QTest::addColumn<QString>("condition");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("answered");
    QTest::newRow("the command comes between") << "> 1" << 1 << true;
    QTest::newRow("the command goes between") << "= 1" << 2 << false;
}

void TestTemplateControls::countAndRowsAreTwoLooks()
{
    QFETCH(QString, condition);
    QFETCH(int, count);
    QFETCH(bool, answered);
    giveCommand(kOwn, 10, 5, {.name = "stays"});
    giveCommand(kOwn, 99, 5, {.name = "fleeting"});
    giveParameter(kOwn, 99, {.name = "p", .id = 100});
    const FleetingRow row(*m_site.database, condition);
    m_admin.send(get(5));
    QByteArrayList records{commandRecord({.name = "stays", .id = 10})};
    if (answered)
        records +=
            {commandRecord({.name = "fleeting", .numParams = 1, .id = 99}), parameterRecord({.name = "p", .id = 100})};
    SAYS(m_admin, controls(5, count, records));
}

void TestTemplateControls::firstCommandOfNumberZeroIsCountedOnly()
{
    // The number before the first command is 0, so a command of that number does not begin.
    giveCommand(kOwn, 0, 5, {.name = "zero"});
    giveParameter(kOwn, 0, {.name = "of zero", .id = 1});
    giveCommand(kOwn, 10, 5, {.name = "ten"});
    m_admin.send(get(5));
    SAYS(m_admin, controls(5, 2, {commandRecord({.name = "ten", .id = 10})}));
    giveCommand(kOwn, -10, 5, {.name = "minus ten"});
    m_admin.send(get(5));
    SAYS(m_admin, controls(5, 3,
                           {commandRecord({.name = "minus ten", .id = -10}),
                            commandRecord({.name = "zero", .numParams = 1, .id = 0}),
                            parameterRecord({.name = "of zero", .id = 1}), commandRecord({.name = "ten", .id = 10})}));
}

void TestTemplateControls::answersNullColumns()
{
    giveCommand(kOwn, 1, 5, {{}, {}, 7, {}});
    giveParameter(kOwn, 1, {{}, {}, {}, 8, 2});
    giveCommand(kOwn, 3, 5, {"", "", 7, ""});
    giveParameter(kOwn, 3, {"", "", "", 8, 4});
    m_admin.send(get(5));
    SAYS(m_admin, controls(5, 2,
                           {commandRecord({{}, {}, 7, {}, 1, 1}), parameterRecord({{}, {}, {}, 8, 2}),
                            commandRecord({"", "", 7, "", 1, 3}), parameterRecord({"", "", "", 8, 4})}));
}

void TestTemplateControls::unpacksEveryBeginningOfACommand()
{
    const QByteArray whole = commandData(0x01020304, "unit");
    giveCommand(kOwn, 1, 5, {"before", "before", -1, "before"});
    m_site.give(kOwn, 2, {5, 'c', "a", "d", {}});
    for (int size = -1; size <= whole.size(); ++size) {
        m_site.database->run(
            size < 0 ? QStringLiteral("UPDATE \"Templates\" SET \"SpecificData\" = NULL WHERE \"Id\" = 2")
                     : QStringLiteral("UPDATE \"Templates\" SET \"SpecificData\" = '\\x%1' WHERE \"Id\" = 2")
                           .arg(QString::fromLatin1(whole.left(size).toHex())));
        m_admin.send(get(5));
        QByteArrayList expected;
        for (const QByteArray &record :
             support::spellings({i32(2) + text("a") + text("d"), i32(size < 4 ? 0 : 0x01020304),
                                 size < whole.size() ? Field() : Field(support::bytes("unit")), i32(0)}))
            expected += controls(5, 2, {commandRecord({"before", "before", -1, "before", 0, 1}), record});
        SAYS_ONE_OF(m_admin, expected);
    }
}

void TestTemplateControls::unpacksEveryBeginningOfAParameter()
{
    const QByteArray whole = parameterData("value", 0x01020304);
    giveCommand(kOwn, 1, 5, {.name = "c"});
    giveParameter(kOwn, 1, {"before", "before", "before", -1, 2});
    m_site.give(kOwn, 3, {1, 'd', "p", "q", {}});
    for (int size = -1; size <= whole.size(); ++size) {
        m_site.database->run(
            size < 0 ? QStringLiteral("UPDATE \"Templates\" SET \"SpecificData\" = NULL WHERE \"Id\" = 3")
                     : QStringLiteral("UPDATE \"Templates\" SET \"SpecificData\" = '\\x%1' WHERE \"Id\" = 3")
                           .arg(QString::fromLatin1(whole.left(size).toHex())));
        m_admin.send(get(5));
        QByteArrayList expected;
        for (const QByteArray &record :
             support::spellings({support::bytes("p"), size < 4 + 5 ? Field() : Field(support::bytes("value")),
                                 text("q"), i32(size < whole.size() ? 0 : 0x01020304), i32(3)}))
            expected += controls(5, 1,
                                 {commandRecord({.name = "c", .numParams = 2, .id = 1}),
                                  parameterRecord({"before", "before", "before", -1, 2}), record});
        SAYS_ONE_OF(m_admin, expected);
    }
}

void TestTemplateControls::savesEveryFieldInItsColumn()
{
    // The records' own ids are nobody's: rows get theirs from the database.
    m_admin.send(save(
        5, 1, {commandRecord({"C", "d", 2, hex("FF"), 1, 4711}), parameterRecord({"p", hex("01 00"), "q", 3, 4712})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.count(kOwn, "\"Id\" IN (4711, 4712)"), "0");
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Templates\" WHERE \"Class\" = 'c'").toInt();
    QCOMPARE(m_site.stored(kOwn),
             QStringList({"5|c|C|d|\\x0000000200000001ff", QString::number(id) + "|d|p|q|\\x00000002010000000003"}));
}

void TestTemplateControls::valuesComeBackAsTheyWent_data()
{
    QTest::addColumn<CommandFields>("command");
    QTest::addColumn<ParameterFields>("parameter");
    QTest::newRow("texts") << CommandFields{kTexts, kTexts, 1, "e", 2}
                           << ParameterFields{kTexts.toUtf8(), "v", kTexts, 2};
    QTest::newRow("empties") << CommandFields{"", "", 0, "", 2} << ParameterFields{"", "", "", 0};
    QTest::newRow("nulls") << CommandFields{{}, {}, 0, {}, 2} << ParameterFields{{}, {}, {}, 0};
    QTest::newRow("every byte") << CommandFields{"c", "d", 1, support::everyByte(), 2}
                                << ParameterFields{"p", support::everyByte(), "q", 2};
    QTest::newRow("greatest codes") << CommandFields{"c", "d", 2147483647, "e", 2}
                                    << ParameterFields{"p", "v", "q", 2147483647};
    QTest::newRow("smallest codes") << CommandFields{"c", "d", int(0x80000000), "e", 2}
                                    << ParameterFields{"p", "v", "q", int(0x80000000)};
    QTest::newRow("hexadecimal look") << CommandFields{"\\x41", "\\x42", 1, "\\x43", 2}
                                      << ParameterFields{"\\x44", "\\x45", "\\x46", 2};
    QTest::newRow("100 KB") << CommandFields{QString(5000, 'n'), QString(5000, 'd'), 1,
                                             support::everyByte().repeated(400), 2}
                            << ParameterFields{QByteArray(5000, 'p'), support::everyByte().repeated(400),
                                               QString(5000, 'q'), 2};
}

void TestTemplateControls::valuesComeBackAsTheyWent()
{
    QFETCH(CommandFields, command);
    QFETCH(ParameterFields, parameter);
    m_admin.send(save(5, 1, {commandRecord(command), parameterRecord(parameter), parameterRecord(parameter)}));
    SAYS(m_admin, saved());
    const QStringList ids = m_site.database->rows("SELECT \"Id\" FROM \"Templates\" ORDER BY \"Id\"");
    QCOMPARE(ids.size(), 3);
    const QString packed = said({ids[0].toInt(), 'd', QString::fromUtf8(parameter.name), parameter.description,
                                 parameterData(parameter.value, parameter.type)});
    QCOMPARE(
        m_site.stored(kOwn),
        QStringList({said({5, 'c', command.name, command.description, commandData(command.operation, command.execBy)}),
                     packed, packed}));
    ParameterFields first = parameter;
    command.id = ids[0].toInt();
    first.id = ids[1].toInt();
    parameter.id = ids[2].toInt();
    m_admin.send(get(5));
    SAYS(m_admin, controls(5, 1, {commandRecord(command), parameterRecord(first), parameterRecord(parameter)}));
}

void TestTemplateControls::savesNullAsNullAndEmptyAsEmpty()
{
    m_admin.send(save(5, 2,
                      {commandRecord({{}, {}, 0, {}, 1}), parameterRecord({{}, {}, {}, 0}),
                       commandRecord({"", "", 0, "", 1}), parameterRecord({"", "", "", 0})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.database->rows(
                 "SELECT \"Class\", \"Name\", \"Description\", \"SpecificData\" FROM \"Templates\" ORDER BY \"Id\""),
             QStringList({"c|NULL|NULL|\\x00000000ffffffff", "d|NULL|NULL|\\xffffffff00000000",
                          "c|||\\x0000000000000000", "d|||\\x0000000000000000"}));
}

void TestTemplateControls::parameterNamesAreText()
{
    m_admin.send(save(5, 1,
                      {commandRecord({.name = "c", .numParams = 2}), parameterRecord({.name = hex("D1 8F")}),
                       parameterRecord({.name = hex("61 FF 62")})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(5), QStringList(QString::fromUtf8("c я a\uFFFDb")));
}

void TestTemplateControls::saveReplacesTheControlsAlone()
{
    for (const QString &table : {kOwn, kSupplied}) {
        giveCommand(table, 1, 5, {.name = "old"});
        giveParameter(table, 1, {.name = "of old", .id = 2});
        giveCommand(table, 3, 5, {.name = "old too"});
        giveParameter(table, 3, {.name = "of old too", .id = 4});
        m_site.give(table, 10, {5, 't', {}, "title", "x"});
        m_site.give(table, 11, {5, 'p', "property", "", "x"});
        m_site.give(table, 12, {5, 's', "", "sensor", "x"});
        giveCommand(table, 13, 6, {.name = "of another"});
        giveParameter(table, 13, {.name = "of that", .id = 14});
    }
    const QStringList others = m_site.written(kOwn).mid(4);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(
        save(5, 3, withParameters("b", {"z", "y", "z"}) + withParameters("a", {}) + withParameters("b", {"x"})));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.written(kOwn).mid(0, 5), others);
    QCOMPARE(m_site.commandNames(5), QStringList({"b z y z", "a", "b x"}));
    QCOMPARE(m_site.count(kOwn), "12");
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateControls::saveSparesParametersOfOtherCommands()
{
    // A parameter's owner is a row and not a template, even where both have one number.
    giveCommand(kOwn, 5, 6, {.name = "of template 6"});
    giveParameter(kOwn, 5, {.name = "p", .id = 7});
    m_site.give(kOwn, 8, {5, 'p', "property", "", {}});
    giveParameter(kOwn, 8, {.name = "of a property", .id = 9});
    const QStringList before = m_site.written(kOwn);
    m_admin.send(save(5, 0, {}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.written(kOwn), before);
}

void TestTemplateControls::savingNothingOnlyDeletes()
{
    giveCommand(kOwn, 1, 5, {.name = "old"});
    giveParameter(kOwn, 1, {.name = "of old", .id = 2});
    giveCommand(kOwn, 3, 6, {.name = "stays"});
    // What follows the last record is nobody's.
    m_admin.send(save(5, 0, withParameters("a", {"p"})) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, controls(5, 0, {}));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({6, 'c', "stays", "", commandData(0, "")})));
}

void TestTemplateControls::savesWithoutHead_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("of no template") << 4711;
    QTest::newRow("0") << 0;
    QTest::newRow("greatest") << 2147483647;
}

void TestTemplateControls::savesWithoutHead()
{
    QFETCH(int, number);
    m_admin.send(save(number, 1, withParameters("a", {"p"})));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(number), QStringList("a p"));
    QCOMPARE(m_site.count(kOwn), "2");
}

void TestTemplateControls::negativeNumberOfParametersIsNone_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestTemplateControls::negativeNumberOfParametersIsNone()
{
    QFETCH(qint64, count);
    m_admin.send(
        save(5, 2, QByteArrayList{commandRecord({.name = "a", .numParams = count})} + withParameters("b", {"p"})));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(5), QStringList({"a", "b p"}));
}

void TestTemplateControls::saveStopsAtTheFirstFailedCommand_data()
{
    QTest::addColumn<QString>("bad");
    QTest::addColumn<QStringList>("left");
    QTest::newRow("first") << "a" << QStringList();
    QTest::newRow("second") << "b" << QStringList("a p");
    QTest::newRow("last") << "c" << QStringList({"a p", "b p q"});
}

void TestTemplateControls::saveStopsAtTheFirstFailedCommand()
{
    QFETCH(QString, bad);
    QFETCH(QStringList, left);
    giveCommand(kOwn, 1, 5, {.name = "old"});
    giveParameter(kOwn, 1, {.name = "of old", .id = 2});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Name\" = '" + bad + "'");
    m_admin.send(save(5, 3, withParameters("a", {"p"}) + withParameters("b", {"p", "q"}) + withParameters("c", {"p"})));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(5), left);
    QCOMPARE(m_site.count(kOwn, "\"Class\" = 'd'"), QString::number(left.join("").count(' ')));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_template_controls_v2"));
}

void TestTemplateControls::saveStopsAtTheFirstFailedParameter()
{
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Name\" = 'bad'");
    m_admin.send(
        save(5, 3, withParameters("a", {"p"}) + withParameters("b", {"p", "bad", "q"}) + withParameters("c", {"p"})));
    SAYS(m_admin, saved());
    // What was written before stays: the command and the parameter in front of the bad one.
    QCOMPARE(m_site.commandNames(5), QStringList({"a p", "b p"}));
    QCOMPARE(m_site.count(kOwn), "4");
    m_failedStatements = 1;
}

void TestTemplateControls::nulInATextStopsTheSave_data()
{
    QTest::addColumn<QByteArrayList>("records");
    QTest::addColumn<QStringList>("left");
    const QStringList beforeCommand = {"a p"};
    const QStringList behindCommand = {"a p", "b p"};
    const QByteArray command = commandRecord({.name = "b", .numParams = 3});
    const QByteArray p = parameterRecord({"p"});
    QTest::newRow("name") << QByteArrayList{commandRecord({.name = kNul, .numParams = 1}), p} << beforeCommand;
    QTest::newRow("description") << QByteArrayList{commandRecord({.name = "b", .description = kNul, .numParams = 1}), p}
                                 << beforeCommand;
    QTest::newRow("parameter's name") << QByteArrayList{command, p, parameterRecord({QByteArray("a\0b", 3)}), p}
                                      << behindCommand;
    QTest::newRow("parameter's description")
        << QByteArrayList{command, p, parameterRecord({.name = "x", .description = kNul}), p} << behindCommand;
}

void TestTemplateControls::nulInATextStopsTheSave()
{
    QFETCH(QByteArrayList, records);
    QFETCH(QStringList, left);
    m_admin.send(save(5, 3, withParameters("a", {"p"}) + records + withParameters("c", {})));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(5), left);
    m_failedStatements = 1;
}

void TestTemplateControls::failedDeletionKeepsTheOldControlsInFront_data()
{
    QTest::addColumn<QString>("condition");
    QTest::newRow("parameters") << "OLD.\"Class\" = 'd'";
    QTest::newRow("commands") << "OLD.\"Class\" = 'c'";
}

void TestTemplateControls::failedDeletionKeepsTheOldControlsInFront()
{
    QFETCH(QString, condition);
    giveCommand(kOwn, 1, 5, {.name = "old"});
    giveParameter(kOwn, 1, {.name = "of old", .id = 2});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "DELETE", condition);
    m_admin.send(save(5, 1, withParameters("a", {"q"})));
    // Parameters go together with their commands or not at all; only a failed insert ends the save.
    SAYS(m_admin, saved());
    QCOMPARE(m_site.commandNames(5), QStringList({"old of old", "a q"}));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

QTEST_GUILESS_MAIN(TestTemplateControls)
#include "test_template_controls.moc"

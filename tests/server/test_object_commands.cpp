// The three commands on remote-control commands and their parameters: what they answer, announce and leave in the
// database.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::commandRecord;
using support::hex;
using support::i32;
using support::i8;
using support::numbers;
using support::parameterRecord;
using support::savedCard;

namespace {

constexpr int kOperator = 4;
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray get(int object)
{
    return support::command("Get_command_desc_v2", i32(object), kOperator);
}

QByteArray commands(int object, int count, const QByteArrayList &records)
{
    return support::answer("Get_command_desc_v2", i32(object) + i32(count) + records.join(), kOperator);
}

/// `records`: commands, each followed by its parameters.
QByteArray save(int object, int count, const QByteArrayList &records)
{
    return support::command("Save_command_desc_v2", i32(object) + i32(count) + records.join(), kOperator);
}

QByteArray setOnMany(const QList<int> &objects, const QByteArrayList &records, int mode = 1)
{
    return support::command("Fix_cmd_desc_multi_objs_v2", i8(mode) + numbers(objects) + records.join(), kOperator);
}

QByteArrayList withParameters(const QString &name, const QByteArrayList &parameters)
{
    QByteArrayList result{commandRecord({.name = name, .numParams = parameters.size()})};
    for (const QByteArray &parameter : parameters)
        result += parameterRecord({.name = parameter});
    return result;
}

} // namespace

class TestObjectCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersCommandsWithKnownBytes();
    void answersObjectWithoutCommandsWithCountZero();
    void answersCommandsByOperationAndParametersByRow();
    void answersNullColumnsAsNullAndEmptyOnesAsEmpty();
    void neverAnswersWhenTheCountFails();
    void answersTheCountAloneWhenTheRowsFail();

    void savesCommandsWithTheirParameters();
    void savesEveryFieldInItsColumn();
    void savingNoCommandsOnlyDeletes();
    void valuesComeBackAsTheyWent_data();
    void valuesComeBackAsTheyWent();
    void savesNullAsNullAndEmptyAsEmpty();
    void negativeNumberOfParametersIsNone_data();
    void negativeNumberOfParametersIsNone();
    void saveStopsAtFirstFailedCommand();
    void saveStopsAtFirstFailedParameter();
    void saveDeletesParametersOnlyTogetherWithCommands();
    void nulInATextStopsTheSave_data();
    void nulInATextStopsTheSave();

private:
    /// Object and name of every command, each followed by its parameters' names, in the order of their rows.
    QStringList commandRows();
    void give(int number, int object, const QString &name, const QStringList &parameters = {});

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestObjectCommands::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectCommands::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectCommands::cleanup()
{
    // None of these commands writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestObjectCommands::commandRows()
{
    return m_site.database->rows(
        "SELECT \"Id_object\" || ' ' || coalesce(\"Name\", 'NULL') || coalesce((SELECT string_agg(' ' || "
        "coalesce(\"Name\", 'NULL'), '' ORDER BY \"Id\") "
        "FROM \"Params\" WHERE \"Id_command\" = c.\"Id\"), '') FROM \"Commands\" c ORDER BY \"Id\"");
}

void TestObjectCommands::give(int number, int object, const QString &name, const QStringList &parameters)
{
    // Far from the numbers that the database gives, and in front of them.
    const int id = number - 1000;
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\") VALUES (%1,%2,'%3',1)")
            .arg(QString::number(id), QString::number(object), name));
    for (const QString &parameter : parameters)
        m_site.database->run(QStringLiteral("INSERT INTO \"Params\" (\"Id_command\",\"Name\") VALUES (%1,'%2')")
                                 .arg(QString::number(id), parameter));
}

void TestObjectCommands::answersCommandsWithKnownBytes()
{
    m_site.database->run(
        "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\",\"Description\",\"ExecBy\") VALUES "
        "(5,17,'C',2,'d','\\x0100')");
    m_site.database->run("INSERT INTO \"Params\" (\"Id\",\"Id_command\",\"Name\",\"Description\",\"Value\",\"Type\") "
                         "VALUES (7,5,'p','q','\\xff00',3)");
    m_admin.send(hex("00 00 00 24 CB 00 00 00 13 47 65 74 5F 63 6F 6D 6D 61 6E 64 5F 64 65 73 63 5F 76 32 00 00 00 04 "
                     "00 00 00 11 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 81 CA 00 00 00 13 47 65 74 5F 63 6F 6D 6D 61 6E 64 5F 64 65 73 63 5F 76 32"
                      "00 00 00 13 47 65 74 5F 63 6F 6D 6D 61 6E 64 5F 64 65 73 63 5F 76 32"
                      "00 00 00 3F 00 00 00 11 00 00 00 01"
                      "00 00 00 00 00 00 00 02 00 43 00 00 00 02 00 64 00 00 00 02 00 00 00 02 01 00 00 00 00 01"
                      "00 00 00 01 70 00 00 00 02 FF 00 00 00 00 02 00 71 00 00 00 03 00 00 00 07"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectCommands::answersObjectWithoutCommandsWithCountZero()
{
    give(5, 18, "other", {"p"});
    m_site.database->run("INSERT INTO \"Params\" (\"Id_command\",\"Name\") VALUES (4711,'of no command')");
    m_admin.send(get(17) + get(-17) + get(0));
    SAYS(m_admin, commands(17, 0, {}));
    SAYS(m_admin, commands(-17, 0, {}));
    SAYS(m_admin, commands(0, 0, {}));
}

void TestObjectCommands::answersCommandsByOperationAndParametersByRow()
{
    m_site.database->run(
        "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\",\"Description\",\"ExecBy\") VALUES "
        "(905,17,'fifth',2147483647,'e','5'), (904,17,'third',1,'c','3'), (901,17,'fourth',2,'d','4'), "
        "(902,17,'second',1,'b','2'),"
        "(903,17,'first',-2147483648,'a','1'), (900,18,'other',0,'o','0'), (906,17,'last',NULL,'z','6')");
    m_site.database->run(
        "INSERT INTO \"Params\" (\"Id\",\"Id_command\",\"Name\",\"Description\",\"Value\",\"Type\") VALUES "
        "(73,902,'z','Z','3',2147483647), (71,904,'y','Y','1',1), (-72,902,'x','X','2',-2147483648), "
        "(74,902,'x','X','2',0), (70,900,'o','O','0',0)");
    m_admin.send(get(17));
    SAYS(m_admin,
         commands(17, 6,
                  {commandRecord({"first", "a", int(0x80000000), "1", 0}), commandRecord({"second", "b", 1, "2", 3}),
                   parameterRecord({"x", "2", "X", int(0x80000000), -72}),
                   parameterRecord({"z", "3", "Z", 2147483647, 73}), parameterRecord({"x", "2", "X", 0, 74}),
                   commandRecord({"third", "c", 1, "3", 1}), parameterRecord({"y", "1", "Y", 1, 71}),
                   commandRecord({"fourth", "d", 2, "4", 0}), commandRecord({"fifth", "e", 2147483647, "5", 0}),
                   commandRecord({"last", "z", 0, "6", 0})}));
}

void TestObjectCommands::answersNullColumnsAsNullAndEmptyOnesAsEmpty()
{
    m_site.database->run(
        "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\",\"Description\",\"ExecBy\") VALUES "
        "(1,17,'','1','',''), (2,17,NULL,NULL,NULL,NULL)");
    m_site.database->run("INSERT INTO \"Params\" (\"Id\",\"Id_command\",\"Name\",\"Description\",\"Value\",\"Type\") "
                         "VALUES (3,1,'','','',0), (4,2,NULL,NULL,NULL,NULL)");
    m_admin.send(get(17));
    SAYS(m_admin, commands(17, 2,
                           {commandRecord({"", "", 1, "", 1}), parameterRecord({"", "", "", 0, 3}),
                            commandRecord({{}, {}, 0, {}, 1}), parameterRecord({{}, {}, {}, 0, 4})}));
}

void TestObjectCommands::neverAnswersWhenTheCountFails()
{
    give(5, 17, "c");
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"Commands\"");
        m_admin.send(get(17));
        SAYS_NOTHING_MORE(m_admin);
    }
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_command_desc_v2"));
    m_admin.send(get(17));
    SAYS(m_admin, commands(17, 1, {commandRecord({.name = "c", .description = {}, .operation = 1, .execBy = {}})}));
}

void TestObjectCommands::answersTheCountAloneWhenTheRowsFail()
{
    give(5, 17, "c", {"p"});
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Params\"");
    m_admin.send(get(17));
    SAYS(m_admin, commands(17, 1, {}));
    m_failedStatements = 1;
}

void TestObjectCommands::savesCommandsWithTheirParameters()
{
    give(1, 17, "old", {"p"});
    give(2, 17, "old too", {"p", "q"});
    give(3, 18, "stays", {"p"});
    m_admin.send(
        save(17, 3, withParameters("b", {"z", "y", "z"}) + withParameters("a", {}) + withParameters("b", {"x"})));
    for (int i = 0; i < 3; ++i)
        SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList({"18 stays p", "17 b z y z", "17 a", "17 b x"}));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 5);
}

void TestObjectCommands::savesEveryFieldInItsColumn()
{
    // The record's own ids are nobody's: rows get theirs from the database.
    m_admin.send(save(17, 1,
                      {commandRecord({"the name", "the description", 5, "unit", 1, 4711}),
                       parameterRecord({"par", "value", "caption", 6, 4712})}));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(m_site.database->rows("SELECT \"Id_object\", \"Name\", \"Operation\", \"Description\", \"ExecBy\" FROM "
                                   "\"Commands\" WHERE \"Id\" <> 4711"),
             QStringList("17|the name|5|the description|\\x756e6974"));
    QCOMPARE(m_site.database->rows("SELECT p.\"Id_command\" = c.\"Id\", p.\"Name\", p.\"Description\", p.\"Value\", "
                                   "p.\"Type\" FROM \"Params\" p, \"Commands\" c "
                                   "WHERE p.\"Id\" <> 4712"),
             QStringList("true|par|caption|\\x76616c7565|6"));
}

void TestObjectCommands::savingNoCommandsOnlyDeletes()
{
    give(1, 17, "old", {"p"});
    give(2, 18, "stays", {"p"});
    m_admin.send(save(17, 0, {}));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("18 stays p"));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 1);
}

void TestObjectCommands::valuesComeBackAsTheyWent_data()
{
    QTest::addColumn<support::CommandFields>("command");
    QTest::addColumn<support::ParameterFields>("parameter");
    const QString texts = QString::fromUtf8("it's \"q\" %1 %2 ? :x \\ \\x41 😀 я\n\t;--");
    QTest::newRow("texts") << support::CommandFields{texts, texts, 1, "e", 2}
                           << support::ParameterFields{texts.toUtf8(), "v", texts, 2};
    QTest::newRow("empties") << support::CommandFields{"", "", 0, "", 2} << support::ParameterFields{"", "", "", 0};
    QTest::newRow("nulls") << support::CommandFields{{}, {}, 0, {}, 2} << support::ParameterFields{{}, {}, {}, 0};
    QTest::newRow("every byte") << support::CommandFields{"c", "d", 1, support::everyByte(), 2}
                                << support::ParameterFields{"p", support::everyByte(), "q", 2};
    QTest::newRow("greatest codes") << support::CommandFields{"c", "d", 2147483647, "e", 2}
                                    << support::ParameterFields{"p", "v", "q", 2147483647};
    QTest::newRow("smallest codes") << support::CommandFields{"c", "d", int(0x80000000), "e", 2}
                                    << support::ParameterFields{"p", "v", "q", int(0x80000000)};
    QTest::newRow("hexadecimal look") << support::CommandFields{"\\x41", "\\x42", 1, "\\x43", 2}
                                      << support::ParameterFields{"\\x44", "\\x45", "\\x46", 2};
    QTest::newRow("100 KB") << support::CommandFields{QString(5000, 'n'), QString(5000, 'd'), 1,
                                                      support::everyByte().repeated(400), 2}
                            << support::ParameterFields{QByteArray(5000, 'p'), support::everyByte().repeated(400),
                                                        QString(5000, 'q'), 2};
}

void TestObjectCommands::valuesComeBackAsTheyWent()
{
    QFETCH(support::CommandFields, command);
    QFETCH(support::ParameterFields, parameter);
    const QByteArrayList records = {commandRecord(command), parameterRecord(parameter), parameterRecord(parameter)};
    m_admin.send(save(17, 1, records));
    SAYS(m_admin, savedCard(17));
    const auto answerWithIds = [&] {
        const QStringList ids = m_site.database->rows("SELECT \"Id\" FROM \"Params\" ORDER BY \"Id\" DESC LIMIT 2");
        support::ParameterFields first = parameter;
        first.id = ids.value(1).toInt();
        support::ParameterFields second = parameter;
        second.id = ids.value(0).toInt();
        return QByteArrayList{commandRecord(command), parameterRecord(first), parameterRecord(second)};
    };
    m_admin.send(get(17));
    SAYS(m_admin, commands(17, 1, answerWithIds()));
    if (command.name.contains('\''))
        return;
    m_admin.send(setOnMany({18}, records));
    SAYS(m_admin, savedCard(18));
    m_admin.send(get(18));
    SAYS(m_admin, commands(18, 1, answerWithIds()));
}

void TestObjectCommands::savesNullAsNullAndEmptyAsEmpty()
{
    m_admin.send(save(17, 2,
                      {commandRecord({{}, {}, 0, {}, 1}), parameterRecord({{}, {}, {}, 0}),
                       commandRecord({"", "", 0, "", 1}), parameterRecord({"", "", "", 0})}));
    SAYS(m_admin, savedCard(17));
    SAYS(m_admin, savedCard(17));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Description\", \"ExecBy\" FROM \"Commands\" ORDER BY \"Id\""),
             QStringList({"NULL|NULL|NULL", "||\\x"}));
    QCOMPARE(m_site.database->rows("SELECT \"Name\", \"Description\", \"Value\" FROM \"Params\" ORDER BY \"Id\""),
             QStringList({"NULL|NULL|NULL", "||\\x"}));
}

void TestObjectCommands::negativeNumberOfParametersIsNone_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestObjectCommands::negativeNumberOfParametersIsNone()
{
    QFETCH(qint64, count);
    m_admin.send(save(17, 2,
                      {commandRecord({.name = "a", .numParams = count}), commandRecord({.name = "b", .numParams = 1}),
                       parameterRecord({"p"})}));
    SAYS(m_admin, savedCard(17));
    SAYS(m_admin, savedCard(17));
    m_admin.send(setOnMany({18}, {commandRecord({.name = "c", .numParams = count}), parameterRecord({"p"})}));
    SAYS(m_admin, savedCard(18));
    QCOMPARE(commandRows(), QStringList({"17 a", "17 b p", "18 c"}));
}

void TestObjectCommands::saveStopsAtFirstFailedCommand()
{
    give(1, 17, "old", {"p"});
    const support::StatementFault fault(*m_site.database, "\"Commands\"", "INSERT", "NEW.\"Name\" = 'b'");
    m_admin.send(save(17, 3, withParameters("a", {"p"}) + withParameters("b", {"p"}) + withParameters("c", {"p"})));
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList("17 a p"));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Params\"").toInt(), 1);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_command_desc_v2"));
}

void TestObjectCommands::saveStopsAtFirstFailedParameter()
{
    const support::StatementFault fault(*m_site.database, "\"Params\"", "INSERT", "NEW.\"Name\" = 'bad'");
    m_admin.send(
        save(17, 3, withParameters("a", {"p"}) + withParameters("b", {"p", "bad", "q"}) + withParameters("c", {"p"})));
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    // What was written before stays: the command and the parameter in front of the bad one.
    QCOMPARE(commandRows(), QStringList({"17 a p", "17 b p"}));
    m_failedStatements = 1;
}

void TestObjectCommands::saveDeletesParametersOnlyTogetherWithCommands()
{
    give(1, 17, "old", {"p"});
    const support::StatementFault fault(*m_site.database, "\"Commands\"", "DELETE");
    m_admin.send(save(17, 1, withParameters("a", {"q"})));
    // Only a failed insert ends the save.
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), QStringList({"17 old p", "17 a q"}));
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestObjectCommands::nulInATextStopsTheSave_data()
{
    QTest::addColumn<QByteArrayList>("records");
    QTest::addColumn<QStringList>("left");
    const QStringList beforeCommand = {"17 a p"};
    const QStringList behindCommand = {"17 a p", "17 b p"};
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

void TestObjectCommands::nulInATextStopsTheSave()
{
    QFETCH(QByteArrayList, records);
    QFETCH(QStringList, left);
    m_admin.send(save(17, 3, withParameters("a", {"p"}) + records + withParameters("c", {})));
    SAYS(m_admin, savedCard(17));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(commandRows(), left);
    m_failedStatements = 1;
}

QTEST_GUILESS_MAIN(TestObjectCommands)
#include "test_object_commands.moc"

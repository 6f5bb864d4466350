// The operators' own commands: account list, object names, commands allowed, their parameters and saved values.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

using support::accountRecord;
using support::bytes;
using support::bytesOrNull;
using support::hex;
using support::i32;
using support::text;
using support::textOrNull;

namespace {

constexpr int kOperator = 4;

QByteArray ask(const QByteArray &name, const QByteArray &request = {}, int caller = kOperator)
{
    return support::command(name, request, caller);
}

QByteArray accounts(const QByteArray &name, const QByteArrayList &records)
{
    return support::answer(name, i32(records.size()) + records.join(), kOperator);
}

struct Allowed
{
    QByteArray name;
    int operation = 2;
    QString description = "";
    QByteArray execBy = "";
    int numParams = 0;
    int id = 0;
};

QByteArray allowedRecord(const Allowed &command)
{
    return bytes(command.name) + i32(command.operation) + textOrNull(command.description) +
           bytesOrNull(command.execBy) + i32(command.numParams) + i32(command.id);
}

QByteArray askAllowed(int object, int kind, int caller = kOperator)
{
    return ask("Get_object_command", i32(object) + i32(kind), caller);
}

QByteArray allowed(int object, int kind, const QByteArrayList &records, int caller = kOperator)
{
    return support::answer("Get_object_command", i32(object) + i32(records.size()) + records.join() + i32(kind),
                           caller);
}

QByteArray names(const QByteArrayList &records)
{
    return support::answer("Get_objects", i32(records.size()) + records.join(), kOperator);
}

QByteArray parameters(const QByteArrayList &records)
{
    return support::answer("Get_command_params", i32(records.size()) + records.join(), kOperator);
}

QByteArray save(int command, const QByteArrayList &pairs, qint64 count = -2, int unused = 0)
{
    return i32(unused) + i32(command) + i32(count == -2 ? pairs.size() : count) + pairs.join();
}

QByteArray pair(const QByteArray &name, const QByteArray &value)
{
    return bytes(name) + bytesOrNull(value);
}

} // namespace

class TestOperatorCommands : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void accountListHasTheKnownBytes();
    void accountListIsSortedByLoginAndHoldsEveryColumn();
    void accountListAnswersNullAsNullAndEmptyAsEmpty();
    void accountListIsTheSameUnderBothNames();
    void accountListFollowsChangesOfTheTable();
    void failedAccountListCountsZero();

    void objectNamesHaveTheKnownBytes();
    void objectNamesComeInDescendingOrder();
    void objectNamesAreRawBytes();
    void objectNamesAreNotFilteredByRights();
    void failedObjectNamesCountZero();

    void commandsAllowedHaveTheKnownBytes();
    void everyKindNeedsItsOwnRight_data();
    void everyKindNeedsItsOwnRight();
    void onlyCommandsOfTheKindAndObjectAreAllowed();
    void rightsOfOthersAndDefaultsDoNotCount();
    void everyMatchingRightGivesTheCommandOnce();
    void everyCommandOfTheKindIsAllowed();
    void parametersOfACommandAreCounted();
    void kindsBeyondTheFourWorkAlike_data();
    void kindsBeyondTheFourWorkAlike();
    void commandWithNullColumns();
    void failedCommandsAllowedCountZero();

    void parametersHaveTheKnownBytes();
    void parametersComeInOrderOfRows();
    void parameterValuesAreRawBytes();
    void parametersOfAnUnknownCommandCountZero();
    void failedParametersCountZero();

    void savesValuesByName();
    void savesWhateverTheFirstNumberIs_data();
    void savesWhateverTheFirstNumberIs();
    void savesEveryRowOfThatName();
    void savesTheLastOfTwoValues();
    void savesAnyBytes_data();
    void savesAnyBytes();
    void findsParametersByAnyName_data();
    void findsParametersByAnyName();
    void unknownNamesSaveNothing();
    void zeroAndNegativeCountsSaveNothing_data();
    void zeroAndNegativeCountsSaveNothing();
    void pairsBeyondTheCountAreNotSaved();
    void savesTheOthersWhenOneFails();

    void namesAreComparedExactly_data();
    void namesAreComparedExactly();
    void readsNothingFromRequestsWithoutFields_data();
    void readsNothingFromRequestsWithoutFields();

private:
    void giveCommand(int id, int object, int operation, const QString &name);
    void giveRights(const QString &tuples);
    void giveParameter(int command, const QString &name, const QByteArray &value = "old");
    /// Command, name and value of every parameter.
    QStringList values();

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestOperatorCommands::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestOperatorCommands::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestOperatorCommands::cleanup()
{
    // None of these commands announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestOperatorCommands::giveCommand(int id, int object, int operation, const QString &name)
{
    m_site.database->run(QStringLiteral("INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Operation\",\"Name\","
                                        "\"Description\",\"ExecBy\") VALUES (%1,%2,%3,'%4','','')")
                             .arg(QString::number(id), QString::number(object), QString::number(operation), name));
}

void TestOperatorCommands::giveRights(const QString &tuples)
{
    m_site.database->run("INSERT INTO \"Person_Setup\" VALUES " + tuples);
}

void TestOperatorCommands::giveParameter(int command, const QString &name, const QByteArray &value)
{
    m_site.database->run(
        QStringLiteral("INSERT INTO \"Params\" (\"Id_command\",\"Name\",\"Value\") VALUES (%1,'%2','\\x%3')")
            .arg(QString::number(command), name, QString::fromLatin1(value.toHex())));
}

QStringList TestOperatorCommands::values()
{
    return m_site.database->rows(
        "SELECT \"Id_command\", \"Name\", encode(\"Value\", 'escape') AS v FROM \"Params\" ORDER BY \"Id\"");
}

void TestOperatorCommands::accountListHasTheKnownBytes()
{
    m_site.database->run("UPDATE \"Connections\" SET \"Password\" = 'p', \"Description\" = 'd', \"Admin\" = true, "
                         "\"Email\" = '', \"Phone\" = '1'");
    m_admin.send(hex("00 00 00 1B CB 00 00 00 0E 47 65 74 5F 75 73 65 72 73 5F 6C 69 73 74 FF FF FF FF 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 67 CA 00 00 00 0E 47 65 74 5F 75 73 65 72 73 5F 6C 69 73 74"
                      "00 00 00 0E 47 65 74 5F 75 73 65 72 73 5F 6C 69 73 74 00 00 00 2F"
                      "00 00 00 01 00 00 00 04 00 00 00 0C 00 69 00 76 00 61 00 6E 00 6F 00 76"
                      "00 00 00 02 00 70 00 00 00 02 00 64 01 00 00 00 00 00 00 00 02 00 31"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestOperatorCommands::accountListIsSortedByLoginAndHoldsEveryColumn()
{
    m_site.database->run("DELETE FROM \"Connections\"");
    m_site.database->run("INSERT INTO \"Connections\" "
                         "(\"Id\",\"Login\",\"Password\",\"Description\",\"Email\",\"Phone\",\"Admin\") VALUES "
                         "(7,'c','p7','d7','e7','f7',false), (9,'a','p9','d9','e9','f9',true), "
                         "(-8,'b','Пароль','it''s','%1','?',false)");
    m_admin.send(ask("Get_user_list"));
    SAYS(m_admin,
         accounts("Get_user_list", {accountRecord(9, {"a", "p9", "d9", "e9", "f9", 1}),
                                    accountRecord(-8, {"b", QString::fromUtf8("Пароль"), "it's", "%1", "?", 0}),
                                    accountRecord(7, {"c", "p7", "d7", "e7", "f7", 0})}));
}

void TestOperatorCommands::accountListAnswersNullAsNullAndEmptyAsEmpty()
{
    m_site.database->run("DELETE FROM \"Connections\"");
    m_site.database->run("INSERT INTO \"Connections\" (\"Id\") VALUES (8)");
    m_site.database->run("INSERT INTO \"Connections\" VALUES (7,'','','','','',false)");
    m_admin.send(ask("Get_user_list"));
    SAYS(m_admin, accounts("Get_user_list",
                           {accountRecord(7, {"", "", "", "", "", 0}), accountRecord(8, {{}, {}, {}, {}, {}, 0})}));
}

void TestOperatorCommands::accountListIsTheSameUnderBothNames()
{
    m_site.database->run("INSERT INTO \"Connections\" VALUES (7,'a','b','c','d','e',true)");
    const QByteArrayList records = {accountRecord(7, {"a", "b", "c", "d", "e", 1}),
                                    accountRecord(4, {"ivanov", {}, {}, {}, {}, 0})};
    m_admin.send(ask("Get_user_list") + ask("Get_users_list"));
    SAYS(m_admin, accounts("Get_user_list", records));
    SAYS(m_admin, accounts("Get_users_list", records));
}

void TestOperatorCommands::accountListFollowsChangesOfTheTable()
{
    const QByteArrayList before = {accountRecord(4, {"ivanov", {}, {}, {}, {}, 0})};
    m_admin.send(ask("Get_user_list"));
    SAYS(m_admin, accounts("Get_user_list", before));
    // Columns are found by their names, wherever they stand and whatever was added meanwhile.
    m_site.database->run("ALTER TABLE \"Connections\" ADD COLUMN \"More\" text DEFAULT 'x'");
    m_site.database->run("ALTER TABLE \"Connections\" DROP COLUMN \"Password\"");
    m_site.database->run("ALTER TABLE \"Connections\" ADD COLUMN \"Password\" text DEFAULT 'secret'");
    m_admin.send(ask("Get_user_list"));
    const QByteArray said = m_admin.nextFrame();
    m_site.database->run("ALTER TABLE \"Connections\" DROP COLUMN \"More\"");
    m_admin.send(ask("Get_user_list"));
    const QByteArray saidAgain = m_admin.nextFrame();
    m_site.database->run("ALTER TABLE \"Connections\" ALTER COLUMN \"Password\" DROP DEFAULT");
    const QByteArray expected = accounts("Get_user_list", {accountRecord(4, {"ivanov", "secret", {}, {}, {}, 0})});
    QVERIFY2(said == expected, qPrintable(support::difference(said, expected)));
    QVERIFY2(saidAgain == expected, qPrintable(support::difference(saidAgain, expected)));
    // Whether the service notices such a change by a failed statement is its own affair.
    m_failedStatements = int(m_site.newLogLines().size());
}

void TestOperatorCommands::failedAccountListCountsZero()
{
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Connections\"");
    m_admin.send(ask("Get_user_list") + ask("Get_users_list"));
    SAYS(m_admin, accounts("Get_user_list", {}));
    SAYS(m_admin, accounts("Get_users_list", {}));
    m_failedStatements = 2;
}

void TestOperatorCommands::objectNamesHaveTheKnownBytes()
{
    m_site.database->run(support::givingProperty(17, "name", "A"));
    m_admin.send(hex("00 00 00 18 CB 00 00 00 0B 47 65 74 5F 6F 62 6A 65 63 74 73 FF FF FF FF 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 3F CA 00 00 00 0B 47 65 74 5F 6F 62 6A 65 63 74 73 00 00 00 0B 47 65 74 5F 6F 62 6A 65 63 "
             "74 73 00 00 00 0D 00 00 00 01 00 00 00 11 00 00 00 01 41"
             "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestOperatorCommands::objectNamesComeInDescendingOrder()
{
    for (const int object : {17, 300, -2, 18})
        m_site.database->run(support::givingProperty(object, "name", QByteArray::number(object)));
    m_site.database->run(support::givingProperty(19, "Name", "another property"));
    m_site.database->run(support::givingProperty(20, "name ", "another property"));
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES (21)");
    m_admin.send(ask("Get_objects"));
    SAYS(m_admin,
         names({i32(300) + bytes("300"), i32(18) + bytes("18"), i32(17) + bytes("17"), i32(-2) + bytes("-2")}));
}

void TestOperatorCommands::objectNamesAreRawBytes()
{
    m_site.database->run(support::givingProperty(20, "name", support::everyByte()));
    m_site.database->run(support::givingProperty(19, "name", "Лада"));
    m_site.database->run(support::givingProperty(18, "name", ""));
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (17,'name')");
    m_site.database->run(support::givingProperty(16, "name", "twice") + ";" +
                         support::givingProperty(16, "name", "twice"));
    m_admin.send(ask("Get_objects"));
    SAYS(m_admin, names({i32(20) + bytes(support::everyByte()), i32(19) + bytes("Лада"), i32(18) + bytes(""),
                         i32(17) + support::null(), i32(16) + bytes("twice"), i32(16) + bytes("twice")}));
}

void TestOperatorCommands::objectNamesAreNotFilteredByRights()
{
    m_site.database->run(support::givingProperty(17, "name", "A"));
    giveRights("(1,4,18,201)");
    for (const int caller : {kOperator, 0, 4711}) {
        m_admin.send(ask("Get_objects", {}, caller));
        SAYS(m_admin, support::answer("Get_objects", i32(1) + i32(17) + bytes("A"), caller));
    }
}

void TestOperatorCommands::failedObjectNamesCountZero()
{
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Objects_property\"");
    m_admin.send(ask("Get_objects"));
    SAYS(m_admin, names({}));
    m_failedStatements = 1;
}

void TestOperatorCommands::commandsAllowedHaveTheKnownBytes()
{
    m_site.database->run(
        "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\",\"Description\",\"ExecBy\") "
        "VALUES (9,17,'Я',2,'d','\\x00ff')");
    giveParameter(9, "p");
    giveRights("(1,4,17,202)");
    m_admin.send(
        hex("00 00 00 27 CB 00 00 00 12 47 65 74 5F 6F 62 6A 65 63 74 5F 63 6F 6D 6D 61 6E 64 00 00 00 08 00 00 00 "
            "11 00 00 00 02 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 6A CA 00 00 00 12 47 65 74 5F 6F 62 6A 65 63 74 5F 63 6F 6D 6D 61 6E 64 00 00 00 12 47 65 "
             "74 5F 6F 62 6A 65 63 74 5F 63 6F 6D 6D 61 6E 64 00 00 00 2A"
             "00 00 00 11 00 00 00 01 00 00 00 02 D0 AF 00 00 00 02 00 00 00 02 00 64 00 00 00 02 00 FF"
             "00 00 00 01 00 00 00 09 00 00 00 02"
             "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestOperatorCommands::everyKindNeedsItsOwnRight_data()
{
    QTest::addColumn<int>("kind");
    for (int kind = 1; kind <= 4; ++kind)
        QTest::addRow("%d", kind) << kind;
}

void TestOperatorCommands::everyKindNeedsItsOwnRight()
{
    QFETCH(int, kind);
    for (int operation = 1; operation <= 4; ++operation)
        giveCommand(100 + operation, 17, operation, "c" + QString::number(operation));
    giveRights(QStringLiteral("(1,4,17,%1)").arg(200 + kind));
    for (int asked = 1; asked <= 4; ++asked) {
        m_admin.send(askAllowed(17, asked));
        const QByteArray record = allowedRecord({"c" + QByteArray::number(kind), kind, "", "", 0, 100 + kind});
        SAYS(m_admin, allowed(17, asked, asked == kind ? QByteArrayList{record} : QByteArrayList{}));
    }
}

void TestOperatorCommands::onlyCommandsOfTheKindAndObjectAreAllowed()
{
    giveCommand(1, 17, 2, "mine");
    giveCommand(2, 17, 3, "other kind");
    giveCommand(3, 18, 2, "other object");
    giveRights("(1,4,17,202),(1,4,18,202),(1,4,17,203),(1,4,17,201),(1,4,17,2)");
    m_admin.send(askAllowed(17, 2));
    SAYS(m_admin, allowed(17, 2, {allowedRecord({"mine", 2, "", "", 0, 1})}));
}

void TestOperatorCommands::rightsOfOthersAndDefaultsDoNotCount()
{
    giveCommand(1, 17, 2, "c");
    giveRights("(1,5,17,202),(1,4,0,202),(1,4,18,202),(1,-4,17,202)");
    m_site.database->run("UPDATE \"Connections\" SET \"Admin\" = true");
    m_admin.send(askAllowed(17, 2) + askAllowed(17, 2, 5));
    SAYS(m_admin, allowed(17, 2, {}));
    SAYS(m_admin, allowed(17, 2, {allowedRecord({"c", 2, "", "", 0, 1})}, 5));
}

void TestOperatorCommands::everyMatchingRightGivesTheCommandOnce()
{
    giveCommand(1, 17, 2, "c");
    giveParameter(1, "p");
    giveParameter(1, "q");
    giveRights("(1,4,17,202),(3,4,17,202),(4,4,17,202),(4,4,17,202),(99,4,17,202),(1,4,17,203)");
    const QByteArray record = allowedRecord({"c", 2, "", "", 2, 1});
    m_admin.send(askAllowed(17, 2));
    SAYS(m_admin, allowed(17, 2, {record, record, record, record, record}));
}

void TestOperatorCommands::everyCommandOfTheKindIsAllowed()
{
    giveCommand(1, 17, 2, "first");
    giveCommand(2, 17, 2, "second");
    giveRights("(1,4,17,202)");
    m_admin.send(askAllowed(17, 2));
    const QByteArray first = allowedRecord({"first", 2, "", "", 0, 1});
    const QByteArray second = allowedRecord({"second", 2, "", "", 0, 2});
    // Equal kinds have no order among themselves.
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(said == allowed(17, 2, {first, second}) || said == allowed(17, 2, {second, first}),
             qPrintable(support::describe(said)));
}

void TestOperatorCommands::parametersOfACommandAreCounted()
{
    giveCommand(1, 17, 1, "none");
    giveCommand(2, 17, 2, "three");
    giveCommand(3, 17, 3, "one");
    for (const int command : {2, 2, 2, 3, 4711})
        giveParameter(command, "p");
    giveRights("(1,4,17,201),(1,4,17,202),(1,4,17,203)");
    m_admin.send(askAllowed(17, 1) + askAllowed(17, 2) + askAllowed(17, 3));
    SAYS(m_admin, allowed(17, 1, {allowedRecord({"none", 1, "", "", 0, 1})}));
    SAYS(m_admin, allowed(17, 2, {allowedRecord({"three", 2, "", "", 3, 2})}));
    SAYS(m_admin, allowed(17, 3, {allowedRecord({"one", 3, "", "", 1, 3})}));
}

void TestOperatorCommands::kindsBeyondTheFourWorkAlike_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {0, 5, -1, -200, -201})
        QTest::addRow("%d", kind) << kind;
}

void TestOperatorCommands::kindsBeyondTheFourWorkAlike()
{
    QFETCH(int, kind);
    giveCommand(1, -17, kind, "c");
    m_admin.send(askAllowed(-17, kind));
    SAYS(m_admin, allowed(-17, kind, {}));
    giveRights(QStringLiteral("(1,4,-17,%1)").arg(kind + 200));
    m_admin.send(askAllowed(-17, kind) + askAllowed(17, 2147483647) + askAllowed(17, int(0x80000000)));
    SAYS(m_admin, allowed(-17, kind, {allowedRecord({"c", kind, "", "", 0, 1})}));
    SAYS(m_admin, allowed(17, 2147483647, {}));
    SAYS(m_admin, allowed(17, int(0x80000000), {}));
}

void TestOperatorCommands::commandWithNullColumns()
{
    m_site.database->run("INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Operation\",\"Name\") VALUES (1,17,2,'c')");
    giveRights("(1,4,17,202)");
    m_admin.send(askAllowed(17, 2));
    SAYS(m_admin, allowed(17, 2, {allowedRecord({"c", 2, {}, {}, 0, 1})}));
}

void TestOperatorCommands::failedCommandsAllowedCountZero()
{
    giveCommand(1, 17, 2, "c");
    giveRights("(1,4,17,202)");
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Params\"");
    m_admin.send(askAllowed(17, 2));
    SAYS(m_admin, allowed(17, 2, {}));
    m_failedStatements = 1;
}

void TestOperatorCommands::parametersHaveTheKnownBytes()
{
    m_site.database->run("INSERT INTO \"Params\" (\"Id_command\",\"Name\",\"Description\",\"Value\",\"Type\") VALUES "
                         "(9,'Я','Я','\\x00ff',3)");
    m_admin.send(
        hex("00 00 00 23 CB 00 00 00 12 47 65 74 5F 63 6F 6D 6D 61 6E 64 5F 70 61 72 61 6D 73 00 00 00 04 00 00 00 "
            "09 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 5A CA 00 00 00 12 47 65 74 5F 63 6F 6D 6D 61 6E 64 5F 70 61 72 61 6D 73 00 00 00 12 47 65 "
             "74 5F 63 6F 6D 6D 61 6E 64 5F 70 61 72 61 6D 73 00 00 00 1A"
             "00 00 00 01 00 00 00 02 D0 AF 00 00 00 02 04 2F 00 00 00 03 00 00 00 02 00 FF"
             "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestOperatorCommands::parametersComeInOrderOfRows()
{
    m_site.database->run(
        "INSERT INTO \"Params\" (\"Id\",\"Id_command\",\"Name\",\"Description\",\"Value\",\"Type\") VALUES "
        "(903,9,'third','c','3',-2147483648), (-5,9,'first','a','1',2147483647), (902,9,'second','b','2',0), "
        "(904,8,'other','o','o',1), (905,9,'fourth',NULL,NULL,NULL)");
    m_admin.send(ask("Get_command_params", i32(9)));
    SAYS(m_admin, parameters({bytes("first") + text("a") + i32(2147483647) + bytes("1"),
                              bytes("second") + text("b") + i32(0) + bytes("2"),
                              bytes("third") + text("c") + i32(0x80000000) + bytes("3"),
                              bytes("fourth") + support::null() + i32(0) + support::null()}));
}

void TestOperatorCommands::parameterValuesAreRawBytes()
{
    giveParameter(-9, "p", support::everyByte().repeated(500));
    giveParameter(-9, "q", "");
    m_site.database->run("UPDATE \"Params\" SET \"Description\" = '', \"Type\" = 1");
    m_admin.send(ask("Get_command_params", i32(-9)));
    SAYS(m_admin, parameters({bytes("p") + text("") + i32(1) + bytes(support::everyByte().repeated(500)),
                              bytes("q") + text("") + i32(1) + bytes("")}));
}

void TestOperatorCommands::parametersOfAnUnknownCommandCountZero()
{
    giveParameter(9, "p");
    m_admin.send(ask("Get_command_params", i32(8)) + ask("Get_command_params", i32(0)));
    SAYS(m_admin, parameters({}));
    SAYS(m_admin, parameters({}));
}

void TestOperatorCommands::failedParametersCountZero()
{
    giveParameter(9, "p");
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Params\"");
    m_admin.send(ask("Get_command_params", i32(9)));
    SAYS(m_admin, parameters({}));
    m_failedStatements = 1;
}

void TestOperatorCommands::savesValuesByName()
{
    for (const int command : {9, 8})
        for (const char *name : {"a", "b", "c"})
            giveParameter(command, name);
    m_admin.send(hex("00 00 00 33 CB 00 00 00 0B 53 61 76 65 5F 70 61 72 61 6D 73 00 00 00 1B"
                     "00 00 00 00 00 00 00 09 00 00 00 01 00 00 00 01 62 00 00 00 06 6E 65 77 20 2D 2D 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 32 CA 00 00 00 0B 53 61 76 65 5F 70 61 72 61 6D 73 00 00 00 0B 53 61 76 65 5F 70 61 72 61 "
             "6D 73 FF FF FF FF 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
    QCOMPARE(values(), QStringList({"9|a|old", "9|b|new --", "9|c|old", "8|a|old", "8|b|old", "8|c|old"}));
    m_admin.send(ask("Save_params", save(8, {pair("c", "3"), pair("a", "1")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|a|old", "9|b|new --", "9|c|old", "8|a|1", "8|b|old", "8|c|3"}));
}

void TestOperatorCommands::savesWhateverTheFirstNumberIs_data()
{
    QTest::addColumn<int>("number");
    for (const int number : {0, 8, -1, 2147483647, int(0x80000000)})
        QTest::addRow("%d", number) << number;
}

void TestOperatorCommands::savesWhateverTheFirstNumberIs()
{
    QFETCH(int, number);
    giveParameter(9, "a");
    giveParameter(8, "a");
    m_admin.send(ask("Save_params", save(9, {pair("a", "new")}, 1, number)));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|a|new", "8|a|old"}));
}

void TestOperatorCommands::savesEveryRowOfThatName()
{
    for (const char *name : {"a", "b", "a", "A"})
        giveParameter(9, name);
    m_admin.send(ask("Save_params", save(9, {pair("a", "new")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|a|new", "9|b|old", "9|a|new", "9|A|old"}));
}

void TestOperatorCommands::savesTheLastOfTwoValues()
{
    giveParameter(9, "a");
    m_admin.send(ask("Save_params", save(9, {pair("a", "first"), pair("a", "second")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList("9|a|second"));
}

void TestOperatorCommands::savesAnyBytes_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("every byte") << support::everyByte();
    QTest::newRow("zero bytes") << QByteArray(3, '\0');
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("null") << QByteArray();
    QTest::newRow("what looks like an escape") << QByteArray("\\x4142 \\\\ \\101 '");
    QTest::newRow("1 MB") << support::everyByte().repeated(4096);
}

void TestOperatorCommands::savesAnyBytes()
{
    QFETCH(QByteArray, value);
    giveParameter(9, "a");
    m_site.database->run("UPDATE \"Params\" SET \"Description\" = 'd', \"Type\" = 1");
    m_admin.send(ask("Save_params", save(9, {pair("a", value)})) + ask("Get_command_params", i32(9)));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    SAYS(m_admin, parameters({bytes("a") + text("d") + i32(1) + bytesOrNull(value)}));
    QCOMPARE(m_site.database->value("SELECT \"Value\" IS NULL FROM \"Params\"").toBool(), value.isNull());
}

void TestOperatorCommands::findsParametersByAnyName_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("Russian") << QString::fromUtf8("Скорость");
    QTest::newRow("quotes") << "it's \"q\"";
    QTest::newRow("placeholders") << "%0 %1 ? :x $1";
    QTest::newRow("backslashes") << "\\x706172 \\";
    QTest::newRow("emoji") << QString::fromUtf8("😀");
    QTest::newRow("empty") << "";
}

void TestOperatorCommands::findsParametersByAnyName()
{
    QFETCH(QString, name);
    QString quoted = name;
    giveParameter(9, quoted.replace('\'', "''"));
    giveParameter(9, "other");
    m_admin.send(ask("Save_params", save(9, {pair(name.toUtf8(), "new")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|" + name + "|new", "9|other|old"}));
}

void TestOperatorCommands::unknownNamesSaveNothing()
{
    giveParameter(9, "a");
    const QByteArrayList pairs = {
        pair("b", "new"), pair("A", "new"),        pair("a ", "new"),    pair("", "new"),
        pair("%", "new"), pair("\xff\xfe", "new"), pair("\\x61", "new"), support::null() + bytes("new")};
    m_admin.send(ask("Save_params", save(9, pairs)) + ask("Save_params", save(4711, {pair("a", "new")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList("9|a|old"));
}

void TestOperatorCommands::zeroAndNegativeCountsSaveNothing_data()
{
    QTest::addColumn<qint64>("count");
    QTest::newRow("0") << qint64(0);
    QTest::newRow("-1") << qint64(-1);
    QTest::newRow("-2^31") << qint64(0x80000000);
}

void TestOperatorCommands::zeroAndNegativeCountsSaveNothing()
{
    QFETCH(qint64, count);
    giveParameter(9, "a");
    m_admin.send(ask("Save_params", save(9, {pair("a", "new")}, count)));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList("9|a|old"));
}

void TestOperatorCommands::pairsBeyondTheCountAreNotSaved()
{
    giveParameter(9, "a");
    giveParameter(9, "b");
    m_admin.send(ask("Save_params", save(9, {pair("a", "new"), pair("b", "new")}, 1)));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|a|new", "9|b|old"}));
}

void TestOperatorCommands::savesTheOthersWhenOneFails()
{
    for (const char *name : {"a", "b", "c", "d"})
        giveParameter(9, name);
    const support::StatementFault fault(*m_site.database, "\"Params\"", "UPDATE", "NEW.\"Name\" = 'b'");
    m_admin.send(ask("Save_params", save(9, {pair("a", "new"), pair("b", "new"), pair(QByteArray("c\0", 2), "new"),
                                             pair("d", "new")})));
    SAYS(m_admin, support::emptyAnswer("Save_params", kOperator));
    QCOMPARE(values(), QStringList({"9|a|new", "9|b|old", "9|c|old", "9|d|new"}));
    m_failedStatements = 2;
    QVERIFY2(m_site.newLogLines().value(0).contains("Save_params"), qPrintable(m_site.newLogLines().value(0)));
}

void TestOperatorCommands::namesAreComparedExactly_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"get_user_list", "Get_User_list", "Get_user_list ", "Get_users_lis", "GET_OBJECTS",
                             "Get_object", "Get_objects_", "Get_object_commands", "Get_command_param", "save_params",
                             "Get_object_tree", "Get_full_objects_tree_v2", "advanced_search", "Advanced_search_v2"})
        QTest::newRow(name) << QByteArray(name);
}

void TestOperatorCommands::namesAreComparedExactly()
{
    QFETCH(QByteArray, name);
    m_admin.send(ask(name, i32(17) + i32(2)));
    SAYS_NOTHING_MORE(m_admin);
}

void TestOperatorCommands::readsNothingFromRequestsWithoutFields_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char *name : {"Get_user_list", "Get_users_list", "Get_objects"})
        QTest::newRow(name) << QByteArray(name);
}

void TestOperatorCommands::readsNothingFromRequestsWithoutFields()
{
    QFETCH(QByteArray, name);
    m_site.database->run(support::givingProperty(17, "name", "A"));
    m_admin.send(support::commandWithNoData(name, kOperator));
    const QByteArray expected = m_admin.nextFrame();
    for (const QByteArray &request : {QByteArray(""), i32(-1), QByteArray(5000, '\xff')}) {
        m_admin.send(ask(name, request));
        SAYS(m_admin, expected);
    }
}

QTEST_GUILESS_MAIN(TestOperatorCommands)
#include "test_operator_commands.moc"

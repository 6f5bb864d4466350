#include "tests/ctl/fake_operators.h"
#include "tests/ctl/program_run.h"

#include <QTemporaryFile>
#include <QTest>

using ctl::Account;
using testing::FakeOperators;
using testing::ProgramRun;

/// Command lines about accounts, personal setup, search and operators' commands.
class TestCtlOperators : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_run.reset(); }
    void masksPasswords();
    void showsPasswordsOnRequest();
    void addsAnAccount();
    void readsThePasswordFromAFile();
    void refusesWhatTheColumnsCannotHold_data();
    void refusesWhatTheColumnsCannotHold();
    void setsWhatIsGivenAndKeepsTheRest();
    void saysThatAnAccountWasNotStored();
    void deletesAnAccount();
    void confirmsNoDeletionWithoutADatabase();
    void listsTheCatalogueOfProperties();
    void showsWhatIsSwitchedOn();
    void switchesOnAndOff();
    void refusesWrongSetupChanges_data();
    void refusesWrongSetupChanges();
    void saysThatASetupWasNotStored();
    void copiesASection();
    void showsWhatWasFound();
    void showsWhyASearchFailed();
    void sendsPatternsAndStatementsAsTheyAre();
    void showsAllowedCommands();
    void savesValuesOfParameters();
    void refusesOtherChangesOfParameters_data();
    void refusesOtherChangesOfParameters();
    void refusesEveryPrefixOfAnAnswer_data();
    void refusesEveryPrefixOfAnAnswer();
    void refusesAnswersThatPromiseTooMuch_data();
    void refusesAnswersThatPromiseTooMuch();

private:
    [[nodiscard]] QByteArrayList requestNames() const;
    [[nodiscard]] bus::Command lastRequest(const QByteArray &name) const;
    static QByteArray bytes(const char *hex) { return QByteArray::fromHex(hex); }

    std::unique_ptr<ProgramRun> m_run;
    std::unique_ptr<FakeOperators> m_fake;
};

void TestCtlOperators::init()
{
    m_run = std::make_unique<ProgramRun>();
    m_fake = std::make_unique<FakeOperators>(*m_run->service);
    m_fake->accounts = {{4, u"anna"_qs, u"secret"_qs, u"Анна"_qs, true, u"a@b"_qs, u"12345"_qs},
                        {7, u"boris"_qs, QString(), QString(), false, QString(), QString()}};
    m_fake->objects = {3, 5};
    m_fake->answers["Get_example_objprops_v2"] = bytes("00000000");
}

QByteArrayList TestCtlOperators::requestNames() const
{
    QByteArrayList names;
    for (const bus::Command &command : m_run->service->requests)
        names.append(command.name);
    return names;
}

bus::Command TestCtlOperators::lastRequest(const QByteArray &name) const
{
    bus::Command found;
    for (const bus::Command &command : m_run->service->requests) {
        if (command.name == name)
            found = command;
    }
    return found;
}

void TestCtlOperators::masksPasswords()
{
    QCOMPARE(m_run->run({"user", "list"}), 0);
    QCOMPARE(m_run->out, u"id  login  password  admin  description  email   phone\n"
                         "--  -----  --------  -----  -----------  ------  ------\n"
                         "4   anna   ***       yes    Анна         a@b     12345\n"
                         "7   boris  (null)    no     (null)       (null)  (null)\n"_qs);
    QCOMPARE(m_run->run({"user", "list", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"users\": [\n"
                         "  {\"id\": 4, \"login\": \"anna\", \"password\": \"***\", \"admin\": true, "
                         "\"description\": \"Анна\", \"email\": \"a@b\", \"phone\": \"12345\"},\n"
                         "  {\"id\": 7, \"login\": \"boris\", \"password\": null, \"admin\": false, "
                         "\"description\": null, \"email\": null, \"phone\": null}\n]}\n"_qs);
}

void TestCtlOperators::showsPasswordsOnRequest()
{
    QCOMPARE(m_run->run({"user", "list", "--show-passwords"}), 0);
    QVERIFY(m_run->out.contains(u"secret"));
    QCOMPARE(m_run->run({"user", "list", "--show-passwords", "--json"}), 0);
    QVERIFY(m_run->out.contains(u"\"secret\""));
    QCOMPARE(requestNames(), (QByteArrayList{"Get_user_list", "Get_user_list"}));
}

void TestCtlOperators::addsAnAccount()
{
    QCOMPARE(m_run->run({"user", "add", "--login", "v", "--password", "p", "--phone", "0123456789", "--admin", "yes"}),
             0);
    QCOMPARE(m_run->out, u"account 101 (\"v\") added\n"_qs);
    QCOMPARE(requestNames(), (QByteArrayList{"Get_users_list", "Fix_user", "Get_users_list"}));
    QCOMPARE(lastRequest("Fix_user").data, bytes("00000000 00000002 0076 00000002 0070 00000000 00000000"
                                                 "00000014 0030003100320033003400350036003700380039 01"));
    QCOMPARE(m_run->run({"--json", "user", "add", "--login", "v", "--email", "x"}), 0);
    QCOMPARE(m_run->out, u"{\"id\": 102}\n"_qs);
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"user", "add", "--login", "v", "--email", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the new account\n"_qs);
}

void TestCtlOperators::readsThePasswordFromAFile()
{
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write("тайна \n");
    file.flush();
    QCOMPARE(m_run->run({"user", "set", "7", "--password-file", file.fileName().toStdString()}), 0);
    QCOMPARE(m_fake->accounts[1].password, u"тайна "_qs);
    file.write("\xff");
    file.flush();
    QCOMPARE(m_run->run({"user", "set", "7", "--password-file", file.fileName().toStdString()}), 2);
    QCOMPARE(m_run->err, u"objectsctl: the password is not UTF-8 text\n"_qs);
}

void TestCtlOperators::refusesWhatTheColumnsCannotHold_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<QString>("message");
    const QString email = QString(151, u'e');
    QTest::newRow("new account, phone")
        << QStringList{u"add"_qs, u"--login"_qs, u"v"_qs, u"--phone"_qs, u"12345678901"_qs}
        << u"the telephone number \"12345678901\" has 11 characters, and the registry holds 10: the service would cut "
           "it and not say so"_qs;
    QTest::newRow("account, phone")
        << QStringList{u"set"_qs, u"4"_qs, u"--phone"_qs, u"12345678901"_qs}
        << u"the telephone number \"12345678901\" has 11 characters, and the registry holds 10: the service would "
           "store nothing of this and not say so"_qs;
    QTest::newRow("new account, e-mail")
        << QStringList{u"add"_qs, u"--login"_qs, u"v"_qs, u"--email"_qs, email}
        << u"the e-mail address \"%1\" has 151 characters, and the registry holds 150: the service would store "
           "nothing of this and not say so"_qs.arg(email);
    QTest::newRow("account, e-mail")
        << QStringList{u"set"_qs, u"4"_qs, u"--email"_qs, email}
        << u"the e-mail address \"%1\" has 151 characters, and the registry holds 150: the service would store "
           "nothing of this and not say so"_qs.arg(email);
}

void TestCtlOperators::refusesWhatTheColumnsCannotHold()
{
    QFETCH(QStringList, words);
    QFETCH(QString, message);
    std::vector<std::string> line = {"user"};
    for (const QString &word : words)
        line.push_back(word.toStdString());
    QCOMPARE(m_run->run(line), 2);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
    QCOMPARE(m_run->hub->clientCount(), 0);
    QVERIFY(m_run->service->requests.isEmpty());
    // One character less is what the column holds.
    line.back().pop_back();
    QCOMPARE(m_run->run(line), 0);
}

void TestCtlOperators::setsWhatIsGivenAndKeepsTheRest()
{
    QCOMPARE(m_run->run({"user", "set", "4", "--phone", "", "--admin", "no"}), 0);
    QCOMPARE(m_run->out, u"account 4 (\"anna\") set\n"_qs);
    QCOMPARE(m_fake->accounts[0], (Account{4, u"anna"_qs, u"secret"_qs, u"Анна"_qs, false, u"a@b"_qs, u""_qs}));
    QCOMPARE(m_run->run({"user", "set", "7", "--login", "b"}), 0);
    QCOMPARE(lastRequest("Fix_user").data,
             bytes("00000007 00000002 0062 FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF 00")); // null stays null
    QCOMPARE(m_run->run({"user", "set", "7"}), 2);
    QCOMPARE(m_run->run({"user", "set", "8", "--login", "b"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no account 8 (\"user list\" shows all)\n"_qs);
}

void TestCtlOperators::saysThatAnAccountWasNotStored()
{
    m_run->service->refusesChanges = true;
    QCOMPARE(m_run->run({"user", "set", "4", "--phone", "1"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change of account 4\n"_qs);
    QCOMPARE(m_run->run({"user", "delete", "4"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not delete account 4\n"_qs);
}

void TestCtlOperators::deletesAnAccount()
{
    QCOMPARE(m_run->run({"user", "delete", "4"}), 0);
    QCOMPARE(m_run->out, u"account 4 (\"anna\") deleted\n"_qs);
    QCOMPARE(lastRequest("Fix_user").data, bytes("FFFFFFFC"));
    QCOMPARE(m_fake->accounts.size(), 1);
    QCOMPARE(m_run->run({"user", "delete", "4"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no account 4 (\"user list\" shows all)\n"_qs);
}

void TestCtlOperators::confirmsNoDeletionWithoutADatabase()
{
    m_fake->answers["Get_example_objprops_v2"] = bytes("FFFFFFFF");
    QCOMPARE(m_run->run({"user", "delete", "4"}), 1);
    QVERIFY(m_run->err.contains(u"cannot read from its database"));
}

void TestCtlOperators::listsTheCatalogueOfProperties()
{
    m_fake->answers["Get_persprop4objects_desc"] =
        bytes("00000002"
              "00000000 00000002 4162 00000001 00000008 00000002 6320 00000000"
              "00000000 00000001 43 00000000");
    QCOMPARE(m_run->run({"props"}), 0);
    QCOMPARE(m_run->out, u"Ab\n    8  c \n\nC\n"_qs);
    QCOMPARE(m_run->run({"props", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"groups\": [\n  {\"heading\": \"Ab\", \"properties\": [\n  {\"id\": 8, \"text\": \"c "
                         "\"}\n]},\n  {\"heading\": \"C\", \"properties\": []}\n]}\n"_qs);
}

void TestCtlOperators::showsWhatIsSwitchedOn()
{
    m_fake->setups[7][1] = {{0, {201}}, {5, {202, 201}}};
    QCOMPARE(m_run->run({"setup", "show", "7"}), 0);
    QCOMPARE(m_run->out, u"section 1:\n"
                         "object  properties switched on\n"
                         "------  ----------------------\n"
                         "0       201\n"
                         "5       201 202\n"
                         "nothing is on for 1 line\n\n"
                         "section 3:\nnothing is on for 3 lines\n\n"
                         "section 4:\nnothing is on for 3 lines\n"_qs);
    for (int property = 100; property < 140; ++property)
        m_fake->setups[7][4][3].insert(property);
    QCOMPARE(m_run->run({"setup", "show", "7"}), 0);
    for (int property = 100; property < 140; ++property)
        QVERIFY(m_run->out.contains(QString::number(property))); // a long list goes on in the next row
    QCOMPARE(m_run->run({"setup", "show", "4", "--json"}), 0);
    QVERIFY(m_run->out.startsWith(u"{\"operator\": 4, \"setup\": [\n"
                                  "  {\"section\": 1, \"object\": 0, \"properties\": []},\n"));
    QCOMPARE(m_run->run({"setup", "show", "9"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: there is no account 9 (\"user list\" shows all)\n"_qs);
}

void TestCtlOperators::switchesOnAndOff()
{
    m_fake->setups[7][3] = {{0, {1}}, {5, {1, 2}}};
    QCOMPARE(m_run->run({"setup", "set", "7", "--section", "3", "--objects", "0,5", "--on", "8", "--off", "1,9"}), 0);
    QCOMPARE(m_run->out, u"section 3 of operator 7 changed on 2 lines\n"_qs);
    QCOMPARE(lastRequest("Fix_personal_setup_changes").data,
             bytes("00000003 00000007 00000002 00000000 00000005 00000002 00000001 00000009 00000001 00000008"));
    QCOMPARE(m_fake->setups[7][3], (FakeOperators::Section{{0, {8}}, {5, {2, 8}}}));
    QCOMPARE(m_run->run({"setup", "set", "7", "--section", "2", "--objects", "1", "--on", "64"}), 0);
    QCOMPARE(m_run->out, u"section 2 (layers) of operator 7 changed on 1 line; no command reads layers back, so this "
                         "is not checked\n"_qs);
}

void TestCtlOperators::refusesWrongSetupChanges_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    const QStringList set = {u"set"_qs, u"7"_qs, u"--section"_qs, u"1"_qs, u"--objects"_qs};
    QTest::newRow("nothing to change") << set + QStringList{u"3"_qs} << 2
                                       << u"nothing to change: --on or --off is missing"_qs;
    QTest::newRow("on and off") << set + QStringList{u"3"_qs, u"--on"_qs, u"8,9"_qs, u"--off"_qs, u"9"_qs} << 2
                                << u"property 9 is to be switched both on and off"_qs;
    QTest::newRow("no number") << set + QStringList{u"3"_qs, u"--on"_qs, u"8,x"_qs} << 2
                               << u"--on: expected property numbers like 3,7,12, not \"x\""_qs;
    QTest::newRow("twice") << set + QStringList{u"3,3"_qs, u"--on"_qs, u"8"_qs} << 2
                           << u"--objects: object 3 is given twice"_qs;
    QTest::newRow("no such object") << set + QStringList{u"3,4"_qs, u"--on"_qs, u"8"_qs} << 1
                                    << u"there is no object 4 (\"objects\" lists those with a name)"_qs;
    QTest::newRow("no such account") << QStringList{u"copy"_qs, u"7"_qs,    u"--section"_qs,
                                                    u"1"_qs,    u"--to"_qs, u"4,9"_qs}
                                     << 1 << u"there is no account 9 (\"user list\" shows all)"_qs;
    QTest::newRow("copy onto itself") << QStringList{u"copy"_qs, u"7"_qs,    u"--section"_qs,
                                                     u"1"_qs,    u"--to"_qs, u"4,7"_qs}
                                      << 2
                                      << u"--to: account 7 is the source: a copy onto itself would only empty it"_qs;
}

void TestCtlOperators::refusesWrongSetupChanges()
{
    QFETCH(QStringList, words);
    QFETCH(int, code);
    QFETCH(QString, message);
    std::vector<std::string> line = {"setup"};
    for (const QString &word : words)
        line.push_back(word.toStdString());
    QCOMPARE(m_run->run(line), code);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
    QVERIFY(!requestNames().contains("Fix_personal_setup_changes"));
    QVERIFY(!requestNames().contains("Copy_personal_setup"));
}

void TestCtlOperators::saysThatASetupWasNotStored()
{
    m_run->service->refusesChanges = true;
    m_fake->setups[7][1] = {{5, {1}}};
    QCOMPARE(m_run->run({"setup", "set", "7", "--section", "1", "--objects", "0,5", "--on", "8"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change for object 0\n"_qs);
    QCOMPARE(m_run->run({"setup", "set", "7", "--section", "1", "--objects", "0,5", "--off", "1"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the change for object 5\n"_qs);
    QCOMPARE(m_run->run({"setup", "copy", "7", "--section", "1", "--to", "4"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the copy for operator 4\n"_qs);
}

void TestCtlOperators::copiesASection()
{
    m_fake->setups[7] = {{1, {{5, {1, 2}}}}, {3, {{5, {3}}}}};
    m_fake->setups[4] = {{1, {{3, {9}}}}};
    QCOMPARE(m_run->run({"setup", "copy", "7", "--section", "1", "--to", "4"}), 0);
    QCOMPARE(m_run->out, u"section 1 of operator 7 copied to 1 operator\n"_qs);
    QCOMPARE(lastRequest("Copy_personal_setup").data, bytes("00000001 00000007 00000001 00000004"));
    QCOMPARE(m_fake->setups[4][1], (FakeOperators::Section{{5, {1, 2}}}));
    QVERIFY(m_fake->setups[4][3].isEmpty());
}

void TestCtlOperators::showsWhatWasFound()
{
    m_fake->answers["Advanced_search"] =
        bytes("01 00000001 00000011 00000002 4162 00000001 43 00000002 0044 00000004 6e616d65");
    QCOMPARE(m_run->run({"search", "C", "--operator", "7"}), 0);
    QCOMPARE(m_run->out, u"object  name  property  description  value\n"
                         "------  ----  --------  -----------  -----\n"
                         "17      Ab    name      D            C\n"_qs);
    QCOMPARE(lastRequest("Advanced_search").idConnection, 7);
    QCOMPARE(lastRequest("Advanced_search").data, bytes("00000002 0043"));
    QCOMPARE(m_run->run({"search", "C", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"found\": [\n  {\"object\": 17, \"name\": \"Ab\", \"property\": \"name\", "
                         "\"description\": \"D\", \"value\": \"C\"}\n]}\n"_qs);
    m_fake->answers["Advanced_search"] = bytes("01 00000001 00000011 00000002 4162 00000000 00000000 00000000");
    QCOMPARE(m_run->run({"search"}), 0);
    QCOMPARE(m_run->out, u"object  name\n------  ----\n17      Ab\n"_qs);
    QCOMPARE(lastRequest("Advanced_search").data, bytes("00000000"));
    m_fake->answers["Advanced_search"] = bytes("01 00000000");
    QCOMPARE(m_run->run({"search", "C"}), 0);
    QCOMPARE(m_run->out, u"nothing found\n"_qs);
}

void TestCtlOperators::showsWhyASearchFailed()
{
    m_fake->answers["Advanced_search"] = bytes("00 0000000C 0061001B000A00620063000A");
    QCOMPARE(m_run->run({"search", "o'x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the database refused the search: a\\x1b bc\n"_qs);
    m_fake->answers["Advanced_search"] = bytes("01 FFFFFFFF");
    QCOMPARE(m_run->run({"search", "x"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service could not read the hits from the registry: its log says why\n"_qs);
}

void TestCtlOperators::sendsPatternsAndStatementsAsTheyAre()
{
    m_fake->answers["Get_objs_by_condition_v2"] = bytes("00000002 00000005 00000003");
    m_fake->answers["Get_objs_by_query_v2"] = bytes("00000000");
    QCOMPARE(m_run->run({"find", "%0?'", "--property", ":n"}), 0);
    QCOMPARE(m_run->out, u"object\n------\n5\n3\n"_qs);
    QCOMPARE(lastRequest("Get_objs_by_condition_v2").data, bytes("00000008 00250030003F0027 00000004 003A006E"));
    QCOMPARE(m_run->run({"find", "x", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"objects\": [5, 3]}\n"_qs);
    QCOMPARE(lastRequest("Get_objs_by_condition_v2").data, bytes("00000002 0078 00000000"));
    QCOMPARE(m_run->run({"query", "begin; "}), 0);
    QCOMPARE(m_run->out, u"nothing found\n"_qs);
    QCOMPARE(lastRequest("Get_objs_by_query_v2").data, bytes("0000000E 0062006500670069006E003B0020"));
}

void TestCtlOperators::showsAllowedCommands()
{
    m_fake->answers["Get_object_command"] =
        bytes("00000003 00000001 00000002 6162 00000002 00000002 0044 00000001 58 00000004 00000009 00000002");
    QCOMPARE(m_run->run({"allowed", "3", "2", "--operator", "7"}), 0);
    QCOMPARE(m_run->out, u"id  name  description  executed by  params\n"
                         "--  ----  -----------  -----------  ------\n"
                         "9   ab    D            X            4\n"_qs);
    QCOMPARE(lastRequest("Get_object_command").idConnection, 7);
    QCOMPARE(lastRequest("Get_object_command").data, bytes("00000003 00000002"));
    QCOMPARE(m_run->run({"allowed", "3", "2", "--json"}), 0);
    QCOMPARE(m_run->out, u"{\"object\": 3, \"kind\": 2, \"commands\": [\n  {\"id\": 9, \"name\": \"ab\", "
                         "\"operation\": 2, \"description\": \"D\", \"exec_by\": \"X\", \"params\": 4}\n]}\n"_qs);
    QCOMPARE(m_run->run({"allowed", "4", "2"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service's answer cannot be read: it is about object 3, not 4\n"_qs);
    QCOMPARE(m_run->run({"allowed", "3", "1"}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service's answer cannot be read: it is about the kind 2, not 1\n"_qs);
    QCOMPARE(m_run->run({"allowed", "3", "5"}), 2);
    m_fake->answers["Get_object_command"] = bytes("00000003 00000000 00000002");
    QCOMPARE(m_run->run({"allowed", "3", "2", "--operator", "7"}), 0);
    QCOMPARE(m_run->out, u"operator 7 may send object 3 no command of kind 2\n"_qs);
}

/// Two parameters: "a" with the value 1, "b" with no value.
constexpr char kParams[] = "00000002 00000001 61 00000002 0041 00000001 00000001 31"
                           "00000001 62 FFFFFFFF 0000000A FFFFFFFF";

void TestCtlOperators::savesValuesOfParameters()
{
    m_fake->answers["Get_command_params"] = bytes(kParams);
    QCOMPARE(m_run->run({"params", "show", "9"}), 0);
    QCOMPARE(m_run->out, u"name  description  type  value\n"
                         "----  -----------  ----  ------\n"
                         "a     A            1     1\n"
                         "b     (null)       10    (null)\n"_qs);
    QCOMPARE(m_run->run({"params", "show", "9", "--json"}), 0);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(m_run->out.toUtf8());
    file.flush();
    QCOMPARE(m_run->run({"params", "save", "9", "--file", file.fileName().toStdString()}), 0);
    QCOMPARE(m_run->out, u"command 9: 2 values saved\n"_qs);
    QCOMPARE(lastRequest("Save_params").data,
             bytes("00000000 00000009 00000002 00000001 61 00000001 31 00000001 62 FFFFFFFF"));
    // The fixed answer stands for a service that has not stored another value.
    file.resize(0);
    file.seek(0);
    file.write(R"({"params": [{"name": "a", "value": "2"}]})");
    file.flush();
    QCOMPARE(m_run->run({"params", "save", "9", "--file", file.fileName().toStdString()}), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service did not store the value of \"a\"\n"_qs);
}

void TestCtlOperators::refusesOtherChangesOfParameters_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown name") << R"({"params": [{"name": "c", "value": ""}]})"_qba
                                  << u"params[0].name: the command has no parameter \"c\""_qs;
    QTest::newRow("another type") << R"({"params": [{"name": "a", "value": "", "type": 2}]})"_qba
                                  << u"params[0].type: only values can be saved here"_qs;
    QTest::newRow("another description") << R"({"params": [{"name": "b", "value": "", "description": ""}]})"_qba
                                         << u"params[0].description: only values can be saved here"_qs;
    QTest::newRow("twice") << R"({"params": [{"name": "a", "value": ""}, {"name": "a", "value": ""}]})"_qba
                           << u"params[1].name: is given twice"_qs;
    QTest::newRow("another command") << R"({"command": 8, "params": []})"_qba
                                     << u"command: expected 9, as on the command line"_qs;
    QTest::newRow("misspelt") << R"({"params": [{"name": "a", "valeu": ""}]})"_qba << u"params[0].value: is missing"_qs;
}

void TestCtlOperators::refusesOtherChangesOfParameters()
{
    QFETCH(QByteArray, document);
    QFETCH(QString, message);
    m_fake->answers["Get_command_params"] = bytes(kParams);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(document);
    file.flush();
    QVERIFY(m_run->run({"params", "save", "9", "--file", file.fileName().toStdString()}) != 0);
    QCOMPARE(m_run->err, u"objectsctl: "_qs + message + u'\n');
    QVERIFY(!requestNames().contains("Save_params"));
}

void TestCtlOperators::refusesEveryPrefixOfAnAnswer_data()
{
    QTest::addColumn<QByteArrayList>("words");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::newRow("catalogue") << QByteArrayList{"props"} << "Get_persprop4objects_desc"_qba
                               << bytes("00000001 00000000 00000001 41 00000001 00000008 00000001 63 00000000");
    QTest::newRow("hits") << QByteArrayList{"search", "x"} << "Advanced_search"_qba
                          << bytes("01 00000001 00000011 00000001 41 00000001 43 00000002 0044 00000001 6e");
    QTest::newRow("error") << QByteArrayList{"search", "x"} << "Advanced_search"_qba << bytes("00 00000002 0044");
    QTest::newRow("numbers") << QByteArrayList{"find", "x"} << "Get_objs_by_condition_v2"_qba
                             << bytes("00000002 00000001 00000002");
    QTest::newRow("rows") << QByteArrayList{"query", "x"} << "Get_objs_by_query_v2"_qba << bytes("00000001 00000001");
    QTest::newRow("names") << QByteArrayList{"objects"} << "Get_objects"_qba << bytes("00000001 00000005 00000001 41");
    QTest::newRow("allowed") << QByteArrayList{"allowed", "3", "2"} << "Get_object_command"_qba
                             << bytes("00000003 00000001 00000001 61 00000002 00000000 00000000 00000000 00000009"
                                      "00000002");
    QTest::newRow("parameters") << QByteArrayList{"params", "show", "9"} << "Get_command_params"_qba << bytes(kParams);
}

void TestCtlOperators::refusesEveryPrefixOfAnAnswer()
{
    QFETCH(QByteArrayList, words);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    for (qsizetype length = 0; length < answer.size(); ++length) {
        m_fake->answers[command] = answer.first(length);
        QCOMPARE(m_run->runWords(words), 1);
        QVERIFY2(m_run->err.contains(u"cannot be read"), qPrintable(m_run->err));
        QCOMPARE(m_run->out, QString());
    }
    m_fake->answers[command] = answer + 'x';
    QCOMPARE(m_run->runWords(words), 1);
    m_fake->answers[command] = answer;
    (void)m_run->runWords(words);
    QVERIFY2(!m_run->err.contains(u"cannot be read"), qPrintable(m_run->err));
}

void TestCtlOperators::refusesAnswersThatPromiseTooMuch_data()
{
    QTest::addColumn<QByteArrayList>("words");
    QTest::addColumn<QByteArray>("command");
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<QString>("reason");
    const QByteArrayList props = {"props"};
    const QByteArray catalogue = "Get_persprop4objects_desc";
    QTest::newRow("groups") << props << catalogue << bytes("7FFFFFFF 00000000")
                            << u"it promises 2147483647 groups in 4 bytes"_qs;
    QTest::newRow("properties") << props << catalogue << bytes("00000001 00000000 00000000 00000001 00000000")
                                << u"it promises 1 properties in 4 bytes"_qs;
    QTest::newRow("hits") << QByteArrayList{"search"} << "Advanced_search"_qba << bytes("01 7FFFFFFF")
                          << u"it promises 2147483647 hits in 0 bytes"_qs;
    QTest::newRow("less than nothing") << QByteArrayList{"search"} << "Advanced_search"_qba << bytes("01 80000000")
                                       << u"it promises -2147483648 hits in 0 bytes"_qs;
    QTest::newRow("numbers") << QByteArrayList{"query", "x"} << "Get_objs_by_query_v2"_qba << bytes("FFFFFFFF 00000001")
                             << u"it ends too early, after 8 bytes"_qs;
    QTest::newRow("long name") << QByteArrayList{"objects"} << "Get_objects"_qba << bytes("00000001 00000005 7FFFFFFF")
                               << u"it ends too early, after 12 bytes"_qs;
    QTest::newRow("commands") << QByteArrayList{"allowed", "3", "2"} << "Get_object_command"_qba
                              << bytes("00000003 10000000") << u"it promises 268435456 commands in 0 bytes"_qs;
    QTest::newRow("parameters") << QByteArrayList{"params", "show", "9"} << "Get_command_params"_qba
                                << bytes("10000000") << u"it promises 268435456 parameters in 0 bytes"_qs;
}

void TestCtlOperators::refusesAnswersThatPromiseTooMuch()
{
    QFETCH(QByteArrayList, words);
    QFETCH(QByteArray, command);
    QFETCH(QByteArray, answer);
    QFETCH(QString, reason);
    m_fake->answers[command] = answer;
    QCOMPARE(m_run->runWords(words), 1);
    QCOMPARE(m_run->err, u"objectsctl: the service's answer cannot be read: %1\n"_qs.arg(reason));
}

QTEST_GUILESS_MAIN(TestCtlOperators)
#include "test_ctl_operators.moc"

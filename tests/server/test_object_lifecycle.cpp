// Creation, renaming and deletion of objects: one command, told apart by the sign of its first field.

#include "conversation.h"
#include "registry_bytes.h"
#include "registry_site.h"

#include <QRegularExpression>

using support::hex;
using support::i32;
using support::savedCard;

namespace {

constexpr int kOperator = 4;

QByteArray creation(const QByteArray &name)
{
    return support::command("Fix_object_v2", i32(0) + support::bytes(name), kOperator);
}

QByteArray renaming(int object, const QByteArray &name)
{
    return support::command("Fix_object_v2", i32(object) + support::bytes(name), kOperator);
}

QByteArray deletion(int object)
{
    return support::command("Fix_object_v2", i32(-qint64(object)), kOperator);
}

const QStringList kEightTables = {"\"Objects\"", "\"Objects_property\"",   "\"Groups_objects\"", "\"Commands\"",
                                  "\"Sensors\"", "\"Objects_permission\"", "\"Person_Setup\"",   "archive.lastdata"};

} // namespace

class TestObjectLifecycle : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void createsObjectWithItsName();
    void givesEveryObjectAGuidOfItsOwn();
    void recordsManyCreationsInOrder();
    void createdObjectHasTheNameAnswered();
    void storesNameBytesAsTheyCame_data();
    void storesNameBytesAsTheyCame();
    void storesBytesThatAreNoText_data();
    void storesBytesThatAreNoText();
    void nullNameIsStoredAsNull();
    void fillsLinesWithoutTouchingClientsText();
    void unknownOperatorHasNoNameInTheLines();
    void failedCreationRecordsBothLinesWithZero();
    void failedNameLeavesTheObject();

    void renamesOnlyTheNameOfOneObject();
    void renameStoresNameBytesAsTheyCame_data() { storesNameBytesAsTheyCame_data(); }
    void renameStoresNameBytesAsTheyCame();
    void renameOfObjectWithoutNameStillAnnouncesAndRecords();
    void failedRenameStillAnnouncesAndRecords();
    void renamesGreatestObject();

    void deletesObjectFromEightTables();
    void deletionIgnoresWhatFollows();
    void deletionOfUnknownObjectOnlyRecords();
    void deletesGreatestObject();
    void smallestSelectorDeletesNothing();
    void failedDeletionDeletesNothing_data();
    void failedDeletionDeletesNothing();
    void missingRightOnLastTableDeletesNothing();

private:
    void giveObject(int object);
    /// Every row of the eight tables, of Params and Groups.
    QStringList everything();
    QString nameOf(int object);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    support::ClientPeer &m_client = m_site.client;
    int m_failedStatements = 0;
};

void TestObjectLifecycle::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectLifecycle::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectLifecycle::cleanup()
{
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestObjectLifecycle::giveObject(int object)
{
    const QString n = QString::number(object);
    const auto run = [&](const QString &statement) { m_site.database->run(QString(statement).replace("%", n)); };
    run("INSERT INTO \"Objects\" (\"Id\",\"Id_owner\",\"Id_shema_sensors\",\"guid\") VALUES (%,0,1,'{g}')");
    run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Description\",\"Type\",\"Value\",\"Visible\") "
        "VALUES "
        "(%,'name','Имя',10,'old',true), (%,'Name','other',10,'old',true), (%,'modem','Модем',2,'1',false)");
    run("INSERT INTO \"Groups_objects\" VALUES (1,%), (2,%)");
    run("INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\") VALUES (% + 1000,%,'c')");
    run("INSERT INTO \"Params\" (\"Id_command\",\"Name\") VALUES (% + 1000,'p')");
    run("INSERT INTO \"Sensors\" (\"Id_objects\",\"Name\") VALUES (%,'s'), (%,'s')");
    run("INSERT INTO \"Objects_permission\" VALUES (%,4)");
    run("INSERT INTO \"Person_Setup\" VALUES (1,4,%,201), (2,4,%,201), (3,4,%,201), (4,4,%,201)");
    run("INSERT INTO archive.lastdata (id_object) VALUES (%)");
}

QStringList TestObjectLifecycle::everything()
{
    QStringList result;
    for (const QString &table : kEightTables + QStringList{"\"Params\"", "\"Groups\""})
        result += table + ": " + m_site.database->rows("SELECT * FROM " + table + " AS r ORDER BY r::text").join(", ");
    return result;
}

QString TestObjectLifecycle::nameOf(int object)
{
    return m_site.database
        ->value(QStringLiteral("SELECT coalesce(encode(\"Value\", 'hex'), 'NULL') FROM \"Objects_property\" "
                               "WHERE \"Id_objects\" = %1 AND \"Name\" = 'name'")
                    .arg(object))
        .toString();
}

void TestObjectLifecycle::createsObjectWithItsName()
{
    giveObject(5);
    m_admin.send(creation("Газель 17"));
    SAYS_NOTHING_MORE(m_admin);
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects\" WHERE \"Id\" <> 5").toInt();
    QVERIFY(id > 0);
    const QByteArray number = QByteArray::number(id);
    RECORDS(m_client, "User 'ivanov' create card with id=" + number + ", name=Газель 17");
    RECORDS(m_client, "User 'ivanov' delete card with id=-" + number);
    QCOMPARE(
        m_site.database->rows("SELECT \"Id\", \"Id_owner\", \"Id_shema_sensors\" FROM \"Objects\" WHERE \"Id\" <> 5"),
        QStringList(QString(number) + "|0|1"));
    QCOMPARE(m_site.database->rows("SELECT \"Id_objects\", \"Name\", \"Description\", \"Type\", \"Visible\" FROM "
                                   "\"Objects_property\" WHERE \"Id_objects\" <> 5"),
             QStringList(QString(number) + "|name|Имя|10|true"));
    QCOMPARE(nameOf(id), "d093d0b0d0b7d0b5d0bbd18c203137");
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Groups_objects\"").toInt(), 2);
}

void TestObjectLifecycle::givesEveryObjectAGuidOfItsOwn()
{
    m_admin.send(creation("a") + creation("a") + creation("a"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.recordedLines().size(), 6);
    const QStringList guids = m_site.database->rows("SELECT \"guid\" FROM \"Objects\" ORDER BY \"Id\"");
    QCOMPARE(guids.size(), 3);
    // A random one: version 4 of the usual variant.
    static const QRegularExpression form(
        "\\A\\{[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}\\}\\z");
    for (const QString &guid : guids) {
        QCOMPARE(guid.size(), 38);
        QVERIFY2(form.match(guid).hasMatch(), qPrintable(guid));
    }
    QCOMPARE(QSet<QString>(guids.begin(), guids.end()).size(), 3);
    QCOMPARE(m_site.database->value("SELECT pg_typeof(\"guid\")::text FROM \"Objects\"").toString(), "text");
}

void TestObjectLifecycle::recordsManyCreationsInOrder()
{
    m_admin.send(creation("first") + creation("second"));
    SAYS_NOTHING_MORE(m_admin);
    const QStringList ids = m_site.database->rows("SELECT \"Id\" FROM \"Objects\" ORDER BY \"Id\"");
    QCOMPARE(ids.size(), 2);
    for (int i = 0; i < 2; ++i) {
        RECORDS(m_client,
                "User 'ivanov' create card with id=" + ids[i].toLatin1() + ", name=" + (i == 0 ? "first" : "second"));
        RECORDS(m_client, "User 'ivanov' delete card with id=-" + ids[i].toLatin1());
    }
}

void TestObjectLifecycle::createdObjectHasTheNameAnswered()
{
    m_admin.send(creation("Сайт"));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.recordedLines().size(), 2);
    const int object = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toInt();
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects_property\"").toInt();
    m_admin.send(support::command("Get_object_card_v2", i32(object), kOperator));
    SAYS(m_admin,
         support::answer("Get_object_card_v2",
                         i32(object) + i32(1) + support::cardRecord({id, "name", "Имя", 10, "Сайт", 't'}), kOperator));
}

void TestObjectLifecycle::storesNameBytesAsTheyCame_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("quotes") << QByteArray("it's \"q\" '' ;--");
    QTest::newRow("backslashes") << QByteArray("\\ \\\\ \\x41 \\101 \\");
    QTest::newRow("line feeds") << QByteArray("a\nb\r\nc\n");
    QTest::newRow("emoji") << QByteArray("😀 я €");
    QTest::newRow("placeholders") << QByteArray("%1 %2 %3 %0 %L1 %% $1 ? :x");
    QTest::newRow("blanks around") << QByteArray("  a  ");
    QTest::newRow("100 KB") << QByteArray("я").repeated(50000);
}

void TestObjectLifecycle::storesNameBytesAsTheyCame()
{
    QFETCH(QByteArray, name);
    m_admin.send(creation(name));
    SAYS_NOTHING_MORE(m_admin);
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toInt();
    RECORDS(m_client, "User 'ivanov' create card with id=" + QByteArray::number(id) + ", name=" + name);
    RECORDS(m_client, "User 'ivanov' delete card with id=-" + QByteArray::number(id));
    QCOMPARE(nameOf(id), QString::fromLatin1(name.toHex()));
}

void TestObjectLifecycle::storesBytesThatAreNoText_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("every byte") << support::everyByte();
    QTest::newRow("a zero byte") << QByteArray("a\0b", 3);
    QTest::newRow("only a zero byte") << QByteArray("\0", 1);
    QTest::newRow("no UTF-8") << hex("FF FE C3 28");
}

void TestObjectLifecycle::storesBytesThatAreNoText()
{
    QFETCH(QByteArray, name);
    m_admin.send(creation(name));
    SAYS_NOTHING_MORE(m_admin);
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toInt();
    QCOMPARE(nameOf(id), QString::fromLatin1(name.toHex()));
    const QByteArrayList lines = m_site.recordedLines();
    QCOMPARE(lines.size(), 2);
    QVERIFY(lines[0].startsWith("User 'ivanov' create card with id=" + QByteArray::number(id) + ", name="));
    QCOMPARE(lines[1], "User 'ivanov' delete card with id=-" + QByteArray::number(id));

    m_admin.send(renaming(id, "x") + renaming(id, name));
    SAYS(m_admin, savedCard(id));
    SAYS(m_admin, savedCard(id));
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(nameOf(id), QString::fromLatin1(name.toHex()));
    QCOMPARE(m_site.recordedLines().size(), 2);
}

void TestObjectLifecycle::nullNameIsStoredAsNull()
{
    m_admin.send(support::command("Fix_object_v2", i32(0) + support::null(), kOperator));
    SAYS_NOTHING_MORE(m_admin);
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toInt();
    RECORDS(m_client, "User 'ivanov' create card with id=" + QByteArray::number(id) + ", name=");
    RECORDS(m_client, "User 'ivanov' delete card with id=-" + QByteArray::number(id));
    QCOMPARE(nameOf(id), "NULL");
    m_admin.send(renaming(id, "") + support::command("Fix_object_v2", i32(id) + support::null(), kOperator));
    for (int i = 0; i < 2; ++i) {
        SAYS(m_admin, savedCard(id));
        RECORDS(m_client, "User 'ivanov' update card with id=" + QByteArray::number(id) + ", name=");
    }
    QCOMPARE(nameOf(id), "NULL");
}

void TestObjectLifecycle::fillsLinesWithoutTouchingClientsText()
{
    m_site.database->run("UPDATE \"Connections\" SET \"Login\" = '%3 %2 %1'");
    m_admin.send(creation("%1 %2 %3"));
    SAYS_NOTHING_MORE(m_admin);
    const QByteArray number = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toByteArray();
    RECORDS(m_client, "User '%3 %2 %1' create card with id=" + number + ", name=%1 %2 %3");
    RECORDS(m_client, "User '%3 %2 %1' delete card with id=-" + number);
    m_admin.send(renaming(7, "%3 %1") + deletion(7));
    SAYS(m_admin, savedCard(7));
    RECORDS(m_client, "User '%3 %2 %1' update card with id=7, name=%3 %1");
    RECORDS(m_client, "User '%3 %2 %1' delete card with id=7");
}

void TestObjectLifecycle::unknownOperatorHasNoNameInTheLines()
{
    m_admin.send(support::command("Fix_object_v2", i32(-9), 77));
    RECORDS(m_client, "User '' delete card with id=9");
}

void TestObjectLifecycle::failedCreationRecordsBothLinesWithZero()
{
    const support::StatementFault fault(*m_site.database, "\"Objects\"", "INSERT");
    m_admin.send(creation("Имя"));
    RECORDS(m_client, "User 'ivanov' create card with id=0, name=Имя");
    RECORDS(m_client, "User 'ivanov' delete card with id=0");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 0);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects_property\"").toInt(), 0);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Fix_object_v2"));
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestObjectLifecycle::failedNameLeavesTheObject()
{
    const support::StatementFault fault(*m_site.database, "\"Objects_property\"", "INSERT");
    m_admin.send(creation("a"));
    SAYS_NOTHING_MORE(m_admin);
    const QByteArray number = m_site.database->value("SELECT \"Id\" FROM \"Objects\"").toByteArray();
    QVERIFY(number.toInt() > 0);
    RECORDS(m_client, "User 'ivanov' create card with id=" + number + ", name=a");
    RECORDS(m_client, "User 'ivanov' delete card with id=-" + number);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects_property\"").toInt(), 0);
    m_failedStatements = 1;
}

void TestObjectLifecycle::renamesOnlyTheNameOfOneObject()
{
    giveObject(5);
    giveObject(6);
    QStringList expected = everything();
    expected[1].replace("|5|name|Имя|10|\\x6f6c64|", "|5|name|Имя|10|\\x6e6577|");
    QVERIFY(expected != everything());
    m_admin.send(renaming(5, "new"));
    SAYS(m_admin, savedCard(5));
    RECORDS(m_client, "User 'ivanov' update card with id=5, name=new");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(everything(), expected);
}

void TestObjectLifecycle::renameStoresNameBytesAsTheyCame()
{
    QFETCH(QByteArray, name);
    giveObject(5);
    m_admin.send(renaming(5, name));
    SAYS(m_admin, savedCard(5));
    RECORDS(m_client, "User 'ivanov' update card with id=5, name=" + name);
    QCOMPARE(nameOf(5), QString::fromLatin1(name.toHex()));
}

void TestObjectLifecycle::renameOfObjectWithoutNameStillAnnouncesAndRecords()
{
    giveObject(6);
    const QStringList before = everything();
    m_admin.send(renaming(5, "new"));
    SAYS(m_admin, savedCard(5));
    RECORDS(m_client, "User 'ivanov' update card with id=5, name=new");
    QCOMPARE(everything(), before);
}

void TestObjectLifecycle::failedRenameStillAnnouncesAndRecords()
{
    giveObject(5);
    const QStringList before = everything();
    const support::StatementFault fault(*m_site.database, "\"Objects_property\"", "UPDATE");
    m_admin.send(renaming(5, "new"));
    SAYS(m_admin, savedCard(5));
    RECORDS(m_client, "User 'ivanov' update card with id=5, name=new");
    QCOMPARE(everything(), before);
    m_failedStatements = 1;
}

void TestObjectLifecycle::renamesGreatestObject()
{
    m_site.database->run(
        "INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES (2147483647,'name','old')");
    m_admin.send(renaming(2147483647, "new"));
    SAYS(m_admin, savedCard(2147483647));
    RECORDS(m_client, "User 'ivanov' update card with id=2147483647, name=new");
    QCOMPARE(nameOf(2147483647), "6e6577");
}

void TestObjectLifecycle::deletesObjectFromEightTables()
{
    m_site.database->run("INSERT INTO \"Groups\" VALUES (1,'g',true), (5,'h',true)");
    giveObject(5);
    giveObject(6);
    m_admin.send(deletion(5));
    RECORDS(m_client, "User 'ivanov' delete card with id=5");
    SAYS_NOTHING_MORE(m_admin);
    for (const char *table :
         {"Objects\" WHERE \"Id", "Objects_property\" WHERE \"Id_objects", "Groups_objects\" WHERE \"Id_object",
          "Commands\" WHERE \"Id_object", "Sensors\" WHERE \"Id_objects", "Objects_permission\" WHERE \"Id_object",
          "Person_Setup\" WHERE \"Type\" = 1 AND \"Id_object"})
        QCOMPARE(m_site.database->value(QStringLiteral("SELECT count(*) FROM \"%1\" = 5").arg(table)).toInt(), 0);
    QCOMPARE(m_site.database->rows("SELECT id_object FROM archive.lastdata"), QStringList("6"));
    // What stays: all of object 6, the other sections of the setup, the parameters, the groups.
    QCOMPARE(m_site.database->rows("SELECT \"Type\" FROM \"Person_Setup\" WHERE \"Id_object\" = 5 ORDER BY 1"),
             QStringList({"2", "3", "4"}));
    QCOMPARE(m_site.database->rows("SELECT \"Id_command\" FROM \"Params\" ORDER BY 1"), QStringList({"1005", "1006"}));
    QCOMPARE(m_site.database->rows("SELECT \"Id\" FROM \"Groups\" ORDER BY 1"), QStringList({"1", "5"}));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 1);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects_property\" WHERE \"Id_objects\" = 6").toInt(), 3);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Sensors\" WHERE \"Id_objects\" = 6").toInt(), 2);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\" WHERE \"Id_object\" = 6").toInt(), 4);
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Groups_objects\" WHERE \"Id_object\" = 6").toInt(), 2);
}

void TestObjectLifecycle::deletionIgnoresWhatFollows()
{
    giveObject(5);
    m_admin.send(support::command("Fix_object_v2", i32(-5) + support::bytes("name") + hex("FF FF FF FF"), kOperator));
    RECORDS(m_client, "User 'ivanov' delete card with id=5");
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 0);
}

void TestObjectLifecycle::deletionOfUnknownObjectOnlyRecords()
{
    giveObject(5);
    const QStringList before = everything();
    m_admin.send(deletion(6));
    RECORDS(m_client, "User 'ivanov' delete card with id=6");
    QCOMPARE(everything(), before);
}

void TestObjectLifecycle::deletesGreatestObject()
{
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES (2147483647), (-2147483647), (1)");
    m_admin.send(deletion(2147483647));
    RECORDS(m_client, "User 'ivanov' delete card with id=2147483647");
    QCOMPARE(m_site.database->rows("SELECT \"Id\" FROM \"Objects\" ORDER BY 1"), QStringList({"-2147483647", "1"}));
}

void TestObjectLifecycle::smallestSelectorDeletesNothing()
{
    // Its absolute value is a number that no object can have.
    m_site.database->run("INSERT INTO \"Objects\" (\"Id\") VALUES (2147483647), (-2147483648), (0)");
    m_admin.send(support::command("Fix_object_v2", hex("80 00 00 00"), kOperator));
    RECORDS(m_client, "User 'ivanov' delete card with id=2147483648");
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 3);
}

void TestObjectLifecycle::failedDeletionDeletesNothing_data()
{
    QTest::addColumn<QString>("table");
    for (const QString &table : kEightTables)
        QTest::newRow(qPrintable(table)) << table;
}

void TestObjectLifecycle::failedDeletionDeletesNothing()
{
    QFETCH(QString, table);
    giveObject(5);
    const QStringList before = everything();
    const support::StatementFault fault(*m_site.database, table, "DELETE");
    m_admin.send(deletion(5));
    RECORDS(m_client, "User 'ivanov' delete card with id=5");
    SAYS_NOTHING_MORE(m_admin);
    QCOMPARE(everything(), before);
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Fix_object_v2"));
    QVERIFY(m_site.newLogLines().value(0).contains("made to fail"));
}

void TestObjectLifecycle::missingRightOnLastTableDeletesNothing()
{
    giveObject(5);
    const QStringList before = everything();
    {
        const support::RightTaken taken(*m_site.database, "DELETE", "archive.lastdata");
        m_admin.send(deletion(5));
        RECORDS(m_client, "User 'ivanov' delete card with id=5");
        SAYS_NOTHING_MORE(m_admin);
    }
    QCOMPARE(everything(), before);
    m_failedStatements = 1;
    m_admin.send(deletion(5));
    RECORDS(m_client, "User 'ivanov' delete card with id=5");
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Objects\"").toInt(), 0);
}

QTEST_GUILESS_MAIN(TestObjectLifecycle)
#include "test_object_lifecycle.moc"

// The two commands on the card of a template.

#include "conversation.h"
#include "operator_bytes.h"
#include "template_site.h"

using support::cardRecord;
using support::Field;
using support::hex;
using support::i16;
using support::i32;
using support::kOwn;
using support::kSupplied;
using support::Property;
using support::propertyData;
using support::said;
using support::text;

namespace {

constexpr int kOperator = 4;
const QString kTexts = QString::fromUtf8("it's \"q\" %1 %0 ? :x \\ \\x41 😀 я\n\t;--");
const QString kNul = QStringLiteral("a") + QChar(0) + "b";

QByteArray get(qint64 number)
{
    return support::command("Get_template_card_v2", i32(number), kOperator);
}

/// `number` is the one answered, which has no sign.
QByteArray card(int number, int count, const QByteArrayList &records)
{
    return support::answer("Get_template_card_v2", i32(number) + i32(count) + records.join(), kOperator);
}

QByteArray save(int number, const QByteArrayList &records)
{
    return support::command("Save_template_card_v2", i32(number) + i32(records.size()) + records.join(), kOperator);
}

QByteArray saved()
{
    return support::emptyAnswer("Save_template_card_v2", kOperator);
}

QByteArray plain(const QString &name)
{
    return cardRecord({-1, name, "", 0, "", 't'});
}

} // namespace

class TestTemplateCard : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void answersCardWithKnownBytes();
    void answersTemplateWithoutPropertiesWithCountZero();
    void answersPropertiesInTheOrderOfTheirRows();
    void hidesReservedNames();
    void answersSuppliedCardUnderItsNumberWithoutSign();
    void answersMinusOneWhenTheReadFails_data();
    void answersMinusOneWhenTheReadFails();
    void answersNullColumns();
    void unpacksEveryBeginning();
    void unpacksWhatItCan_data();
    void unpacksWhatItCan();

    void savesEveryFieldInItsColumn();
    void valuesComeBackAsTheyWent_data();
    void valuesComeBackAsTheyWent();
    void savesNullAsNullAndEmptyAsEmpty();
    void saveReplacesTheCardAlone();
    void savingNothingEmptiesTheCard();
    void storesReservedNamesButHidesThem();
    void savesWithoutHead_data();
    void savesWithoutHead();
    void savesManyInTheirOrder();
    void failedInsertLosesThatPropertyAlone();
    void nulInATextLosesThatPropertyAlone();
    void failedDeletionKeepsTheOldCardInFront();

private:
    /// The names of the card of template `number` in the order of their rows.
    QStringList names(int number);

    support::TemplateSite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestTemplateCard::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestTemplateCard::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestTemplateCard::cleanup()
{
    // None of these commands announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

QStringList TestTemplateCard::names(int number)
{
    return m_site.database->rows(
        QStringLiteral("SELECT \"Name\" FROM \"Templates\" WHERE \"Class\" = 'p' AND \"Owner\" = %1 ORDER BY \"Id\"")
            .arg(number));
}

void TestTemplateCard::answersCardWithKnownBytes()
{
    m_site.give(kSupplied, 7, {3, 'p', "P", "d", hex("00 00 00 02 00 00 00 02 FF 00 00 74")});
    m_admin.send(hex("00 00 00 25 CB 00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 61 72 64 5F 76 32 "
                     "00 00 00 04 FF FF FF FD 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 68 CA 00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 61 72 64 5F 76 32"
                      "00 00 00 14 47 65 74 5F 74 65 6D 70 6C 61 74 65 5F 63 61 72 64 5F 76 32"
                      "00 00 00 24 00 00 00 03 00 00 00 01"
                      "00 00 00 07 00 00 00 02 00 50 00 00 00 02 00 64 00 00 00 02 00 00 00 02 FF 00 00 74"
                      "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestTemplateCard::answersTemplateWithoutPropertiesWithCountZero()
{
    for (const QString &table : {kOwn, kSupplied}) {
        m_site.give(table, 500, {5, 't', {}, "title", {}});
        for (const char kind : {'s', 'c', 'd'})
            m_site.give(table, kind, {5, kind, "name", "", {}});
        m_site.give(table, 600, {6, 'p', "of another", "", {}});
    }
    m_admin.send(get(5) + get(-5) + get(0) + get(4711) + get(-4711) + get(2147483647) + get(-2147483647));
    for (const int number : {5, 5, 0, 4711, 4711, 2147483647, 2147483647})
        SAYS(m_admin, card(number, 0, {}));
}

void TestTemplateCard::answersPropertiesInTheOrderOfTheirRows()
{
    m_site.give(kOwn, 30, {5, 'p', "a", "C", propertyData(int(0x80000000), "3", -32768)});
    m_site.give(kOwn, -10, {5, 'p', "b", "A", propertyData(2147483647, support::everyByte(), 32767)});
    m_site.give(kOwn, 25, {6, 'p', "of another", "", propertyData(1, "x", 't')});
    m_site.give(kOwn, 20, {5, 'p', "b", "again", propertyData(-1, "", 0)});
    m_admin.send(get(5));
    SAYS(m_admin,
         card(5, 3,
              {cardRecord({-10, "b", "A", 2147483647, support::everyByte(), 32767}),
               cardRecord({20, "b", "again", -1, "", 0}), cardRecord({30, "a", "C", int(0x80000000), "3", -32768})}));
}

void TestTemplateCard::hidesReservedNames()
{
    int id = 0;
    for (const QString &table : {kOwn, kSupplied}) {
        for (const char *name : {"name", "subdivision", "modem"})
            m_site.give(table, ++id, {5, 'p', name, "", propertyData(10, "v", 't')});
    }
    m_admin.send(get(5) + get(-5));
    SAYS(m_admin, card(5, 0, {}));
    SAYS(m_admin, card(5, 0, {}));
    // Only these very names are reserved.
    QByteArrayList records;
    for (const QString name : {"Name", "MODEM", "name ", "names", "", "description"}) {
        m_site.give(kOwn, ++id, {5, 'p', name, "", propertyData(10, "v", 't')});
        records += cardRecord({id, name, "", 10, "v", 't'});
    }
    m_admin.send(get(5));
    SAYS(m_admin, card(5, 6, records));
}

void TestTemplateCard::answersSuppliedCardUnderItsNumberWithoutSign()
{
    m_site.give(kOwn, 1, {3, 'p', "own", "", propertyData(1, "o", 't')});
    m_site.give(kSupplied, 1, {3, 'p', "supplied", "", propertyData(2, "s", 'f')});
    m_admin.send(get(-3) + get(3));
    SAYS(m_admin, card(3, 1, {cardRecord({1, "supplied", "", 2, "s", 'f'})}));
    SAYS(m_admin, card(3, 1, {cardRecord({1, "own", "", 1, "o", 't'})}));
}

void TestTemplateCard::answersMinusOneWhenTheReadFails_data()
{
    QTest::addColumn<QString>("table");
    QTest::addColumn<int>("number");
    QTest::newRow("own") << kOwn << 3;
    QTest::newRow("supplied") << kSupplied << -3;
}

void TestTemplateCard::answersMinusOneWhenTheReadFails()
{
    QFETCH(QString, table);
    QFETCH(int, number);
    for (const QString &each : {kOwn, kSupplied})
        m_site.give(each, 1, {3, 'p', "a", "", propertyData(1, "v", 't')});
    {
        const support::RightTaken taken(*m_site.database, "SELECT", "\"" + table + "\"");
        m_admin.send(get(number) + get(-number));
        SAYS(m_admin, card(3, -1, {}));
        SAYS(m_admin, card(3, 1, {cardRecord({1, "a", "", 1, "v", 't'})}));
    }
    m_failedStatements = 1;
    QVERIFY(m_site.newLogLines().value(0).contains("Get_template_card_v2"));
    m_admin.send(get(number));
    SAYS(m_admin, card(3, 1, {cardRecord({1, "a", "", 1, "v", 't'})}));
}

void TestTemplateCard::answersNullColumns()
{
    // A property without a name is none of the reserved ones, and yet is not told apart from them.
    m_site.give(kOwn, 1, {5, 'p', {}, "no name", propertyData(1, "v", 't')});
    m_site.give(kOwn, 2, {5, 'p', "a", {}, propertyData(2, {}, 'f')});
    m_site.give(kOwn, 3, {5, 'p', "", "", propertyData(3, "", 1)});
    m_admin.send(get(5));
    SAYS(m_admin, card(5, 2, {cardRecord({2, "a", {}, 2, {}, 'f'}), cardRecord({3, "", "", 3, "", 1})}));
}

void TestTemplateCard::unpacksEveryBeginning()
{
    const QByteArray whole = propertyData(0x01020304, "value", 't');
    // What is missing is zero or empty, and nothing of the row before.
    m_site.give(kSupplied, 1, {5, 'p', "before", "", propertyData(-1, "before", -1)});
    m_site.give(kSupplied, 2, {5, 'p', "a", "d", {}});
    for (int size = -1; size <= whole.size(); ++size) {
        m_site.database->run(size < 0 ? QStringLiteral("UPDATE \"TemplatesFirm\" SET \"SpecificData\" = NULL "
                                                       "WHERE \"Id\" = 2")
                                      : QStringLiteral("UPDATE \"TemplatesFirm\" SET \"SpecificData\" = '\\x%1' "
                                                       "WHERE \"Id\" = 2")
                                            .arg(QString::fromLatin1(whole.left(size).toHex())));
        m_admin.send(get(-5));
        const int behindValue = 4 + 4 + 5;
        QByteArrayList expected;
        for (const QByteArray &record :
             support::spellings({i32(2) + text("a") + text("d"), i32(size < 4 ? 0 : 0x01020304),
                                 size < behindValue ? Field() : Field(support::bytes("value")),
                                 i16(size < behindValue + 2 ? 0 : 't')}))
            expected += card(5, 2, {cardRecord({1, "before", "", -1, "before", -1}), record});
        SAYS_ONE_OF(m_admin, expected);
    }
}

void TestTemplateCard::unpacksWhatItCan_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArrayList>("fields");
    const auto row = [](const char *title, const QByteArray &data, const Field &value, int visible) {
        QTest::newRow(title) << data << support::spellings({i32(7), value, i16(visible)});
    };
    row("bytes behind", propertyData(7, "v", 't') + "more", support::bytes("v"), 't');
    row("null value", i32(7) + hex("FF FF FF FF 00 74"), support::null(), 't');
    row("value of 2 GiB", i32(7) + hex("7F FF FF FF 61 62 00 74"), {}, 0);
    row("value of 4 GiB", i32(7) + hex("FF FF FF FE 61 62 00 74"), {}, 0);
    row("value beyond by one", i32(7) + hex("00 00 00 05 61 62 00 74"), {}, 0);
}

void TestTemplateCard::unpacksWhatItCan()
{
    QFETCH(QByteArray, data);
    QFETCH(QByteArrayList, fields);
    m_site.give(kOwn, 1, {5, 'p', "a", "", data});
    m_site.give(kOwn, 2, {5, 'p', "b", "", propertyData(1, "v", 't')});
    m_admin.send(get(5));
    QByteArrayList expected;
    for (const QByteArray &packed : fields)
        expected += card(5, 2, {i32(1) + text("a") + text("") + packed, cardRecord({2, "b", "", 1, "v", 't'})});
    SAYS_ONE_OF(m_admin, expected);
}

void TestTemplateCard::savesEveryFieldInItsColumn()
{
    m_site.give(kOwn, 500, {5, 't', {}, "title", {}});
    m_admin.send(save(5, {cardRecord({4711, "P", "d", 2, hex("FF 00"), 't'})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.database->rows("SELECT \"Owner\", \"Class\", \"Name\", \"Description\", \"SpecificData\" FROM "
                                   "\"Templates\" WHERE \"Id\" NOT IN (500, 4711)"),
             QStringList("5|p|P|d|\\x0000000200000002ff000074"));
    QCOMPARE(m_site.count(kOwn), "2");
}

void TestTemplateCard::valuesComeBackAsTheyWent_data()
{
    QTest::addColumn<Property>("property");
    QTest::newRow("texts") << Property{-1, kTexts, kTexts, 1, kTexts.toUtf8(), 't'};
    QTest::newRow("hexadecimal look") << Property{-1, "\\x41", "\\x42", 1, "\\x43", 'f'};
    QTest::newRow("empties") << Property{-1, "", "", 0, "", 0};
    QTest::newRow("nulls") << Property{-1, "a", {}, 0, {}, 0};
    QTest::newRow("every byte") << Property{-1, "a", "b", 1, support::everyByte(), 255};
    QTest::newRow("greatest codes") << Property{2147483647, "a", "b", 2147483647, "v", 32767};
    QTest::newRow("smallest codes") << Property{int(0x80000000), "a", "b", int(0x80000000), "v", -32768};
    QTest::newRow("100 KB") << Property{
        -1, QString(5000, 'n'), QString(5000, 'd'), 1, support::everyByte().repeated(400), 't'};
}

void TestTemplateCard::valuesComeBackAsTheyWent()
{
    QFETCH(Property, property);
    m_admin.send(save(5, {cardRecord(property)}) + get(5));
    SAYS(m_admin, saved());
    const QString row = said(
        {5, 'p', property.name, property.description, propertyData(property.type, property.value, property.visible)});
    QCOMPARE(m_site.stored(kOwn), QStringList(row));
    property.id = m_site.database->value("SELECT \"Id\" FROM \"Templates\"").toInt();
    SAYS(m_admin, card(5, 1, {cardRecord(property)}));
}

void TestTemplateCard::savesNullAsNullAndEmptyAsEmpty()
{
    m_admin.send(save(5, {cardRecord({-1, {}, {}, 0, {}, 0}), cardRecord({-1, "", "", 0, "", 0})}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.stored(kOwn),
             QStringList({"5|p|NULL|NULL|\\x00000000ffffffff0000", "5|p|||\\x00000000000000000000"}));
}

void TestTemplateCard::saveReplacesTheCardAlone()
{
    for (const QString &table : {kOwn, kSupplied}) {
        m_site.give(table, 1, {5, 'p', "old", "", "x"});
        m_site.give(table, 2, {5, 'p', "modem", "reserved", "x"});
        m_site.give(table, 3, {5, 't', {}, "title", "x"});
        m_site.give(table, 4, {5, 's', "", "sensor", "x"});
        m_site.give(table, 5, {5, 'c', "command", "", "x"});
        m_site.give(table, 6, {5, 'd', "parameter", "", "x"});
        m_site.give(table, 7, {6, 'p', "of another", "", "x"});
    }
    const QStringList others = m_site.written(kOwn).mid(2);
    const QStringList supplied = m_site.written(kSupplied);
    m_admin.send(save(5, {plain("b"), plain("a"), plain("b")}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.written(kOwn).mid(0, 5), others);
    QCOMPARE(names(5), QStringList({"b", "a", "b"}));
    QCOMPARE(m_site.count(kOwn), "8");
    QCOMPARE(m_site.written(kSupplied), supplied);
}

void TestTemplateCard::savingNothingEmptiesTheCard()
{
    m_site.give(kOwn, 1, {5, 'p', "old", "", {}});
    m_site.give(kOwn, 2, {5, 'p', "name", "", {}});
    m_site.give(kOwn, 3, {5, 's', "", "sensor", {}});
    // What follows the last record is nobody's.
    m_admin.send(support::command("Save_template_card_v2", i32(5) + i32(0) + plain("a"), kOperator) + get(5));
    SAYS(m_admin, saved());
    SAYS(m_admin, card(5, 0, {}));
    QCOMPARE(m_site.stored(kOwn), QStringList(said({5, 's', "", "sensor", {}})));
}

void TestTemplateCard::storesReservedNamesButHidesThem()
{
    m_admin.send(save(5, {plain("name"), plain("a"), plain("subdivision"), plain("modem")}) + get(5));
    SAYS(m_admin, saved());
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Templates\" WHERE \"Name\" = 'a'").toInt();
    SAYS(m_admin, card(5, 1, {cardRecord({id, "a", "", 0, "", 't'})}));
    QCOMPARE(names(5), QStringList({"name", "a", "subdivision", "modem"}));
    m_admin.send(save(5, {plain("b")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList("b"));
}

void TestTemplateCard::savesWithoutHead_data()
{
    QTest::addColumn<int>("number");
    QTest::newRow("of no template") << 4711;
    QTest::newRow("0") << 0;
    QTest::newRow("greatest") << 2147483647;
}

void TestTemplateCard::savesWithoutHead()
{
    QFETCH(int, number);
    m_admin.send(save(number, {plain("a")}));
    SAYS(m_admin, saved());
    QCOMPARE(m_site.stored(kOwn), QStringList(said({number, 'p', "a", "", propertyData(0, "", 't')})));
    const int id = m_site.database->value("SELECT \"Id\" FROM \"Templates\"").toInt();
    m_admin.send(get(number));
    SAYS(m_admin, card(number, 1, {cardRecord({id, "a", "", 0, "", 't'})}));
}

void TestTemplateCard::savesManyInTheirOrder()
{
    QByteArrayList records;
    QStringList expected;
    for (int i = 0; i < 300; ++i) {
        expected += QString::number(i * 7919 % 300);
        records += plain(expected.last());
    }
    m_admin.send(save(5, records));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), expected);
}

void TestTemplateCard::failedInsertLosesThatPropertyAlone()
{
    m_site.give(kOwn, 1, {5, 'p', "old", "", {}});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "INSERT", "NEW.\"Name\" = 'bad'");
    m_admin.send(save(5, {plain("bad"), plain("a"), plain("bad"), plain("b"), plain("bad")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"a", "b"}));
    m_failedStatements = 3;
    QVERIFY(m_site.newLogLines().value(0).contains("Save_template_card_v2"));
}

void TestTemplateCard::nulInATextLosesThatPropertyAlone()
{
    m_admin.send(save(5, {plain("a"), plain(kNul), plain("b"), cardRecord({-1, "c", kNul, 0, "", 't'}),
                          cardRecord({-1, "d", "", 0, QByteArray("a\0b", 3), 't'})}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"a", "b", "d"}));
    m_failedStatements = 2;
}

void TestTemplateCard::failedDeletionKeepsTheOldCardInFront()
{
    m_site.give(kOwn, 1, {5, 'p', "old", "", {}});
    const support::StatementFault fault(*m_site.database, "\"Templates\"", "DELETE");
    m_admin.send(save(5, {plain("a")}));
    SAYS(m_admin, saved());
    QCOMPARE(names(5), QStringList({"old", "a"}));
    m_failedStatements = 1;
}

QTEST_GUILESS_MAIN(TestTemplateCard)
#include "test_template_card.moc"

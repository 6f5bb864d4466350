#include "ctl/card_records.h"
#include "ctl/event_record.h"
#include "ctl/json_text.h"

#include <QJsonDocument>
#include <QTest>

using ctl::Card;

/// The card's forms: the service's answer, JSON, and what counts as stored.
class TestCtlCard : public QObject
{
    Q_OBJECT

private slots:
    void readsAnAnswer();
    void refusesEveryPrefixOfAnAnswer();
    void refusesLyingAnswers_data();
    void refusesLyingAnswers();
    void writesTheJsonThatPeopleExpect();
    void bringsEveryValueBackThroughJson_data();
    void bringsEveryValueBackThroughJson();
    void keepsControlCharactersOutOfJson();
    void namesTheWrongField_data();
    void namesTheWrongField();
    void takesOptionalFieldsAsMissing();
    void comparesWhatWasSentWithWhatIsStored();
    void readsEventRecords();

private:
    static QByteArray answer();
};

/// Object 17 with one property: id 5, "name", null description, type 10, value "Ab", visible 't'.
QByteArray TestCtlCard::answer()
{
    return QByteArray::fromHex("00000011 00000001"
                               "00000005 00000008 006E0061006D0065 FFFFFFFF 0000000A 00000002 4162 0074");
}

void TestCtlCard::readsAnAnswer()
{
    ctl::Result<Card> card = ctl::decodeCard(answer(), 17);
    QVERIFY(card);
    QCOMPARE(card->size(), 1);
    const CardsProperty &property = card->first();
    QCOMPARE(property.id, 5);
    QCOMPARE(property.name, u"name"_qs);
    QVERIFY(property.description.isNull());
    QCOMPARE(property.type, 10);
    QCOMPARE(property.value, "Ab");
    QCOMPARE(property.visible, qint16('t'));
    QVERIFY(ctl::decodeCard(QByteArray::fromHex("00000011 00000000"), 17)->isEmpty());
}

void TestCtlCard::refusesEveryPrefixOfAnAnswer()
{
    for (qsizetype length = 0; length < answer().size(); ++length) {
        const auto card = ctl::decodeCard(answer().first(length), 17);
        QVERIFY2(!card, qPrintable(QString::number(length)));
        QVERIFY(card.failure().message.startsWith(u"the service's answer cannot be read: "));
    }
}

void TestCtlCard::refusesLyingAnswers_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QString>("reason");
    const auto bytes = [](const char *hex) { return QByteArray::fromHex(hex); };
    QTest::newRow("another object") << bytes("00000012 00000000") << u"it is about object 18, not 17"_qs;
    QTest::newRow("negative count") << bytes("00000011 FFFFFFFF") << u"it promises -1 properties in 0 bytes"_qs;
    QTest::newRow("endless count") << bytes("00000011 7FFFFFFF 0000")
                                   << u"it promises 2147483647 properties in 2 bytes"_qs;
    QTest::newRow("lying value") << answer().replace(QByteArray::fromHex("00000002"), QByteArray::fromHex("7FFFFFFF"))
                                 << u"it ends within property 1 of 1"_qs;
    QTest::newRow("bytes left") << answer() + 'x' << u"1 bytes are left after its last property"_qs;
}

void TestCtlCard::refusesLyingAnswers()
{
    QFETCH(QByteArray, reply);
    QFETCH(QString, reason);
    const auto card = ctl::decodeCard(reply, 17);
    QVERIFY(!card);
    QCOMPARE(card.failure().message, u"the service's answer cannot be read: "_qs + reason);
}

void TestCtlCard::writesTheJsonThatPeopleExpect()
{
    CardsProperty name;
    name.id = 5;
    name.name = u"name"_qs;
    name.description = u"Имя"_qs;
    name.type = 10;
    name.value = "Газель \"1\"";
    name.visible = 't';
    CardsProperty packed;
    packed.name = u"pic"_qs;
    packed.value = QByteArray::fromHex("00FF");
    packed.visible = 300;
    QCOMPARE(ctl::cardJson(17, {name, packed}),
             u"{\"object\": 17, \"card\": [\n"
             "  {\"id\": 5, \"name\": \"name\", \"description\": \"Имя\", \"type\": 10, "
             "\"value\": \"Газель \\\"1\\\"\", \"visible\": \"t\"},\n"
             "  {\"id\": -1, \"name\": \"pic\", \"description\": null, \"type\": 0, "
             "\"value\": {\"base64\": \"AP8=\"}, \"visible\": 300}\n]}"_qs);
    QCOMPARE(ctl::cardJson(17, {}), u"{\"object\": 17, \"card\": []}"_qs);
}

void TestCtlCard::bringsEveryValueBackThroughJson_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("visible");
    QByteArray everyByte;
    for (int code = 0; code < 256; ++code)
        everyByte.append(char(code));
    QTest::newRow("null") << QString() << 0 << QByteArray() << 0;
    QTest::newRow("empty") << u""_qs << 1 << QByteArray("") << int('t');
    QTest::newRow("lowest codes") << u"x"_qs << INT_MIN << "x"_qba << -32768;
    QTest::newRow("highest codes") << u"x"_qs << INT_MAX << "x"_qba << 32767;
    QTest::newRow("quotes, lines, emoji") << u"\"\\/\n\r\t\b\f'🚗\u00a0"_qs << 0 << "\"\\/\n\r\t🚗"_qba << int('"');
    QTest::newRow("control characters") << u"\x1b\u0001\u007f\u009b\u202e"_qs << 0 << "\x1b\x01\x7f"_qba << int('\\');
    QTest::newRow("NUL") << u"a"_qs + QChar(0) + u"b"_qs << 0 << QByteArray("a\0b", 3) << 32;
    QTest::newRow("every byte") << u"x"_qs << 0 << everyByte << 127;
    QTest::newRow("byte order mark") << u"\ufeffx"_qs << 0 << "\xef\xbb\xbfx"_qba << 255;
    QTest::newRow("overlong UTF-8") << u"x"_qs << 0 << "\xc0\x80"_qba << 256;
    QTest::newRow("surrogate in UTF-8") << u"x"_qs << 0 << "\xed\xa0\x80"_qba << -1;
    QTest::newRow("looks like base64") << u"x"_qs << 0 << "{\"base64\": \"AA==\"}"_qba << int('{');
}

void TestCtlCard::bringsEveryValueBackThroughJson()
{
    QFETCH(QString, text);
    QFETCH(int, type);
    QFETCH(QByteArray, value);
    QFETCH(int, visible);
    CardsProperty property;
    property.id = 9;
    property.name = text;
    property.description = text;
    property.type = type;
    property.value = value;
    property.visible = qint16(visible);
    ctl::Result<Card> card = ctl::readCardJson(ctl::cardJson(17, {property}).toUtf8(), 17);
    QVERIFY2(card, card ? "" : qPrintable(card.failure().message));
    QCOMPARE(card->size(), 1);
    const CardsProperty &back = card->first();
    QCOMPARE(back.id, 9);
    QCOMPARE(back.name, text);
    QCOMPARE(back.name.isNull(), text.isNull());
    QCOMPARE(back.description, text);
    QCOMPARE(back.description.isNull(), text.isNull());
    QCOMPARE(back.type, type);
    QCOMPARE(back.value, value);
    QCOMPARE(back.value.isNull(), value.isNull());
    QCOMPARE(back.visible, qint16(visible));
}

void TestCtlCard::keepsControlCharactersOutOfJson()
{
    QCOMPARE(ctl::jsonText(u"\x1b\u009b\u202e\u007f"_qs), u"\"\\u001b\\u009b\\u202e\\u007f\""_qs);
    QCOMPARE(ctl::jsonText(QString(QChar(0xd83d))), u"\"\\ud83d\""_qs);
}

void TestCtlCard::namesTheWrongField_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("message");
    const auto row = [](const char *name, const QByteArray &json, const QString &message) {
        QTest::newRow(name) << json << message;
    };
    const auto second = [&row](const char *name, const QByteArray &property, const QString &message) {
        const QByteArray good = R"({"name": "a", "description": null, "type": 1, "value": "v", "visible": "t"})";
        row(name, R"({"card": [)" + good + ", " + property + "]}", message);
    };
    const QString integer = u"expected an integer from -2147483648 to 2147483647"_qs;
    const QString flag = u"expected a string of at most one character, or an integer from -32768 to 32767"_qs;
    row("no JSON", "{\n \"card\": x}", u"this is not JSON: line 2, byte 10: illegal number"_qs);
    row("nothing", "", u"this is not JSON: line 1, byte 1: illegal value"_qs);
    row("an array", "[]", u"the JSON is not an object ({...})"_qs);
    row("no card", "{}", u"card: is missing"_qs);
    row("card is no array", R"({"card": {}})", u"card: expected an array ([...])"_qs);
    row("another object", R"({"object": 18, "card": []})",
        u"object: expected 17, as on the command line; leave the field out to save the card of one object to another"_qs);
    row("object is no number", R"({"object": "17", "card": []})", u"object: "_qs + integer);
    row("unknown field", R"({"card": [], "cards": []})", u"cards: there is no such field"_qs);
    second("property is no object", "3", u"card[1]: expected an object ({...})"_qs);
    second("type missing", R"({"name": "a", "description": "", "value": "", "visible": ""})",
           u"card[1].type: is missing"_qs);
    const auto changed = [&second](const char *name, const QByteArray &field, const QByteArray &value,
                                   const QString &what) {
        QList<std::pair<QByteArray, QByteArray>> fields = {
            {"name", "\"a\""}, {"description", "\"\""}, {"type", "1"}, {"value", "\"\""}, {"visible", "\"\""}};
        QByteArrayList parts;
        for (const auto &[key, content] : fields) {
            if (key != field)
                parts.append('"' + key + "\": " + content);
        }
        parts.append('"' + field + "\": " + value);
        second(name, '{' + parts.join(", ") + '}',
               QStringLiteral("card[1].%1: %2").arg(QString::fromUtf8(field), what));
    };
    changed("type too high", "type", "2147483648", integer);
    changed("type with a fraction", "type", "1.5", integer);
    changed("type as text", "type", "\"1\"", integer);
    changed("type null", "type", "null", integer);
    changed("name as number", "name", "1", u"expected a string or null"_qs);
    changed("value as number", "value", "1", u"expected a string, null or {\"base64\": \"...\"}"_qs);
    changed("value as other object", "value", R"({"hex": "00"})",
            u"expected a string, null or {\"base64\": \"...\"}"_qs);
    changed("flag of two characters", "visible", "\"tf\"", flag);
    changed("flag beyond Latin-1", "visible", "\"я\"", flag);
    changed("flag too high", "visible", "32768", flag);
    changed("misspelt field", "vissible", "\"t\"", u"there is no such field"_qs);
    second("bad base64", R"({"name": "a", "description": "", "type": 1, "value": {"base64": "!"}, "visible": ""})",
           u"card[1].value.base64: this is not base64"_qs);
    changed("escape in a field's name", "\\u001b", "1", u"there is no such field"_qs);
}

void TestCtlCard::namesTheWrongField()
{
    QFETCH(QByteArray, json);
    QFETCH(QString, message);
    const auto card = ctl::readCardJson(json, 17);
    QVERIFY(!card);
    if (qstrcmp(QTest::currentDataTag(), "escape in a field's name") == 0)
        message = u"card[1].\\x1b: there is no such field"_qs;
    QCOMPARE(card.failure().message, message);
    QVERIFY(card.failure().wrongUsage);
}

void TestCtlCard::takesOptionalFieldsAsMissing()
{
    ctl::Result<Card> card = ctl::readCardJson(
        R"({"card": [{"name": "a", "description": "", "type": 1, "value": "v", "visible": "t"}]})", 17);
    QVERIFY(card);
    QCOMPARE(card->first().id, -1);
}

void TestCtlCard::comparesWhatWasSentWithWhatIsStored()
{
    CardsProperty sent;
    sent.name = u"a"_qs;
    sent.description = u""_qs;
    sent.value = "v";
    sent.visible = 0;
    CardsProperty stored = sent;
    stored.id = 77;
    stored.visible = 'f';
    QVERIFY(ctl::isStored(sent, stored));
    stored.visible = 't';
    QVERIFY(!ctl::isStored(sent, stored));
    sent.visible = 'Y';
    QVERIFY(ctl::isStored(sent, stored));
    sent.visible = 'x';
    QVERIFY(!ctl::isStored(sent, stored));
    sent.visible = 't';
    stored.description = QString();
    QVERIFY(!ctl::isStored(sent, stored));
    stored.description = sent.description;
    stored.value = QByteArray();
    QVERIFY(!ctl::isStored(sent, stored));
    sent.value = QByteArray("");
    QVERIFY(!ctl::isStored(sent, stored));
    sent.value = QByteArray();
    QVERIFY(ctl::isStored(sent, stored));
    stored.type = 1;
    QVERIFY(!ctl::isStored(sent, stored));
}

void TestCtlCard::readsEventRecords()
{
    const QByteArray record = QByteArray::fromHex("00000000 00000000 00000000 00000000 00000000 65A0BC00 00000000"
                                                  "00000004 55736572 01");
    const auto event = ctl::decodeEvent(record);
    QVERIFY(event);
    QCOMPARE(event->time, 0x65A0BC00u);
    QCOMPARE(event->text, "User");
    QCOMPARE(event->level, qint8(1));
    for (qsizetype length = 0; length < record.size(); ++length)
        QVERIFY2(!ctl::decodeEvent(record.first(length)), qPrintable(QString::number(length)));
    QVERIFY(!ctl::decodeEvent(record + 'x'));
    QByteArray withSensors = record;
    withSensors[27] = 1;
    QVERIFY(!ctl::decodeEvent(withSensors));
}

QTEST_GUILESS_MAIN(TestCtlCard)
#include "test_ctl_card.moc"

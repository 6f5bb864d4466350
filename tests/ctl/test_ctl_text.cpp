#include "ctl/packed_values.h"
#include "ctl/table.h"
#include "ctl/text.h"

#include <QTest>

class TestCtlText : public QObject
{
    Q_OBJECT

private slots:
    void escapesWhatIsNotPlain_data();
    void escapesWhatIsNotPlain();
    void countsTheColumnsOfATerminal_data();
    void countsTheColumnsOfATerminal();
    void cutsByColumns();
    void showsBytesAsTextOrHex_data();
    void showsBytesAsTextOrHex();
    void alignsCyrillic();
    void cutsWideCells();
    void showsPackedPicturesAndColours_data();
    void showsPackedPicturesAndColours();
};

void TestCtlText::escapesWhatIsNotPlain_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << u"Имя 1 \"a\\b\" 🚗"_qs << u"Имя 1 \"a\\b\" 🚗"_qs;
    QTest::newRow("colour sequence") << u"\x1b[31mred"_qs << u"\\x1b[31mred"_qs;
    QTest::newRow("lines and tabs") << u"a\nb\r\tc"_qs << u"a\\nb\\r\\tc"_qs;
    QTest::newRow("NUL") << QString(QChar(0)) << u"\\x00"_qs;
    QTest::newRow("delete, C1") << u"\u007f\u009b"_qs << u"\\x7f\\x9b"_qs;
    QTest::newRow("direction") << u"a\u202eb"_qs << u"a\\u202eb"_qs;
    QTest::newRow("lone surrogate") << QString(QChar(0xd800)) << u"\\ud800"_qs;
    QTest::newRow("line separator") << u"\u2028"_qs << u"\\u2028"_qs;
}

void TestCtlText::escapesWhatIsNotPlain()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(ctl::printable(text), shown);
}

void TestCtlText::countsTheColumnsOfATerminal_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("width");
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("Cyrillic") << u"Подразделение"_qs << 13;
    QTest::newRow("combining") << u"и\u0306"_qs << 1;
    QTest::newRow("emoji") << u"🚗"_qs << 2;
    QTest::newRow("ideographs") << u"车辆"_qs << 4;
}

void TestCtlText::countsTheColumnsOfATerminal()
{
    QFETCH(QString, text);
    QFETCH(int, width);
    QCOMPARE(ctl::displayWidth(text), width);
}

void TestCtlText::cutsByColumns()
{
    QCOMPARE(ctl::cutToWidth(u"абвгд"_qs, 5), u"абвгд"_qs);
    QCOMPARE(ctl::cutToWidth(u"абвгде"_qs, 5), u"абвг…"_qs);
    QCOMPARE(ctl::cutToWidth(u"🚗🚗🚗"_qs, 4), u"🚗…"_qs);
}

void TestCtlText::showsBytesAsTextOrHex_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("shown");
    QTest::newRow("null") << QByteArray() << u"(null)"_qs;
    QTest::newRow("empty") << QByteArray("") << QString();
    QTest::newRow("text") << "Газель\n1"_qba << u"Газель\\n1"_qs;
    QTest::newRow("escape") << "\x1b[0m"_qba << u"0x1b5b306d (4 bytes)"_qs;
    QTest::newRow("not UTF-8") << "\xff\x01"_qba << u"0xff01 (2 bytes)"_qs;
    QTest::newRow("NUL") << QByteArray("a\0b", 3) << u"0x610062 (3 bytes)"_qs;
    QTest::newRow("long") << QByteArray(90, '\x80') << u"0x808080808080808080808080... (90 bytes)"_qs;
}

void TestCtlText::showsBytesAsTextOrHex()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, shown);
    QCOMPARE(ctl::bytesForPeople(bytes), shown);
}

void TestCtlText::alignsCyrillic()
{
    ctl::Table table({u"id"_qs, u"name"_qs, u"value"_qs});
    table.addRow({u"7"_qs, u"Имя"_qs, u"Газель"_qs});
    table.addRow({u"12"_qs, u"車"_qs, QString()});
    QCOMPARE(table.text(), u"id  name  value\n"
                           "--  ----  ------\n"
                           "7   Имя   Газель\n"
                           "12  車\n"_qs);
}

void TestCtlText::cutsWideCells()
{
    ctl::Table table({u"a"_qs});
    table.addRow({QString(61, u'я')});
    QCOMPARE(table.text().section(u'\n', 2, 2), QString(59, u'я') + u'…');
}

void TestCtlText::showsPackedPicturesAndColours_data()
{
    QTest::addColumn<bool>("isPicture");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("shown"); // null: not of this form
    const auto bytes = [](const char *hex) { return QByteArray::fromHex(hex); };
    const QByteArray head =
        bytes("00000001 89504E470D0A1A0A 0000000D 49484452 00000010 0000000C 08 02 000000 00000000");
    QTest::newRow("picture") << true << head << u"picture 16x12"_qs;
    QTest::newRow("no picture") << true << bytes("00000000") << u"no picture"_qs;
    QTest::newRow("no picture and more") << true << bytes("0000000000") << QString();
    QTest::newRow("picture that is none") << true << "\0\0\0\1text"_qba << QString();
    QTest::newRow("three bytes") << true << bytes("000000") << QString();
    QTest::newRow("null picture") << true << QByteArray() << QString();
    QTest::newRow("red") << false << bytes("01 FFFF FFFF 0000 0000 0000") << u"#ff0000"_qs;
    QTest::newRow("half red") << false << bytes("01 8080 FFFF 0000 0000 0000") << u"#80ff0000"_qs;
    QTest::newRow("no colour") << false << bytes("00 FFFF 0000 0000 0000 0000") << u"no colour"_qs;
    QTest::newRow("unknown kind") << false << bytes("09 FFFF 0000 0000 0000 0000") << QString();
    QTest::newRow("negative kind") << false << bytes("F1 FFFF 0000 0000 0000 0000") << QString();
    QTest::newRow("short colour") << false << bytes("01 FFFF") << QString();
}

void TestCtlText::showsPackedPicturesAndColours()
{
    QFETCH(bool, isPicture);
    QFETCH(QByteArray, value);
    QFETCH(QString, shown);
    const auto result = isPicture ? ctl::pictureForPeople(value) : ctl::colourForPeople(value);
    QCOMPARE(result.has_value(), !shown.isNull());
    QCOMPARE(result.value_or(QString()), shown);
}

QTEST_GUILESS_MAIN(TestCtlText)
#include "test_ctl_text.moc"

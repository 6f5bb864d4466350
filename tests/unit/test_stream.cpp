#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"

#include <QRandomGenerator>
#include <QTest>

#include <limits>

/// Values are written and read as QDataStream does, whose form the peers share.
class TestStream : public QObject
{
    Q_OBJECT

private slots:
    void writesNumbers();
    void writesTexts_data();
    void writesTexts();
    void writesUtf8AsTheTextItIs_data();
    void writesUtf8AsTheTextItIs();
    void writesUtf8OfEveryLength();
    void writesUtf8Lists_data();
    void writesUtf8Lists();
    void writesContainers();
    void leavesATargetThatNothingIsWrittenToAsItWas();
    void takesBackAndOverwrites();
    void readsAnythingAsAStreamDoes();
    void readsBlocksWhereTheyLie();
    void believesNoCount();
};

namespace {

template <typename Value>
QByteArray byStream(const Value &value)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(QDataStream::Qt_4_5);
    out << value;
    return bytes;
}

template <typename Value>
QByteArray byWriter(const Value &value)
{
    QByteArray bytes("before");
    keystone::ByteWriter(&bytes) << value;
    return bytes.mid(6);
}

template <typename Value>
void compareBoth(const Value &value)
{
    QCOMPARE(byWriter(value).toHex(), byStream(value).toHex());
}

/// Reads a value in both ways and compares all that there is to see; false where it is not the same.
template <typename Value>
bool readsTheSame(QDataStream &stream, keystone::ByteReader &in)
{
    Value expected{};
    Value value{};
    stream >> expected;
    in >> value;
    bool isSame = value == expected && byWriter(value) == byStream(expected);
    isSame = isSame && in.position() == stream.device()->pos() && in.atEnd() == stream.atEnd();
    return isSame && in.ok() == (stream.status() == QDataStream::Ok);
}

/// The same for a container. QDataStream takes memory for whatever a count promises, so one that cannot be kept is read
/// as a number.
template <typename Value>
bool containerReadsTheSame(QDataStream &stream, keystone::ByteReader &in)
{
    keystone::ByteReader ahead = in;
    quint32 count = 0;
    ahead >> count;
    return keystone::mayHold(ahead, count, 1) ? readsTheSame<Value>(stream, in) : readsTheSame<quint32>(stream, in);
}

constexpr bool (*kReads[])(QDataStream &, keystone::ByteReader &) = {
    readsTheSame<qint8>,
    readsTheSame<quint8>,
    readsTheSame<qint16>,
    readsTheSame<qint32>,
    readsTheSame<quint32>,
    readsTheSame<qint64>,
    readsTheSame<bool>,
    readsTheSame<QString>,
    readsTheSame<QByteArray>,
    containerReadsTheSame<QStringList>,
    containerReadsTheSame<QList<qint32>>,
    containerReadsTheSame<QList<QByteArray>>,
    containerReadsTheSame<QMap<qint32, QByteArray>>,
    containerReadsTheSame<QMap<QString, QString>>,
};

} // namespace

void TestStream::writesNumbers()
{
    for (const qint64 number : {0LL, 1LL, -1LL, 0x1234567890ABCDEFLL, std::numeric_limits<qint64>::min()}) {
        compareBoth(number);
        compareBoth(static_cast<qint32>(number));
        compareBoth(static_cast<quint32>(number));
        compareBoth(static_cast<qint16>(number));
        compareBoth(static_cast<qint8>(number));
        compareBoth(static_cast<quint8>(number));
    }
    compareBoth(true);
    compareBoth(false);
}

void TestStream::writesTexts_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << QString("");
    QTest::newRow("Latin") << QString("a text");
    QTest::newRow("Cyrillic") << QString("Датчик");
    QTest::newRow("beyond 16 bits") << QString("𝄞 €");
    QTest::newRow("half a pair") << QString(QChar(0xD834));
    QTest::newRow("zeros") << QString(3, QChar(0));
    QTest::newRow("long") << QString(100'000, QChar(u'я'));
}

void TestStream::writesTexts()
{
    QFETCH(QString, text);
    compareBoth(text);
    compareBoth(text.isNull() ? QByteArray() : text.toUtf8());
}

void TestStream::writesUtf8AsTheTextItIs_data()
{
    QTest::addColumn<QByteArray>("utf8");
    QTest::newRow("Latin") << QByteArray("a text of more than a block of sixteen");
    QTest::newRow("Cyrillic") << QByteArray("Датчик уровня топлива, литры");
    QTest::newRow("mixed") << QByteArray("sixteen letters.Датчик sixteen letters.и");
    QTest::newRow("three bytes") << QByteArray("17 € und mehr als sechzehn Zeichen");
    QTest::newRow("three bytes for one") << QByteArray("x\xE0\x80\x80\xE0\x9F\xBFy");
    QTest::newRow("least and last of three bytes") << QByteArray("\xE0\xA0\x80\xEF\xBF\xBF");
    QTest::newRow("halves of pairs") << QByteArray("x\xED\xA0\x80\xED\xBF\xBFy");
    QTest::newRow("three bytes cut short") << QByteArray("x\xE2\x82");
    QTest::newRow("three bytes with another inside") << QByteArray("\xE2\x82x\xE2x\xAC");
    QTest::newRow("byte order mark inside") << QByteArray("te\xEF\xBB\xBFxt");
    QTest::newRow("four bytes") << QByteArray("𝄞");
    QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBFtext");
    QTest::newRow("first of two at the end") << QByteArray("text\xD0");
    QTest::newRow("first of two before Latin") << QByteArray("\xD0text");
    QTest::newRow("second of two alone") << QByteArray("te\x94xt");
    QTest::newRow("two bytes for one") << QByteArray("\xC0\x80\xC1\xBF");
    QTest::newRow("last of two bytes") << QByteArray("\xC2\x80\xDF\xBF");
    QTest::newRow("no such byte") << QByteArray("\xFF\xFE");
    QTest::newRow("a zero") << QByteArray("a\0b", 3);
}

void TestStream::writesUtf8AsTheTextItIs()
{
    QFETCH(QByteArray, utf8);
    QCOMPARE(byWriter(keystone::Utf8{utf8}).toHex(), byStream(QString::fromUtf8(utf8)).toHex());
}

void TestStream::writesUtf8OfEveryLength()
{
    QCOMPARE(byWriter(keystone::Utf8{QByteArrayView()}), byStream(QString()));
    QCOMPARE(byWriter(keystone::Utf8{QByteArrayView("")}), byStream(QString("")));
    // What lies behind the text is not a part of it.
    const QByteArray whole("ж№𝄞 ж№𝄞");
    for (qsizetype length = 0; length <= whole.size(); ++length) {
        const QByteArrayView part = QByteArrayView(whole).first(length);
        QCOMPARE(byWriter(keystone::Utf8{part}), byStream(QString::fromUtf8(part)));
    }
    for (int length = 1; length < 70; ++length) {
        for (int at = 0; at < length; ++at) {
            QByteArray utf8(length, 'x');
            QCOMPARE(byWriter(keystone::Utf8{utf8}), byStream(QString::fromUtf8(utf8)));
            for (const char *letter : {"ж", "№"}) {
                const QByteArray other = QByteArray(utf8).replace(at, 1, letter);
                QCOMPARE(byWriter(keystone::Utf8{other}), byStream(QString::fromUtf8(other)));
            }
        }
    }
}

void TestStream::writesUtf8Lists_data()
{
    QTest::addColumn<QByteArray>("utf8");
    for (const char *text : {"", ";", "on", "on;off", ";on;;off;", "да;нет", "да;€;𝄞", "on;\xEF\xBB\xBFoff",
                             "\xEF\xBB\xBFon;off", "\xD0;\x94", "\xE2\x82;\xAC"})
        QTest::newRow(text) << QByteArray(text);
}

void TestStream::writesUtf8Lists()
{
    QFETCH(QByteArray, utf8);
    QCOMPARE(byWriter(keystone::Utf8List{utf8, ';'}).toHex(),
             byStream(QString::fromUtf8(utf8).split(QLatin1Char(';'))).toHex());
    QCOMPARE(byWriter(keystone::Utf8List{QByteArrayView(), ';'}), byStream(QStringList({""})));
}

void TestStream::writesContainers()
{
    compareBoth(QList<qint32>());
    compareBoth(QList<qint32>({3, -7}));
    compareBoth(QStringList({"a", QString(), ""}));
    compareBoth(QMap<qint32, QByteArray>({{5, "e"}, {-1, QByteArray()}, {2, ""}}));
}

void TestStream::leavesATargetThatNothingIsWrittenToAsItWas()
{
    QByteArray bytes;
    {
        const keystone::ByteWriter out(&bytes);
        QCOMPARE(out.position(), 0);
    }
    QVERIFY(bytes.isNull());
}

void TestStream::takesBackAndOverwrites()
{
    QByteArray bytes;
    keystone::ByteWriter out(&bytes);
    out << qint32(1) << qint32(2) << QStringLiteral("gone");
    out.cutBack(8);
    out.overwrite(4, qint32(-3));
    out.append("end");
    QCOMPARE(bytes, byStream(qint32(1)) + byStream(qint32(-3)) + "end");
}

/// Bytes of all kinds, in which lengths and counts are likely, read as values of all kinds one behind the other.
void TestStream::readsAnythingAsAStreamDoes()
{
    QRandomGenerator random(20261121);
    for (int round = 0; round < 20'000; ++round) {
        QByteArray bytes;
        for (int piece = random.bounded(8); piece > 0; --piece) {
            if (random.bounded(3) > 0)
                bytes += QByteArray(3, '\0') + char(random.bounded(9));
            else if (random.bounded(3) == 0)
                bytes += QByteArray(4, '\xFF');
            else
                bytes += QByteArray(random.bounded(6), char(random.bounded(256)));
        }
        QDataStream stream(bytes);
        stream.setVersion(QDataStream::Qt_4_5);
        keystone::ByteReader in(bytes);
        QString reads;
        for (int i = 0; i < 8; ++i) {
            const auto read = random.bounded(quint32(std::size(kReads)));
            reads += QString::number(read) + ' ';
            QVERIFY2(kReads[read](stream, in), qPrintable(QString::fromLatin1(bytes.toHex(' ')) + ": " + reads));
        }
    }
}

void TestStream::readsBlocksWhereTheyLie()
{
    const QByteArray bytes = byStream(QByteArray("block")) + byStream(QByteArray("")) + byStream(QByteArray()) +
                             QByteArray::fromHex("00000009") + "short";
    keystone::ByteReader in(bytes);
    const QByteArrayView block = in.readBlock();
    QCOMPARE(block, QByteArrayView("block"));
    QCOMPARE(block.data(), bytes.constData() + 4);
    QVERIFY(!in.readBlock().isNull());
    QVERIFY(in.readBlock().isNull());
    QVERIFY(in.ok());
    QVERIFY(in.readBlock().isNull());
    QVERIFY(!in.ok() && in.atEnd());
    in.goTo(0);
    QVERIFY(in.ok());
    QCOMPARE(in.take(4), QByteArrayView(bytes).first(4));
    QCOMPARE(in.bytesLeft(), bytes.size() - 4);
}

void TestStream::believesNoCount()
{
    const QByteArray bytes = QByteArray::fromHex("40000000") + QByteArray(4096, '\0');
    for (const bool wasOk : {true, false}) {
        keystone::ByteReader in(bytes);
        if (!wasOk)
            in.fail();
        QList<qint32> list{1};
        keystone::readContainer(in, list, sizeof(qint32));
        QVERIFY(list.isEmpty() && in.atEnd() && !in.ok());
    }
    const QByteArray good = byStream(QList<qint32>({3, 4}));
    keystone::ByteReader in(good);
    in.fail();
    QList<qint32> list;
    keystone::readContainer(in, list, sizeof(qint32));
    QCOMPARE(list, QList<qint32>({3, 4}));
    QVERIFY(!in.ok());
}

QTEST_GUILESS_MAIN(TestStream)
#include "test_stream.moc"

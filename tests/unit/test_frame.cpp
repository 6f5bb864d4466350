#include "bus/action_frame.h"
#include "bus/frame.h"
#include "bytes.h"
#include "keystone/byte_writer.h"
#include "keystone/stream.h"

#include <QTest>

using namespace support;

class TestFrame : public QObject
{
    Q_OBJECT

private slots:
    void buildsAGreeting() { QCOMPARE(bus::encode(bus::Greeting{"srv"}), hex("00 00 00 08 C8 00 00 00 03 73 72 76")); }

    void buildsAnAction()
    {
        const QByteArray built = bus::encode(bus::Action{"A", "MM", QByteArray("\x01", 1), Qt::blue, -1});
        QCOMPARE(built, hex("00 00 00 20 CA"
                            "00 00 00 01 41  00 00 00 02 4D 4D  00 00 00 01 01"
                            "01 FF FF 00 00 00 00 FF FF 00 00  FF FF FF FF"));
    }

    void buildsAnAnswerInItsPlace()
    {
        bus::ActionFrame answer("AB");
        QCOMPARE(answer.dataSize(), 0);
        keystone::ByteWriter out(&answer.bytes());
        out << qint16(0x0102) << qint8(3);
        QCOMPARE(answer.dataSize(), 3);
        QCOMPARE(answer.take(Qt::blue, 258), hex("00 00 00 23 CA"
                                                 "00 00 00 02 41 42  00 00 00 02 41 42  00 00 00 03 01 02 03"
                                                 "01 FF FF 00 00 00 00 FF FF 00 00  00 00 01 02"));
    }

    void anAnswerThatNothingIsWrittenToHasNullData()
    {
        bus::ActionFrame answer("A");
        const keystone::ByteWriter out(&answer.bytes());
        QCOMPARE(answer.take(Qt::red, -1), hex("00 00 00 1E CA  00 00 00 01 41  00 00 00 01 41  FF FF FF FF"
                                               "01 FF FF FF FF 00 00 00 00 00 00  FF FF FF FF"));
    }

    void buildsACommandWithANullRequest()
    {
        QCOMPARE(bus::encode(bus::Command{"About", QByteArray(), 7}),
                 hex("00 00 00 12 CB 00 00 00 05 41 62 6F 75 74 FF FF FF FF 00 00 00 07"));
    }

    void buildsABusMessage()
    {
        QCOMPARE(bus::encode(bus::BusMessage{"i", QByteArray(""), 258}),
                 hex("00 00 00 0E CC 00 00 00 01 69 00 00 00 00 00 00 01 02"));
    }

    void buildsDataOfAKind() { QCOMPARE(bus::encode(bus::Data{1, "xy"}), hex("00 00 00 07 01 00 00 00 02 78 79")); }

    void readsBackWhatItBuilds()
    {
        const QByteArray built = bus::encode(bus::Action{"act", "msg", "data", Qt::red, 41});
        const auto frame = std::get<bus::Action>(bus::decode(built.mid(4)));
        QCOMPARE(frame.action, QByteArray("act"));
        QCOMPARE(frame.message, QByteArray("msg"));
        QCOMPARE(frame.data, QByteArray("data"));
        QCOMPARE(frame.colour, QColor(Qt::red));
        QCOMPARE(frame.idConnection, 41);
    }

    void readsTheTypeAsUnsigned()
    {
        QVERIFY(std::holds_alternative<bus::Action>(bus::decode(hex("CA"))));
        QVERIFY(std::holds_alternative<bus::Greeting>(bus::decode(hex("C8"))));
        QVERIFY(std::holds_alternative<bus::Command>(bus::decode(hex("CB"))));
        QVERIFY(std::holds_alternative<bus::BusMessage>(bus::decode(hex("CC"))));
        QCOMPARE(std::get<bus::Data>(bus::decode(hex("FF"))).kind, quint8(255));
        QCOMPARE(std::get<bus::Data>(bus::decode(hex("C9"))).kind, quint8(201));
    }

    void readsNoBytesAsEmptyDataOfKindZero()
    {
        const auto frame = std::get<bus::Data>(bus::decode(QByteArray()));
        QCOMPARE(frame.kind, quint8(0));
        QVERIFY(frame.data.isEmpty());
    }

    void readsFieldsMissingAtTheEndAsEmpty()
    {
        const QByteArray whole = action("name", "message", "data", red(), 9).mid(4);
        for (qsizetype size = 1; size < whole.size(); ++size) {
            const auto frame = std::get<bus::Action>(bus::decode(whole.left(size)));
            if (size < 1 + 8)
                QVERIFY(frame.action.isEmpty());
            if (size < 1 + 8 + 11)
                QVERIFY(frame.message.isEmpty());
            if (size < 1 + 8 + 11 + 8)
                QVERIFY(frame.data.isEmpty());
            if (size <= 1 + 8 + 11 + 8)
                QVERIFY(!frame.colour.isValid());
            QCOMPARE(frame.idConnection, 0);
        }
    }

    void writesColoursAsAStreamDoes()
    {
        QList<QColor> colours{QColor(), Qt::red, Qt::blue, Qt::transparent, QColor(1, 2, 3, 4)};
        colours << QColor::fromRgba64(0x1234, 0x5678, 0x9ABC, 0xDEF0) << QColor::fromHsv(120, 30, 40, 50)
                << QColor::fromCmyk(1, 2, 3, 4, 5) << QColor::fromHsl(20, 30, 40) << QColor::fromRgbF(2.0F, 0, -1, 1);
        // As peers may send them: of no kind that there is, and with something in the field that is not used.
        for (const char *bytes : {"ff0000111122223333444455", "fe1111222233334444555566", "01ffff11112222333300aa"})
            colours << keystone::fromStreamed<QColor>(QByteArray::fromHex(bytes).first(11));
        for (const QColor &colour : std::as_const(colours)) {
            QByteArray expected;
            QDataStream stream(&expected, QIODevice::WriteOnly);
            stream.setVersion(QDataStream::Qt_4_5);
            stream << colour << qint32(7);
            QVERIFY(bus::encode(bus::Action{"a", "m", "d", colour, 7}).endsWith(expected));
            QVERIFY(bus::ActionFrame("a").take(colour, 7).endsWith(expected));
        }
    }

    /// However a frame ends, its fields are what QDataStream reads.
    void readsEveryPrefixAsAStreamDoes_data()
    {
        QTest::addColumn<QByteArray>("whole");
        QTest::newRow("greeting") << bus::encode(bus::Greeting{"server"}).mid(4);
        QTest::newRow("action") << bus::encode(bus::Action{"action", "message", "data", Qt::red, 41}).mid(4);
        QTest::newRow("action of nothing") << bus::encode(bus::Action{}).mid(4);
        QTest::newRow("command") << bus::encode(bus::Command{"command", "data", -2}).mid(4);
        QTest::newRow("command without data") << bus::encode(bus::Command{"command", QByteArray(""), 3}).mid(4);
        QTest::newRow("bus message") << bus::encode(bus::BusMessage{"iface", "data", 7}).mid(4);
        QTest::newRow("data") << bus::encode(bus::Data{9, "data"}).mid(4);
        QTest::newRow("more than a frame") << bus::encode(bus::Command{"command", "data", 5}).mid(4) + "rest";
    }

    void readsEveryPrefixAsAStreamDoes()
    {
        QFETCH(QByteArray, whole);
        for (qsizetype size = 0; size <= whole.size(); ++size) {
            const QByteArray body = whole.left(size);
            QDataStream in(body);
            in.setVersion(QDataStream::Qt_4_5);
            quint8 type = 0;
            in >> type;
            const auto sameBytes = [&](const QByteArray &read) {
                QByteArray expected;
                in >> expected;
                QCOMPARE(read, expected);
                QCOMPARE(read.isNull(), expected.isNull());
            };
            const auto sameNumber = [&](qint32 read) {
                qint32 expected = 0;
                in >> expected;
                QCOMPARE(read, expected);
            };
            const bus::Frame frame = bus::decode(body);
            if (const auto *greeting = std::get_if<bus::Greeting>(&frame)) {
                sameBytes(greeting->name);
            } else if (const auto *action = std::get_if<bus::Action>(&frame)) {
                sameBytes(action->action);
                sameBytes(action->message);
                sameBytes(action->data);
                QColor colour;
                in >> colour;
                QCOMPARE(action->colour, colour);
                sameNumber(action->idConnection);
            } else if (const auto *command = std::get_if<bus::Command>(&frame)) {
                sameBytes(command->name);
                sameBytes(command->data);
                sameNumber(command->idConnection);
            } else if (const auto *message = std::get_if<bus::BusMessage>(&frame)) {
                sameBytes(message->iface);
                sameBytes(message->data);
                sameNumber(message->idConnect);
            } else {
                QCOMPARE(std::get<bus::Data>(frame).kind, type);
                sameBytes(std::get<bus::Data>(frame).data);
            }
        }
    }

    void leavesDataWhereTheyAre()
    {
        const QByteArray large(1'000'000, 'x');
        const auto staysInside = [&](QByteArray frame) {
            QByteArray body = frame.mid(4);
            frame.clear();
            const char *begin = body.constData();
            const qsizetype size = body.size();
            const bus::Frame decoded = bus::decode(std::move(body));
            const auto *command = std::get_if<bus::Command>(&decoded);
            const QByteArray &data = command ? command->data : std::get<bus::Action>(decoded).data;
            return data == large && data.constData() > begin && data.constData() < begin + size;
        };
        QVERIFY(staysInside(bus::encode(bus::Command{"c", large, 5})));
        QVERIFY(staysInside(bus::encode(bus::Action{"a", "m", large, Qt::blue, 5})));
    }

    void doesNotBelieveALyingInnerLength_data()
    {
        QTest::addColumn<QByteArray>("count");
        QTest::newRow("a byte too many") << hex("00 00 00 04");
        QTest::newRow("50 MB") << hex("02 FA F0 80");
        QTest::newRow("2 GB") << hex("7F FF FF FF");
        QTest::newRow("almost 4 GB") << hex("FF FF FF FE");
    }

    void doesNotBelieveALyingInnerLength()
    {
        QFETCH(QByteArray, count);
        const auto frame = std::get<bus::Command>(bus::decode(hex("CB") + count + "abc"));
        QVERIFY(frame.name.isEmpty());
        QVERIFY(frame.data.isEmpty());
        QCOMPARE(frame.idConnection, 0);
    }
};

QTEST_GUILESS_MAIN(TestFrame)
#include "test_frame.moc"

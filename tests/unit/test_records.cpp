#include "bytes.h"
#include "keystone/byte_reader.h"
#include "keystone/byte_writer.h"
#include "keystone/mob_data.h"
#include "records/record_rows.h"

#include <QTest>

using namespace support;

namespace {

template <typename Record>
QByteArray written(const Record &record)
{
    QByteArray bytes;
    keystone::ByteWriter out(&bytes);
    out << record;
    return bytes;
}

template <typename Record>
Record readBack(const QByteArray &bytes)
{
    keystone::ByteReader in(bytes);
    Record record;
    in >> record;
    return record;
}

CardsProperty sampleProperty()
{
    return {3, "nm", QStringLiteral("Имя"), 10, QByteArray("\0\xFF", 2), 't'};
}

SensorInfoX sampleSensor()
{
    return {"s", QString(), 2, 7, 'v', {"a", "b"}, QString(""), QByteArray()};
}

/// One row, as the database server sends it: binary; a null value is NULL.
database::Result resultOf(const QList<std::pair<const char *, QByteArray>> &columns)
{
    PGresult *result = PQmakeEmptyPGresult(nullptr, PGRES_TUPLES_OK);
    QList<PGresAttDesc> descriptions;
    for (const auto &[name, value] : columns)
        descriptions.append({const_cast<char *>(name), 0, 0, 1, 25, -1, -1});
    PQsetResultAttrs(result, int(descriptions.size()), descriptions.data());
    for (int column = 0; column < columns.size(); ++column) {
        QByteArray value = columns[column].second;
        PQsetvalue(result, 0, column, value.isNull() ? nullptr : value.data(), value.isNull() ? -1 : int(value.size()));
    }
    return database::Result(result);
}

constexpr const char *kSensorTail = "FF FF FF FF  00 00 00 02  00 07  00 76"            // measure to vid
                                    "00 00 00 02  00 00 00 02 00 61  00 00 00 02 00 62" // two labels
                                    "00 00 00 00  FF FF FF FF";                         // calculate, rate

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void streamsAProperty()
    {
        const QByteArray expected = hex("00 00 00 03  00 00 00 04 00 6E 00 6D  00 00 00 06 04 18 04 3C 04 4F"
                                        "00 00 00 0A  00 00 00 02 00 FF  00 74");
        QCOMPARE(written(sampleProperty()), expected);
        QCOMPARE(written(readBack<CardsProperty>(expected)), expected);
    }

    void streamsASensor()
    {
        const QByteArray expected = hex("00 00 00 02 00 73") + hex(kSensorTail);
        QCOMPARE(written(sampleSensor()), expected);
        QCOMPARE(written(readBack<SensorInfoX>(expected)), expected);
    }

    void streamsACommand()
    {
        const QByteArray expected = hex("00 00 00 05  00 00 00 02 00 63  00 00 00 00  00 00 00 02  00 00 00 01 45"
                                        "00 00 00 03");
        QCOMPARE(written(CmdDesc{5, "c", QString(""), 2, "E", 3}), expected);
        QCOMPARE(written(readBack<CmdDesc>(expected)), expected);
    }

    void streamsAParameter()
    {
        const QByteArray expected = hex("00 00 00 01 70  FF FF FF FF  FF FF FF FF  00 00 00 04  00 00 00 08");
        QCOMPARE(written(ParamDesc{"p", QByteArray(), QString(), 4, 8}), expected);
        QCOMPARE(written(readBack<ParamDesc>(expected)), expected);
    }

    void streamsTheHeadOfAnEventRecord()
    {
        const QByteArray expected = hex("00000000 00000000 00000000 00000000 00000000 65 8F 12 AB 00000000");
        QCOMPARE(written(MobData{0x658F12AB}), expected);
        QCOMPARE(readBack<MobData>(expected).time, 0x658F12ABu);
    }

    void refusesAnEventRecordWithSensorReadings()
    {
        const QByteArray bytes = hex("00000000 00000000 00000000 00000000 00000000 00000001 FFFFFFFF");
        keystone::ByteReader in(bytes);
        MobData record;
        in >> record;
        QVERIFY(!in.ok());
    }

    void hasNoIdUntilARowGivesOne()
    {
        QCOMPARE(CardsProperty().id, -1);
        QCOMPARE(CmdDesc().id, 0);
        QCOMPARE(ParamDesc().id, 0);
    }

    void readsRecordsThatEndEarlyAsZeroAndEmpty()
    {
        const QByteArray whole = written(sampleProperty());
        for (qsizetype size = 0; size < whole.size(); ++size) {
            const auto property = readBack<CardsProperty>(whole.left(size));
            QCOMPARE(property.visible, qint16(0));
            if (size < 4)
                QCOMPARE(property.id, 0);
            if (size < whole.size() - 4)
                QVERIFY(property.value.isEmpty());
        }
    }

    void leavesALyingListOfLabelsEmpty_data()
    {
        QTest::addColumn<QByteArray>("count");
        QTest::newRow("one too many") << hex("00 00 00 03");
        QTest::newRow("2 G") << hex("7F FF FF FF");
        QTest::newRow("4 G") << hex("FF FF FF FF");
    }

    void leavesALyingListOfLabelsEmpty()
    {
        QFETCH(QByteArray, count);
        const QByteArray bytes = hex("00 00 00 02 00 73  FF FF FF FF  00 00 00 02  00 07  00 76") + count +
                                 hex("00 00 00 02 00 61  00 00 00 02 00 62");
        const auto sensor = readBack<SensorInfoX>(bytes);
        QCOMPARE(sensor.vid, qint16('v'));
        QVERIFY(sensor.enumeration.isEmpty());
        QVERIFY(sensor.calculate.isEmpty());
        QVERIFY(sensor.rate.isEmpty());
    }

    void packsAProperty()
    {
        const QByteArray expected = hex("00 00 00 0A  00 00 00 02 00 FF  00 74");
        QCOMPARE(records::pack(sampleProperty()), expected);
        CardsProperty unpacked;
        records::unpack(expected, unpacked);
        QCOMPARE(records::pack(unpacked), expected);
        QVERIFY(unpacked.name.isNull());
    }

    void packsASensorWithoutItsName()
    {
        const QByteArray expected = hex(kSensorTail);
        QCOMPARE(records::pack(sampleSensor()), expected);
        SensorInfoX unpacked;
        records::unpack(expected, unpacked);
        QCOMPARE(records::pack(unpacked), expected);
        QCOMPARE(unpacked.enumeration, QStringList({"a", "b"}));
    }

    void packsACommand()
    {
        const QByteArray expected = hex("00 00 00 02  00 00 00 01 45");
        QCOMPARE(records::pack(CmdDesc{5, "c", "d", 2, "E", 3}), expected);
        CmdDesc unpacked;
        records::unpack(expected, unpacked);
        QCOMPARE(unpacked.operation, 2);
        QCOMPARE(unpacked.execBy, QByteArray("E"));
    }

    void packsAParameter()
    {
        const QByteArray expected = hex("00 00 00 01 76  00 00 00 04");
        QCOMPARE(records::pack(ParamDesc{"p", "v", "d", 4, 8}), expected);
        ParamDesc unpacked;
        records::unpack(expected, unpacked);
        QCOMPARE(unpacked.value, QByteArray("v"));
        QCOMPARE(unpacked.type, 4);
    }

    /// Into a reply what is packed goes as it would by way of the record.
    void writesASensorAsItUnpacks_data()
    {
        QTest::addColumn<QByteArray>("packed");
        const QByteArray whole = records::pack(sampleSensor());
        for (qsizetype size = 0; size <= whole.size(); ++size)
            QTest::addRow("first %d bytes", int(size)) << whole.first(size);
        // Lengths and counts that lie, among others.
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray changed = whole;
            changed[at] = char(~changed[at]);
            QTest::addRow("byte %d changed", int(at)) << changed;
            changed[at] = char(whole[at] ^ 1);
            QTest::addRow("lowest bit of byte %d changed", int(at)) << changed;
        }
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("more behind it") << whole + "more";
        QTest::newRow("nulls") << hex("FF FF FF FF  00 00 00 02  00 07  00 76  00 00 00 02 FF FF FF FF 00 00 00 00  "
                                      "FF FF FF FF  FF FF FF FF");
    }

    void writesASensorAsItUnpacks()
    {
        QFETCH(QByteArray, packed);
        SensorInfoX sensor;
        sensor.name = "n";
        records::unpack(packed, sensor);
        QByteArray reply;
        keystone::ByteWriter out(&reply);
        records::writeSensor(out, {"n"}, packed);
        QCOMPARE(reply.toHex(' '), written(sensor).toHex(' '));
    }

    void unpacksBytesThatEndEarly()
    {
        const QByteArray packed = records::pack(sampleSensor());
        for (qsizetype size = 0; size < packed.size(); ++size) {
            SensorInfoX sensor;
            records::unpack(packed.left(size), sensor);
            QVERIFY(sensor.rate.isEmpty());
        }
    }

    void joinsLabelsWithSemicolons()
    {
        QCOMPARE(records::enumText({}), QString(""));
        QVERIFY(!records::enumText({}).isNull());
        QVERIFY(!records::enumText({QString()}).isNull());
        QCOMPARE(records::enumText({"a", "b"}), QString("a;b"));
    }

    void writesSensorsAsTheirRowsAre_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("labels");
        QTest::newRow("one") << QByteArray("on") << QStringList({"on"});
        QTest::newRow("two") << QByteArray("on;off") << QStringList({"on", "off"});
        QTest::newRow("Cyrillic") << QByteArray("да;нет;") << QStringList({"да", "нет", ""});
        QTest::newRow("beyond two bytes") << QByteArray("€;𝄞") << QStringList({"€", "𝄞"});
        QTest::newRow("empty ones") << QByteArray(";a;;") << QStringList({"", "a", "", ""});
        QTest::newRow("empty") << QByteArray("") << QStringList({""});
        QTest::newRow("none") << QByteArray() << QStringList({""});
    }

    void writesSensorsAsTheirRowsAre()
    {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, labels);
        const database::Result rows = resultOf({{"Rate", "\x01\x02"},
                                                {"Enum", text},
                                                {"Name", "Датчик"},
                                                {"Measure", QByteArray()},
                                                {"Vid", "v"},
                                                {"Quality", QByteArray("\0\0\0\2", 4)},
                                                {"Type", QByteArray("\0\7", 2)},
                                                {"Calculate", ""}});
        QByteArray bytes;
        keystone::ByteWriter out(&bytes);
        records::SensorRows(rows).write(out, 0);
        QCOMPARE(bytes, written(SensorInfoX{QStringLiteral("Датчик"), QString(), 2, 7, 'v', labels, QString(""),
                                            QByteArray("\x01\x02")}));
    }

    void writesACardAsItsRowsAre()
    {
        const database::Result rows = resultOf({{"Id", QByteArray("\0\0\0\3", 4)},
                                                {"Visible", "t"},
                                                {"Name", "nm"},
                                                {"Description", "Имя"},
                                                {"Type", QByteArray("\0\0\0\x0A", 4)},
                                                {"Value", QByteArray("\0\xFF", 2)}});
        QByteArray bytes;
        keystone::ByteWriter out(&bytes);
        records::CardRows(rows).write(out, 0);
        QCOMPARE(bytes, written(sampleProperty()));
        bytes.clear();
        records::CardRows(rows).write(out, 0, -5);
        CardsProperty other = sampleProperty();
        other.id = -5;
        QCOMPARE(bytes, written(other));
    }

    void writesColumnsThatAreNotThereAsNull()
    {
        const database::Result rows = resultOf({{"Other", "x"}});
        QByteArray card;
        keystone::ByteWriter cardOut(&card);
        records::CardRows(rows).write(cardOut, 0);
        QCOMPARE(card, written(CardsProperty{0, QString(), QString(), 0, QByteArray(), 0}));
        QByteArray sensor;
        keystone::ByteWriter sensorOut(&sensor);
        records::SensorRows(rows).write(sensorOut, 0);
        QCOMPARE(sensor, written(SensorInfoX{QString(), QString(), 0, 0, 0, {""}, QString(), QByteArray()}));
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "test_records.moc"

#include "bytes.h"
#include "keystone/records.h"
#include "registry/request_reader.h"

#include <QMap>
#include <QTest>

using namespace support;
using registry::RequestReader;

class TestRequestReader : public QObject
{
    Q_OBJECT

private slots:
    void readsFieldsInOrder()
    {
        const QByteArray request = hex("00 00 00 11  01  00 00 00 02 00 6E");
        RequestReader in(request);
        QCOMPARE(in.read<qint32>(), 17);
        QCOMPARE(in.read<bool>(), true);
        QCOMPARE(in.read<QString>(), QString("n"));
        QVERIFY(in.refusal().isEmpty());
    }

    void readsWhatIsMissingAsZeroAndEmpty()
    {
        const QByteArray request = hex("00 00");
        RequestReader in(request);
        QCOMPARE(in.read<qint32>(), 0);
        QCOMPARE(in.read<bool>(), false);
        QCOMPARE(in.read<QString>(), QString(""));
        QCOMPARE(in.read<CardsProperty>().type, 0);
    }

    void takesCountsThatTheRestMayOwe_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<int>("count");
        QTest::newRow("none") << hex("00 00 00 00") << 0;
        QTest::newRow("negative") << hex("FF FF FF FE") << 0;
        QTest::newRow("as many as bytes") << hex("00 00 00 03 AA BB CC") << 3;
        QTest::newRow("1024 more") << hex("00 00 04 03 AA BB CC") << 1027;
        QTest::newRow("1024 at the end") << hex("00 00 04 00") << 1024;
        QTest::newRow("cut short") << hex("7F FF") << 0;
    }

    void takesCountsThatTheRestMayOwe()
    {
        QFETCH(QByteArray, request);
        QFETCH(int, count);
        RequestReader in(request);
        QCOMPARE(in.recordCount(), std::optional<qint32>(count));
        QVERIFY(in.refusal().isEmpty());
    }

    void refusesCountsBeyondTheRest_data()
    {
        QTest::addColumn<QByteArray>("request");
        QTest::newRow("1025 at the end") << hex("00 00 04 01");
        QTest::newRow("1025 more") << hex("00 00 04 04 AA BB CC");
        QTest::newRow("highest") << hex("7F FF FF FF");
    }

    void refusesCountsBeyondTheRest()
    {
        QFETCH(QByteArray, request);
        RequestReader in(request);
        QCOMPARE(in.recordCount(), std::nullopt);
        QVERIFY(!in.refusal().isEmpty());
    }

    void readsContainers()
    {
        const QByteArray request = hex("00 00 00 02  00 00 00 03  00 00 00 07  01");
        RequestReader in(request);
        QCOMPARE(in.readContainer<QList<qint32>>(4), QList<qint32>({3, 7}));
        QCOMPARE(in.read<bool>(), true);
    }

    void leavesLyingContainersEmptyAndTheRestUnread_data()
    {
        QTest::addColumn<QByteArray>("count");
        QTest::newRow("one too many") << hex("00 00 00 03");
        QTest::newRow("2 G") << hex("7F FF FF FF");
        QTest::newRow("all ones") << hex("FF FF FF FF");
    }

    void leavesLyingContainersEmptyAndTheRestUnread()
    {
        QFETCH(QByteArray, count);
        const QByteArray request = count + hex("00 00 00 03  00 00 00 07");
        RequestReader list(request);
        QVERIFY(list.readContainer<QList<qint32>>(4).isEmpty());
        QCOMPARE(list.read<qint32>(), 0);
        RequestReader map(request);
        QVERIFY((map.readContainer<QMap<int, CardsProperty>>(26).isEmpty()));
        QCOMPARE(map.read<qint32>(), 0);
    }
};

QTEST_GUILESS_MAIN(TestRequestReader)
#include "test_request_reader.moc"

#include "bus/frame_cutter.h"
#include "bytes.h"

#include <QTest>

#include <malloc.h>

using bus::FrameCutter;
using namespace support;
using Result = FrameCutter::Result;

namespace {

constexpr int kLimit = 50000000;

QByteArray length(int value)
{
    return i32(value);
}

/// Every frame that can be taken now.
QList<QByteArray> takeAll(FrameCutter &cutter)
{
    QList<QByteArray> bodies;
    QByteArray body;
    while (cutter.next(body) == Result::FrameReady)
        bodies.append(body);
    return bodies;
}

} // namespace

class TestFrameCutter : public QObject
{
    Q_OBJECT

private slots:
    void deliversAFrameOnceWholeHoweverItIsSplit()
    {
        const QByteArray bytes = length(5) + "abcde" + length(2) + "xy";
        for (qsizetype split = 0; split <= bytes.size(); ++split) {
            FrameCutter cutter;
            cutter.append(bytes.left(split));
            QList<QByteArray> bodies = takeAll(cutter);
            cutter.append(bytes.mid(split));
            bodies += takeAll(cutter);
            QCOMPARE(bodies, QList<QByteArray>({"abcde", "xy"}));
        }
    }

    void deliversFramesThatComeByteByByte()
    {
        const QByteArray bytes = length(5) + "abcde" + length(1) + "z" + length(0) + length(3) + "end";
        FrameCutter cutter;
        QList<QByteArray> bodies;
        for (const char byte : bytes) {
            cutter.append(QByteArray(1, byte));
            bodies += takeAll(cutter);
        }
        QCOMPARE(bodies, QList<QByteArray>({"abcde", "z", "", "end"}));
    }

    void deliversSeveralFramesOfOneArrivalInOrder()
    {
        FrameCutter cutter;
        cutter.append(length(1) + "1" + length(1) + "2" + length(1) + "3");
        QCOMPARE(takeAll(cutter), QList<QByteArray>({"1", "2", "3"}));
    }

    void takesNoBodyForALengthOfZeroOrBelow_data()
    {
        QTest::addColumn<int>("declared");
        QTest::newRow("0") << 0;
        QTest::newRow("-1") << -1;
        QTest::newRow("lowest") << std::numeric_limits<int>::min();
    }

    void takesNoBodyForALengthOfZeroOrBelow()
    {
        QFETCH(int, declared);
        FrameCutter cutter;
        cutter.append(length(declared) + length(2) + "ok");
        QCOMPARE(takeAll(cutter), QList<QByteArray>({"", "ok"}));
    }

    void waitsForTheLongestFrameThatIsAllowed()
    {
        FrameCutter cutter;
        QByteArray body;
        cutter.append(length(kLimit));
        QCOMPARE(cutter.next(body), Result::NeedMore);
        cutter.append("x");
        QCOMPARE(cutter.next(body), Result::NeedMore);
        cutter.append(QByteArray(kLimit - 1, 'y'));
        QCOMPARE(cutter.next(body), Result::FrameReady);
        QCOMPARE(body.size(), kLimit);
        QCOMPARE(body.left(2), QByteArray("xy"));
    }

    void refusesAnIncompleteFrameAboveTheLimit()
    {
        FrameCutter cutter;
        QByteArray body;
        cutter.append(length(kLimit + 1) + QByteArray(kLimit, 'x'));
        QCOMPARE(cutter.next(body), Result::TooLong);
    }

    void takesAFrameAboveTheLimitThatHasArrivedWhole()
    {
        FrameCutter cutter;
        cutter.append(length(kLimit + 1) + QByteArray(kLimit + 1, 'x') + length(1) + "n");
        QByteArray body;
        QCOMPARE(cutter.next(body), Result::FrameReady);
        QCOMPARE(body.size(), kLimit + 1);
        QCOMPARE(cutter.next(body), Result::FrameReady);
        QCOMPARE(body, QByteArray("n"));
    }

    void reservesNothingForADeclaredLength()
    {
        FrameCutter cutter;
        QByteArray body;
        const auto before = mallinfo2();
        cutter.append(length(kLimit) + "x");
        QCOMPARE(cutter.next(body), Result::NeedMore);
        const auto after = mallinfo2();
        QVERIFY(after.uordblks + after.hblkhd < before.uordblks + before.hblkhd + 100000);
    }

    void givesTheMemoryOfATakenFrameBack()
    {
        FrameCutter cutter;
        const auto before = mallinfo2();
        cutter.append(length(kLimit) + QByteArray(kLimit, 'x'));
        takeAll(cutter);
        const auto after = mallinfo2();
        QVERIFY(after.uordblks + after.hblkhd < before.uordblks + before.hblkhd + 100000);
    }
};

QTEST_GUILESS_MAIN(TestFrameCutter)
#include "test_frame_cutter.moc"

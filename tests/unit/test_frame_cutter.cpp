#include "bus/frame_cutter.h"
#include "bytes.h"

#include <QIODevice>
#include <QTest>

#include <algorithm>

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

/// A socket on which at most `atATime` more bytes have arrived whenever it is looked at.
class Trickle : public QIODevice
{
public:
    Trickle(QByteArray bytes, qsizetype atATime)
        : m_bytes(std::move(bytes))
        , m_atATime(atATime)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_arrived + QIODevice::bytesAvailable(); }
    bool arrive()
    {
        m_arrived = qMin(m_arrived + m_atATime, m_bytes.size());
        return m_arrived > 0;
    }

protected:
    qint64 readData(char *data, qint64 most) override
    {
        const auto size = qMin<qint64>(most, m_arrived);
        std::copy_n(m_bytes.cbegin(), size, data);
        m_bytes.remove(0, size);
        m_arrived -= size;
        return size;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    QByteArray m_bytes;
    qsizetype m_atATime;
    qsizetype m_arrived = 0;
};

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

    void readsFramesFromASocketHoweverTheyArrive_data()
    {
        QTest::addColumn<int>("atATime");
        for (const int size : {1, 3, 4, 5, 7, 1000, 4096, 100'000, 1'000'000, 9'000'000})
            QTest::addRow("%d", size) << size;
    }

    void readsFramesFromASocketHoweverTheyArrive()
    {
        QFETCH(int, atATime);
        QList<QByteArray> expected{"abcde", "", QByteArray(3000, 'k'), "xy"};
        if (atATime > 1000)
            expected += {QByteArray(5'000'000, 'M'), "z", QByteArray(300'000, 'n')};
        QByteArray bytes;
        for (const QByteArray &body : std::as_const(expected))
            bytes += length(int(body.size())) + body;
        Trickle socket(bytes, atATime);
        FrameCutter cutter;
        QList<QByteArray> bodies;
        QByteArray body;
        while (socket.arrive()) {
            for (auto result = cutter.next(body); result != Result::NeedMore || cutter.readFrom(socket);
                 result = cutter.next(body)) {
                if (result == Result::FrameReady)
                    bodies.append(body);
            }
        }
        QCOMPARE(bodies, expected);
        QCOMPARE(cutter.keptBytes(), 0);
    }

    void readsInTheMiddleOfAFrameOnlyWhatItLacks()
    {
        Trickle socket(length(100'000) + QByteArray(100'000, 'x') + length(1) + "y", 60'000);
        FrameCutter cutter;
        QByteArray body;
        for (int i = 0; i < 2; ++i) {
            socket.arrive();
            QVERIFY(cutter.readFrom(socket));
            QCOMPARE(cutter.next(body), i == 0 ? Result::NeedMore : Result::FrameReady);
        }
        QCOMPARE(body.size(), 100'000);
        QCOMPARE(socket.bytesAvailable(), 5);
        QCOMPARE(cutter.keptBytes(), 0);
        QVERIFY(cutter.readFrom(socket));
        QCOMPARE(cutter.next(body), Result::FrameReady);
        QCOMPARE(body, QByteArray("y"));
        QVERIFY(!cutter.readFrom(socket));
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

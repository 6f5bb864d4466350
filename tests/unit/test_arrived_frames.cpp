#include "bus/arrived_frames.h"

#include <QTest>

using bus::ArrivedFrames;
using Result = bus::FrameCutter::Result;

namespace {

QByteArray command(int number)
{
    return bus::encode(bus::Command{QByteArray::number(number), {}, 1});
}

QByteArray name(const bus::Frame &frame)
{
    return std::get<bus::Command>(frame).name;
}

} // namespace

class TestArrivedFrames : public QObject
{
    Q_OBJECT

private slots:
    void givesEachFrameOnceInOrder()
    {
        constexpr int kFrames = 100;
        bus::FrameCutter cutter;
        ArrivedFrames frames;
        for (int i = 0; i < kFrames; ++i)
            cutter.append(command(i));
        for (int i = 0; i < kFrames; ++i) {
            QCOMPARE(frames.next(cutter), Result::FrameReady);
            QCOMPARE(name(frames.current()), QByteArray::number(i));
            int number = i;
            for (const bus::Frame &frame : frames.following())
                QCOMPARE(name(frame), QByteArray::number(++number));
        }
        QCOMPARE(frames.next(cutter), Result::NeedMore);
        QVERIFY(frames.following().empty());
    }

    void givesWhatCameBehindTheLast()
    {
        bus::FrameCutter cutter;
        ArrivedFrames frames;
        const QByteArray third = command(3);
        cutter.append(command(1) + command(2) + third.first(5));
        QCOMPARE(frames.next(cutter), Result::FrameReady);
        QCOMPARE(frames.following().size(), std::size_t(1));
        cutter.append(third.sliced(5));
        for (const char *expected : {"2", "3"}) {
            QCOMPARE(frames.next(cutter), Result::FrameReady);
            QCOMPARE(name(frames.current()), QByteArray(expected));
        }
    }

    void givesTheFramesBeforeOneThatIsTooLong()
    {
        bus::FrameCutter cutter;
        ArrivedFrames frames;
        cutter.append(command(1) + command(2) + QByteArray::fromHex("7FFFFFFF") + "x");
        QCOMPARE(frames.next(cutter), Result::FrameReady);
        QCOMPARE(frames.next(cutter), Result::FrameReady);
        QCOMPARE(name(frames.current()), QByteArray("2"));
        QCOMPARE(frames.next(cutter), Result::TooLong);
    }

    void forgetsWhatItHasCut()
    {
        bus::FrameCutter cutter;
        ArrivedFrames frames;
        cutter.append(command(1) + command(2));
        QCOMPARE(frames.next(cutter), Result::FrameReady);
        frames.forget();
        QVERIFY(frames.following().empty());
        QCOMPARE(frames.next(cutter), Result::NeedMore);
    }
};

QTEST_GUILESS_MAIN(TestArrivedFrames)
#include "test_arrived_frames.moc"

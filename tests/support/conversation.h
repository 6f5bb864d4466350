#pragma once

#include "bytes.h"
#include "peers.h"

#include <QDateTime>
#include <QTest>

/// A test reads as a talk: admin.send(...), SAYS(admin, ...), RECORDS(client, ...), SAYS_NOTHING_MORE(admin).

/// The next frame on `wire` is exactly this one.
#define SAYS(wire, ...)                                                                                                \
    do {                                                                                                               \
        const QByteArray saidFrame = (wire).nextFrame();                                                               \
        const QByteArray expectedFrame = __VA_ARGS__;                                                                  \
        QVERIFY2(saidFrame == expectedFrame, qPrintable(support::difference(saidFrame, expectedFrame)));               \
    } while (false)

/// The next frame on `wire` is one of these.
#define SAYS_ONE_OF(wire, ...)                                                                                         \
    do {                                                                                                               \
        const QByteArray saidFrame = (wire).nextFrame();                                                               \
        const QByteArrayList expectedFrames = __VA_ARGS__;                                                             \
        QVERIFY2(expectedFrames.contains(saidFrame),                                                                   \
                 qPrintable(support::difference(saidFrame, expectedFrames.value(0))));                                 \
    } while (false)

/// The next frame on `wire` is an event-log record of this line, made just now.
#define RECORDS(wire, line)                                                                                            \
    do {                                                                                                               \
        const QByteArray recordFrame = (wire).nextFrame();                                                             \
        const quint32 recordTime = support::recordTime(recordFrame);                                                   \
        const QByteArray expectedRecord = support::record(recordTime, line);                                           \
        QVERIFY2(recordFrame == expectedRecord, qPrintable(support::difference(recordFrame, expectedRecord)));         \
        QVERIFY2(qAbs(qint64(recordTime) - QDateTime::currentSecsSinceEpoch()) <= 30, "the record's time is not now"); \
    } while (false)

/// The service is there and answers "About" next.
#define ANSWERS(site)                                                                                                  \
    do {                                                                                                               \
        QVERIFY2((site).service.isRunning(), qPrintable((site).service.story()));                                      \
        SAYS_NOTHING_MORE((site).admin);                                                                               \
    } while (false)

/// Nothing was sent to the administration server beyond what was read.
#define SAYS_NOTHING_MORE(admin)                                                                                       \
    do {                                                                                                               \
        const QByteArray answerFrame = (admin).frameAfterAbout();                                                      \
        QVERIFY2(support::isAbout(answerFrame, (admin).lastCaller()), qPrintable(support::describe(answerFrame)));     \
    } while (false)

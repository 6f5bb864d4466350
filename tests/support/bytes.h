#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/// Bytes of the wire, put together by hand: nothing here shares a line with the code under test.
namespace support {

/// The bytes that `digits` spell, blanks ignored: hex("00 00 00 12 CB").
[[nodiscard]] QByteArray hex(const char *digits);

[[nodiscard]] QByteArray i8(int value);
[[nodiscard]] QByteArray i16(int value);
[[nodiscard]] QByteArray i32(qint64 value);

/// A byte array with its count in front.
[[nodiscard]] QByteArray bytes(const QByteArray &value);
/// A null byte array or a null text: the count 0xFFFFFFFF alone.
[[nodiscard]] QByteArray null();
/// A text: its length in bytes, then UTF-16 with the high byte first.
[[nodiscard]] QByteArray text(const QString &value);

/// `fields` behind their length and the type byte.
[[nodiscard]] QByteArray frame(int type, const QByteArray &fields);
[[nodiscard]] QByteArray greeting(const QByteArray &name);
/// `data` stands in the frame as a byte array with a count; commandWithNoData carries a null one.
[[nodiscard]] QByteArray command(const QByteArray &name, const QByteArray &data, int caller);
[[nodiscard]] QByteArray commandWithNoData(const QByteArray &name, int caller);
[[nodiscard]] QByteArray data(int kind, const QByteArray &data);

[[nodiscard]] QByteArray blue();
[[nodiscard]] QByteArray red();
[[nodiscard]] QByteArray action(const QByteArray &name, const QByteArray &message, const QByteArray &data,
                                const QByteArray &colour, int caller);
/// The answer to a command that reads: action and message are its name, in blue.
[[nodiscard]] QByteArray answer(const QByteArray &name, const QByteArray &data, int caller);
/// The notice that all clients get after object `number` changed.
[[nodiscard]] QByteArray savedCard(int number);
/// An event-log record of level 1 as a frame.
[[nodiscard]] QByteArray record(quint32 time, const QByteArray &line);
/// The time inside a frame made like `record`, 0 where the frame is too short to hold one.
[[nodiscard]] quint32 recordTime(const QByteArray &frame);

/// One property of a card as it travels. Names and descriptions go as null where they are null.
struct Property
{
    int id = -1;
    QString name;
    QString description;
    int type = 0;
    QByteArray value;
    int visible = 't';
};
[[nodiscard]] QByteArray cardRecord(const Property &value);

/// True for the answer to "About" addressed to `caller`.
[[nodiscard]] bool isAbout(const QByteArray &frame, int caller);

/// What two frames that should be equal say, and where they differ first.
[[nodiscard]] QString difference(const QByteArray &said, const QByteArray &expected);

/// A frame for people: its fields, its size, and its bytes (of a long one the beginning and a checksum).
[[nodiscard]] QString describe(const QByteArray &frame);

} // namespace support

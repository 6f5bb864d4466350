#include "bytes.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <algorithm>

namespace support {

namespace {

constexpr int kLongFrame = 150;

quint32 number(const QByteArray &from, qsizetype at)
{
    quint32 result = 0;
    for (int i = 0; i < 4; ++i)
        result = result << 8 | (at + i < from.size() ? quint8(from[at + i]) : 0);
    return result;
}

/// The byte array at `at`, which moves behind it; `whole` is cleared where the frame ends too early.
QByteArray cutBytes(const QByteArray &from, qsizetype &at, bool &whole)
{
    const quint32 count = number(from, at);
    at += 4;
    if (count == 0xFFFFFFFF)
        return {};
    if (at + count > from.size())
        whole = false;
    const QByteArray result = from.mid(at, count);
    at += count;
    return result;
}

QString quoted(const QByteArray &value)
{
    return value.isNull() ? QStringLiteral("null") : "\"" + QString::fromUtf8(value.left(200)) + "\"";
}

} // namespace

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}

QByteArray i8(int value)
{
    return QByteArray(1, char(value));
}

QByteArray i16(int value)
{
    return i8(value >> 8) + i8(value);
}

QByteArray i32(qint64 value)
{
    return i16(int(value >> 16)) + i16(int(value & 0xFFFF));
}

QByteArray bytes(const QByteArray &value)
{
    return i32(value.size()) + value;
}

QByteArray null()
{
    return i32(-1);
}

QByteArray text(const QString &value)
{
    QByteArray result = i32(value.size() * 2);
    for (const QChar letter : value)
        result += i16(letter.unicode());
    return result;
}

QByteArray frame(int type, const QByteArray &fields)
{
    return i32(fields.size() + 1) + i8(type) + fields;
}

QByteArray greeting(const QByteArray &name)
{
    return frame(200, bytes(name));
}

QByteArray command(const QByteArray &name, const QByteArray &data, int caller)
{
    return frame(203, bytes(name) + bytes(data) + i32(caller));
}

QByteArray commandWithNoData(const QByteArray &name, int caller)
{
    return frame(203, bytes(name) + null() + i32(caller));
}

QByteArray data(int kind, const QByteArray &data)
{
    return frame(kind, bytes(data));
}

QByteArray blue()
{
    return hex("01 FFFF 0000 0000 FFFF 0000");
}

QByteArray red()
{
    return hex("01 FFFF FFFF 0000 0000 0000");
}

QByteArray action(const QByteArray &name, const QByteArray &message, const QByteArray &data, const QByteArray &colour,
                  int caller)
{
    return frame(202, bytes(name) + bytes(message) + bytes(data) + colour + i32(caller));
}

QByteArray answer(const QByteArray &name, const QByteArray &data, int caller)
{
    return action(name, name, data, blue(), caller);
}

QByteArray savedCard(int number)
{
    return action("ServerMessage", "SavedCard", i32(number), red(), -1);
}

QByteArray record(quint32 time, const QByteArray &line)
{
    const QByteArray head = QByteArray(20, '\0') + i32(time) + i32(0);
    return data(1, head + bytes(line) + i8(1));
}

quint32 recordTime(const QByteArray &frame)
{
    return frame.size() < 33 ? 0 : number(frame, 29);
}

QByteArray cardRecord(const Property &value)
{
    return i32(value.id) + (value.name.isNull() ? null() : text(value.name)) +
           (value.description.isNull() ? null() : text(value.description)) + i32(value.type) +
           (value.value.isNull() ? null() : bytes(value.value)) + i16(value.visible);
}

bool isAbout(const QByteArray &frame, int caller)
{
    static const QRegularExpression pattern(QStringLiteral("\\A----\nИнформация о сборке\\.\n"
                                                           "Версия модуля: 5\\.4\\.[0-9]+:[0-9a-f]{12}\n"
                                                           "Версия Keystone: [0-9]+\\.[0-9]+\\.[0-9]+\n\\z"));
    const QByteArray start = i8(202) + bytes("About");
    if (frame.mid(4, start.size()) != start || number(frame, 0) != frame.size() - 4)
        return false;
    qsizetype at = 4 + start.size();
    bool whole = true;
    const QByteArray message = cutBytes(frame, at, whole);
    const QByteArray tail = red() + i32(caller);
    return whole && pattern.match(QString::fromUtf8(message)).hasMatch() &&
           (frame.mid(at) == null() + tail || frame.mid(at) == i32(0) + tail);
}

QString difference(const QByteArray &said, const QByteArray &expected)
{
    const auto [left, right] = std::mismatch(said.begin(), said.end(), expected.begin(), expected.end());
    const qsizetype at = left - said.begin();
    return QStringLiteral("they differ from byte %1 on: said %2, expected %3\n   said     %4\n   expected %5")
        .arg(QString::number(at), QString::fromLatin1(said.mid(at, 16).toHex(' ')),
             QString::fromLatin1(expected.mid(at, 16).toHex(' ')), describe(said), describe(expected));
}

QString describe(const QByteArray &frame)
{
    if (frame.isEmpty())
        return QStringLiteral("no frame");
    QString result = QStringLiteral("type %1").arg(quint8(frame.size() > 4 ? frame[4] : 0));
    qsizetype at = 5;
    bool whole = true;
    if (frame.size() > 4 && quint8(frame[4]) == 202) {
        result += " action " + quoted(cutBytes(frame, at, whole));
        result += " message " + quoted(cutBytes(frame, at, whole));
        const QByteArray data = cutBytes(frame, at, whole);
        const QByteArray colour = frame.mid(at, 11);
        result += QStringLiteral(" data of %1").arg(data.size());
        result += colour == blue()  ? " blue"
                  : colour == red() ? " red"
                                    : " of colour " + QString::fromLatin1(colour.toHex());
        result += QStringLiteral(" to %1").arg(qint32(number(frame, at + 11)));
    } else if (frame.size() > 38 && quint8(frame[4]) == 1) {
        at = 37;
        result += " line " + quoted(cutBytes(frame, at, whole));
    }
    result += QStringLiteral(", %1 bytes: ").arg(frame.size()) + QString::fromLatin1(frame.left(kLongFrame).toHex(' '));
    if (frame.size() > kLongFrame)
        result += " sum " + QString::fromLatin1(QCryptographicHash::hash(frame, QCryptographicHash::Sha1).toHex());
    return result;
}

} // namespace support

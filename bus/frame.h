#pragma once

#include <QByteArray>
#include <QColor>

#include <variant>

/// The frames that all modules of an installation exchange over local sockets.
///
/// A frame is a qint32 length of what follows, a type byte and the fields of that type, all in
/// keystone::kStreamVersion. Nothing here touches a socket: frames are cut, decoded and encoded in memory.
namespace bus {

/// Frames longer than this (length field, bytes) abort their link unless they have arrived whole.
inline constexpr qint32 kFrameLimit = 50'000'000;

enum class FrameType : quint8 { Greeting = 200, Action = 202, Command = 203, BusMessage = 204 };

/// The sender's own local server name, UTF-8.
struct Greeting
{
    QByteArray name;
};

/// An answer (connection of the asker) or a notice (connection -1).
struct Action
{
    QByteArray action;
    QByteArray message;
    QByteArray data;
    QColor colour;
    qint32 idConnection = 0;
};

/// A named administrative command with its request bytes.
struct Command
{
    QByteArray name;
    QByteArray data;
    qint32 idConnection = 0;
};

struct BusMessage
{
    QByteArray iface;
    QByteArray data;
    qint32 idConnect = 0;
};

/// Any other type byte: a block of data of that kind.
struct Data
{
    quint8 kind = 0;
    QByteArray data;
};

using Frame = std::variant<Greeting, Action, Command, BusMessage, Data>;

[[nodiscard]] QByteArray encode(const Greeting &frame);
[[nodiscard]] QByteArray encode(const Action &frame);
[[nodiscard]] QByteArray encode(const Command &frame);
[[nodiscard]] QByteArray encode(const BusMessage &frame);
[[nodiscard]] QByteArray encode(const Data &frame);

/// Decodes a frame's type byte and body (what follows the length). Never fails: fields missing at the end read as
/// empty, zero or an invalid colour, and no bytes at all read as an empty data frame of kind 0. A large block of data
/// stays where it is when `body` is moved in.
[[nodiscard]] Frame decode(QByteArray body);

} // namespace bus

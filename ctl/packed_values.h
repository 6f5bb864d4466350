#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Values of a card that are packed by the clients, in words. Nothing when the bytes are not of that form.
namespace ctl {

/// "picture 16x16" or "no picture", from the stream form of a QImage. Only the picture's head is looked at.
[[nodiscard]] std::optional<QString> pictureForPeople(const QByteArray &value);

/// "#rrggbb" ("#aarrggbb" when not opaque) or "no colour", from the stream form of a QColor.
[[nodiscard]] std::optional<QString> colourForPeople(const QByteArray &value);

} // namespace ctl

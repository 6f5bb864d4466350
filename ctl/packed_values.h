#pragma once

#include "keystone/byte_reader.h"

#include <QByteArray>
#include <QColor>
#include <QSize>
#include <QString>

#include <optional>

/// Values of a card that are packed by the clients. Nothing when the bytes are not of that form.
namespace ctl {

/// "picture 16x16" or "no picture", from the stream form of a QImage. Only the picture's head is looked at.
[[nodiscard]] std::optional<QString> pictureForPeople(const QByteArray &value);

/// "#rrggbb" ("#aarrggbb" when not opaque) or "no colour", from the stream form of a QColor.
[[nodiscard]] std::optional<QString> colourForPeople(const QByteArray &value);

/// Reads past a QImage that stands in a stream and gives its size; an invalid size for no picture. The points are
/// not decoded, so a picture takes no more memory here than its file.
[[nodiscard]] std::optional<QSize> readPicture(keystone::ByteReader &in);

/// Reads a QColor; an invalid one for no colour.
[[nodiscard]] std::optional<QColor> readColour(keystone::ByteReader &in);

/// "#rrggbb" ("#aarrggbb" when not opaque).
[[nodiscard]] QString colourName(const QColor &colour);

} // namespace ctl

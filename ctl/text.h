#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Forms of texts and bytes for the terminal. What comes from the registry is never trusted: no control or escape
/// character of it reaches the terminal.
namespace ctl {

/// `text` with everything that is not plainly printable written as an escape: \n, \t, \x1b, \u202e.
[[nodiscard]] QString printable(QStringView text);

/// Columns that a terminal gives to `text`, which must be printable().
[[nodiscard]] int displayWidth(QStringView text);

/// `text` cut to at most `columns` (2 or more), with an ellipsis at the end when something was cut.
[[nodiscard]] QString cutToWidth(const QString &text, int columns);

/// The text that `bytes` spell in UTF-8, when turning it back gives the same bytes; NUL does not count as text.
[[nodiscard]] std::optional<QString> utf8Text(const QByteArray &bytes);

/// Bytes for a person: text where they are printable text (line feeds and tabs escaped), else "0x0badf00d... (90
/// bytes)".
[[nodiscard]] QString bytesForPeople(const QByteArray &bytes);

/// Null is "(null)", anything else printable.
[[nodiscard]] QString textForPeople(const QString &text);

/// "1 object", "2 objects".
[[nodiscard]] QString counted(qsizetype number, const char *one, const char *many);

} // namespace ctl

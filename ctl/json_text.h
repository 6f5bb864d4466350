#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

/// Writing JSON with fields in the order that people expect. Everything but plain characters is written as \uXXXX, so
/// that the text is safe on a terminal and still exact.
namespace ctl {

/// A field's name and its value, already JSON.
using JsonMember = std::pair<QString, QString>;

/// Null is `null`.
[[nodiscard]] QString jsonText(const QString &text);

/// Null is `null`, bytes that are UTF-8 text without NUL are a string, others {"base64": "..."}.
[[nodiscard]] QString jsonBytes(const QByteArray &bytes);

/// A one-character flag: a string of that character for the codes 33 to 126, "" for 0, else the number.
[[nodiscard]] QString jsonFlag(qint16 code);

[[nodiscard]] QString jsonBool(bool value);

/// [3, 7, 12]
[[nodiscard]] QString jsonNumbers(const QList<qint32> &numbers);

/// On one line.
[[nodiscard]] QString jsonObject(const QList<JsonMember> &members);

/// On one line.
[[nodiscard]] QString jsonArray(const QStringList &elements);

/// One element on each line.
[[nodiscard]] QString jsonLines(const QStringList &elements);

} // namespace ctl

#pragma once

#include <QHash>
#include <QString>

class QSettings;

/// Text of `key` (a full key, "Base/DbHost") in an INI file; `fallback` where it is absent.
///
/// Unlike QSettings itself it takes an unquoted value as a whole where it holds "," (QSettings makes a list of it) or
/// ";" (QSettings drops the rest).
[[nodiscard]] QString settingText(const QSettings &settings, const QString &key, const QString &fallback);

/// The values of an INI file that hold "," or ";" outside double quotes, whole, by full key.
[[nodiscard]] QHash<QString, QString> unquotedValues(const QSettings &settings);

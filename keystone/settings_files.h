#pragma once

#include <QString>

class QSettings;

/// The program's settings file: <base name of the program>.ini beside the program where that exists, else in
/// /etc/objects_server. With `forTemplate` the template of that file: the same name ending in .template.ini.
[[nodiscard]] QString getIniNameDefault(bool forTemplate);

/// Adds to `settings` what `settingsTemplate` has and `settings` lacks; everything that is there stays. A template
/// without keys changes nothing and writes no file.
void rebuildSettingsByTemplate(QSettings &settings, QSettings &settingsTemplate);

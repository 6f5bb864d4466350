#pragma once

#include <QString>

#include <memory>

namespace spdlog {
class logger;
}

/// The local text log of a service.
///
/// One line per message: the time in UTC with milliseconds, a blank, the text with a trailing line feed dropped and
/// inner line feeds written as "\n". Every line is flushed; the file is rotated by size. While disabled nothing is
/// written and no file is made. A file that cannot be written is told once on the standard error output and otherwise
/// ignored.
class TLog
{
public:
    /// `path` is a file. Where it names an existing folder or ends in "/", the file is <base name of the program>.log
    /// in it.
    explicit TLog(const QString &path);
    ~TLog();
    TLog(const TLog &) = delete;
    TLog &operator=(const TLog &) = delete;

    /// /var/log/<base> where that exists and can be written, else <home>/.local/state/<base>, made when missing.
    [[nodiscard]] static QString getDirPathDefault(const QString &base);

    void Message(const QString &line);

    /// Starts disabled.
    void Enabled(bool enabled);

    /// What is worth a line: 1 operation, 2 also failed statements, 3 also every command.
    void setLevel(int level) { m_level = level; }
    [[nodiscard]] int level() const { return m_level; }
    [[nodiscard]] QString filePath() const { return m_path; }

private:
    void open();
    void complain(const QString &reason);

    QString m_path;
    int m_level = 0;
    bool m_enabled = false;
    bool m_complained = false;
    std::unique_ptr<spdlog::logger> m_logger; ///< null until the first line is written
};

/// The log of this process; null until the settings are read. Never deleted: lines may be written until the very end.
extern TLog *pLog;

/// Writes `line` to pLog where there is one.
void logMessage(const QString &line);

/// True when pLog keeps lines of this level.
[[nodiscard]] bool logHasLevel(int level);

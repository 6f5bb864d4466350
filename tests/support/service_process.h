#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <optional>

namespace support {

/// What the address sanitizer holds back of freed memory; added to every limit on the service's growth.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr qint64 kSanitizerBytes = qint64(256) << 20;
#else
inline constexpr qint64 kSanitizerBytes = 0;
#endif

/// The service as a process in a working folder of its own, which is gone with this object, as is the process.
/// The folder is also its HOME and its folder for temporary files.
class ServiceProcess
{
public:
    ServiceProcess();
    ~ServiceProcess();
    Q_DISABLE_COPY_MOVE(ServiceProcess)

    /// A path inside the working folder.
    [[nodiscard]] QString path(const QString &name) const;
    [[nodiscard]] QString adminPath() const { return path(QStringLiteral("admin")); }
    [[nodiscard]] QString serverPath() const { return path(QStringLiteral("own")); }
    [[nodiscard]] QString logPath() const { return path(QStringLiteral("service.log")); }

    /// The bus names above, the log at level 1 under logPath(), and `more` lines ("Key=value"), which come first and so
    /// win over none of these: leave a key out with `without`.
    [[nodiscard]] QByteArray settings(const QByteArray &more = {}, const QStringList &without = {}) const;
    /// Writes a file into the working folder.
    void write(const QString &name, const QByteArray &content) const;

    /// Starts with "-settings service.ini" after writing settings(`more`) there.
    void start(const QByteArray &more = {});
    void startWith(const QStringList &arguments);
    /// Runs a copy of the program under this base name from the working folder, for tests of default settings.
    void useCopyNamed(const QString &baseName);
    [[nodiscard]] QString program() const { return m_program; }
    /// Runs with this as its own name (argument 0) instead of the program's path.
    void setOwnName(const QString &name) { m_ownName = name; }
    void setVariable(const QString &name, const QString &value);

    [[nodiscard]] bool isRunning();
    /// The exit code; nothing when it does not end in time or crashed.
    [[nodiscard]] std::optional<int> exitCode(int timeoutMs = 30000);
    void kill();
    [[nodiscard]] qint64 processId() const { return m_process.processId(); }
    [[nodiscard]] qint64 residentBytes() const;
    /// The number of file descriptors that the process holds.
    [[nodiscard]] int openDescriptors() const;
    /// The number that the next file opened gets. Others above it may be open, inherited from whoever ran the tests.
    [[nodiscard]] int lowestFreeDescriptor() const;
    /// Sets how many files the running process may have open: its soft limit, at most the hard one.
    void limitOpenFiles(int files) const;

    struct LogLine
    {
        qint64 timeMs = 0; // since 1970, -1 where the line does not start with a time of the right form
        QString text;
    };
    [[nodiscard]] static QList<LogLine> readLog(const QString &path);
    [[nodiscard]] QList<LogLine> log() const { return readLog(logPath()); }
    [[nodiscard]] QStringList logTexts() const;
    [[nodiscard]] int logCount(const QString &text) const { return int(logTexts().count(text)); }
    /// Waits until the log holds a line that begins with `start`.
    bool waitForLog(const QString &start, int timeoutMs = 30000) const;
    static bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 30000);

    [[nodiscard]] QByteArray standardError() const;
    /// Log and standard error for the message of a failed check.
    [[nodiscard]] QString story() const;

private:
    QTemporaryDir m_folder;
    QString m_program;
    QString m_ownName;
    QProcess m_process;
    QProcessEnvironment m_environment;
};

} // namespace support

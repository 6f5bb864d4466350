#include "service_process.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstring>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace support {

namespace {

constexpr int kPollMs = 10;
constexpr int kTimeLength = 24; // 2026-01-31T23:59:59.123Z

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

ServiceProcess::ServiceProcess()
    // Not under the system's temporary folder: a socket's path may have 107 bytes only.
    : m_folder(QStringLiteral("/tmp/ors-XXXXXX"))
    , m_program(QStringLiteral(OBJECTS_SERVER_PATH))
    , m_environment(QProcessEnvironment::systemEnvironment())
{
    if (!m_folder.isValid())
        qFatal("no temporary folder: %s", qPrintable(m_folder.errorString()));
    for (const QString &name : m_environment.keys()) {
        if (name.startsWith("PG") || name.startsWith("QT_"))
            m_environment.remove(name);
    }
    setVariable("HOME", m_folder.path());
    setVariable("TMPDIR", m_folder.path());
    setVariable("QT_FORCE_STDERR_LOGGING", "1");
    setVariable("LC_ALL", "C.UTF-8");
    m_process.setWorkingDirectory(m_folder.path());
    m_process.setStandardOutputFile(path("stdout"));
    m_process.setStandardErrorFile(path("stderr"));
}

ServiceProcess::~ServiceProcess()
{
    kill();
}

QString ServiceProcess::path(const QString &name) const
{
    return m_folder.filePath(name);
}

QByteArray ServiceProcess::settings(const QByteArray &more, const QStringList &without) const
{
    const QList<QPair<QString, QString>> own = {
        {"LogName", logPath()}, {"Log", "1"}, {"AdminServerName", adminPath()}, {"ServerName", serverPath()}};
    QByteArray result = "[Base]\n" + more + "\n";
    for (const auto &[key, value] : own) {
        if (!without.contains(key) && !more.startsWith(key.toLatin1() + '=') &&
            !more.contains('\n' + key.toLatin1() + '='))
            result += key.toLatin1() + '=' + value.toUtf8() + '\n';
    }
    return result;
}

void ServiceProcess::write(const QString &name, const QByteArray &content) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(file.fileName()));
}

void ServiceProcess::start(const QByteArray &more)
{
    write("service.ini", settings(more));
    startWith({"-settings", "service.ini"});
}

void ServiceProcess::startWith(const QStringList &arguments)
{
    m_process.setProcessEnvironment(m_environment);
    if (m_ownName.isEmpty())
        m_process.start(m_program, arguments);
    else
        m_process.start("/bin/bash",
                        QStringList{"-c", "name=$1; shift; exec -a \"$name\" \"$@\"", "start", m_ownName, m_program} +
                            arguments);
    if (!m_process.waitForStarted())
        qFatal("cannot start %s: %s", qPrintable(m_program), qPrintable(m_process.errorString()));
}

void ServiceProcess::useCopyNamed(const QString &baseName)
{
    const QString copy = path(baseName);
    if (!QFile::copy(m_program, copy))
        qFatal("cannot copy %s", qPrintable(m_program));
    m_program = copy;
}

void ServiceProcess::setVariable(const QString &name, const QString &value)
{
    m_environment.insert(name, value);
}

bool ServiceProcess::isRunning()
{
    m_process.waitForFinished(0);
    return m_process.state() == QProcess::Running;
}

std::optional<int> ServiceProcess::exitCode(int timeoutMs)
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(timeoutMs))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

void ServiceProcess::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished();
}

qint64 ServiceProcess::residentBytes() const
{
    const QByteArray statm = contentOf(QStringLiteral("/proc/%1/statm").arg(m_process.processId()));
    return statm.split(' ').value(1).toLongLong() * ::sysconf(_SC_PAGESIZE);
}

int ServiceProcess::openDescriptors() const
{
    return int(QDir(QStringLiteral("/proc/%1/fd").arg(m_process.processId()))
                   .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                   .size());
}

int ServiceProcess::lowestFreeDescriptor() const
{
    struct stat status = {};
    int number = 0;
    const auto isUsed = [&] {
        const QString name = QStringLiteral("/proc/%1/fd/%2").arg(m_process.processId()).arg(number);
        return ::lstat(QFile::encodeName(name).constData(), &status) == 0;
    };
    while (isUsed())
        ++number;
    return number;
}

void ServiceProcess::limitOpenFiles(int files) const
{
    const auto process = static_cast<pid_t>(m_process.processId());
    rlimit limit = {};
    if (::prlimit(process, RLIMIT_NOFILE, nullptr, &limit) != 0)
        qFatal("no limit of open files: %s", std::strerror(errno));
    limit.rlim_cur = static_cast<rlim_t>(files);
    if (::prlimit(process, RLIMIT_NOFILE, &limit, nullptr) != 0)
        qFatal("cannot set the limit of open files to %d: %s", files, std::strerror(errno));
}

QList<ServiceProcess::LogLine> ServiceProcess::readLog(const QString &path)
{
    QList<LogLine> result;
    QList<QByteArray> lines = contentOf(path).split('\n');
    lines.removeLast(); // what stands behind the last line feed is no line yet
    for (const QByteArray &line : lines) {
        QDateTime time = QDateTime::fromString(QString::fromLatin1(line.left(kTimeLength)), "yyyy-MM-ddTHH:mm:ss.zzzZ");
        time.setTimeSpec(Qt::UTC);
        const bool formed = time.isValid() && line.size() > kTimeLength && line[kTimeLength] == ' ';
        result.append(
            {formed ? time.toMSecsSinceEpoch() : -1, QString::fromUtf8(formed ? line.mid(kTimeLength + 1) : line)});
    }
    return result;
}

QStringList ServiceProcess::logTexts() const
{
    QStringList result;
    for (const LogLine &line : log())
        result.append(line.text);
    return result;
}

bool ServiceProcess::waitForLog(const QString &start, int timeoutMs) const
{
    return waitUntil(
        [&] {
            const QStringList texts = logTexts();
            return std::any_of(texts.begin(), texts.end(), [&](const QString &text) { return text.startsWith(start); });
        },
        timeoutMs);
}

bool ServiceProcess::waitUntil(const std::function<bool()> &condition, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QThread::msleep(kPollMs);
    }
    return true;
}

QByteArray ServiceProcess::standardError() const
{
    return contentOf(path("stderr"));
}

QString ServiceProcess::story() const
{
    return QString::fromUtf8("the log:\n" + contentOf(logPath()) + "standard error:\n" + standardError());
}

} // namespace support

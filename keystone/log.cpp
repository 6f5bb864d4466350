#include "keystone/log.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <cstdio>
#include <string_view>

TLog *pLog = nullptr;

namespace {

constexpr std::size_t kRotateBytes = 16ULL * 1024 * 1024;
constexpr std::size_t kKeptFiles = 5;
constexpr const char *kLinePattern = "%Y-%m-%dT%H:%M:%S.%eZ %v";

QString programBaseName()
{
    return QFileInfo(QCoreApplication::applicationFilePath()).baseName();
}

QByteArray oneLine(QString text)
{
    if (text.endsWith(QLatin1Char('\n')))
        text.chop(1);
    text.replace(QLatin1Char('\n'), QLatin1String("\\n"));
    return text.toUtf8();
}

} // namespace

TLog::TLog(const QString &path)
    : m_path(path)
{
    if (path.endsWith(QLatin1Char('/')) || QFileInfo(path).isDir())
        m_path = QDir(path).filePath(programBaseName() + QStringLiteral(".log"));
}

TLog::~TLog() = default;

QString TLog::getDirPathDefault(const QString &base)
{
    const QFileInfo systemFolder(QStringLiteral("/var/log/") + base);
    if (systemFolder.isDir() && systemFolder.isWritable())
        return systemFolder.filePath();
    QString ownFolder = QDir::homePath() + QStringLiteral("/.local/state/") + base;
    QDir().mkpath(ownFolder);
    return ownFolder;
}

void TLog::Message(const QString &line)
{
    if (!m_enabled)
        return;
    if (!m_logger)
        open();
    if (!m_logger)
        return;
    const QByteArray text = oneLine(line);
    m_logger->info(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
}

void TLog::Enabled(bool enabled)
{
    m_enabled = enabled;
}

void TLog::open()
{
    try {
        auto sink =
            std::make_shared<spdlog::sinks::rotating_file_sink_st>(m_path.toStdString(), kRotateBytes, kKeptFiles);
        auto logger = std::make_unique<spdlog::logger>("local", std::move(sink));
        logger->set_formatter(
            std::make_unique<spdlog::pattern_formatter>(kLinePattern, spdlog::pattern_time_type::utc));
        logger->flush_on(spdlog::level::info);
        logger->set_error_handler([this](const std::string &reason) { complain(QString::fromStdString(reason)); });
        m_logger = std::move(logger);
    } catch (const std::exception &error) {
        complain(QString::fromUtf8(error.what()));
    }
}

void TLog::complain(const QString &reason)
{
    if (m_complained)
        return;
    m_complained = true;
    std::fprintf(stderr, "cannot write the log %s: %s; check LogName in the settings file\n", qUtf8Printable(m_path),
                 qUtf8Printable(reason));
}

void logMessage(const QString &line)
{
    if (pLog)
        pLog->Message(line);
}

bool logHasLevel(int level)
{
    return pLog && pLog->level() >= level;
}

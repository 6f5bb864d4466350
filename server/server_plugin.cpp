#include "server/server_plugin.h"

#include "bus/connector.h"
#include "bus/frame.h"
#include "keystone/database.h"
#include "keystone/log.h"
#include "keystone/settings_files.h"
#include "keystone/settings_text.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace {

constexpr QLatin1String kNoName("NoName");

} // namespace

TServerPlugin::TServerPlugin(QObject *parent)
    : QObject(parent)
    , m_connector(new TConnector(this))
{}

TServerPlugin::~TServerPlugin()
{
    if (!m_templateSettings)
        return;
    const QString file = m_templateSettings->fileName();
    m_templateSettings.reset();
    QFile::remove(file);
}

void TServerPlugin::Start() {}

bool TServerPlugin::LoadSettings(QString path)
{
    if (path.isEmpty())
        path = getIniNameDefault(false);
    const QSettings settings(path, QSettings::IniFormat);
    loadLogSettings(settings);
    loadBusNames(settings);
    loadSocketMode(settings);
    return true;
}

void TServerPlugin::loadLogSettings(const QSettings &settings)
{
    QString logPath = settingText(settings, QStringLiteral("Base/LogName"), QString());
    if (logPath.isEmpty())
        logPath = TLog::getDirPathDefault(QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    pLog = new TLog(logPath);
    m_logs.append(pLog);
    const int level = settings.value(QStringLiteral("Base/Log"), QStringLiteral("0")).toInt();
    pLog->setLevel(level);
    pLog->Enabled(level != 0);
}

void TServerPlugin::loadBusNames(const QSettings &settings)
{
    QString adminName = settingText(settings, QStringLiteral("Base/AdminServerName"), kNoName);
    if (adminName == kNoName) {
        pLog->Message(tr("Error load settings AdminServerName: NoName "));
        adminName = QStringLiteral("No_AdminServer_name");
    }
    m_connector->SetAdminServerName(adminName.toUtf8());

    const QString serverName = settingText(settings, QStringLiteral("Base/ServerName"), kNoName);
    if (serverName == kNoName)
        pLog->Message(tr("Error load settings ServerName: NoName "));
    else
        m_connector->SetServerName(serverName);

    const QString siblings = settingText(settings, QStringLiteral("Base/Connections"), kNoName);
    if (siblings == kNoName || siblings.isEmpty()) {
        pLog->Message(tr("Warrning: No Connections "));
        return;
    }
    const QStringList names = siblings.split(QLatin1Char(' '), Qt::KeepEmptyParts, Qt::CaseSensitive);
    for (const QString &name : names)
        m_connector->addOutServerName(name);
}

void TServerPlugin::loadSocketMode(const QSettings &settings)
{
    const QString name = settingText(settings, QStringLiteral("Base/SocketMode"), QString());
    if (name.isEmpty())
        return;
    const auto mode = bus::socketModeNamed(name);
    if (!mode)
        pLog->Message(tr("Error load settings SocketMode: \"%1\" is neither user nor group, user is taken").arg(name));
    m_connector->SetSocketMode(mode.value_or(bus::SocketMode::User));
}

QSettings *TServerPlugin::prepareTemplateSettings()
{
    if (!m_templateSettings) {
        m_templateSettings = std::make_unique<QSettings>(getIniNameDefault(true), QSettings::IniFormat);
        m_templateSettings->setFallbacksEnabled(false);
    }
    return m_templateSettings.get();
}

bool TServerPlugin::openDataBaseBySettings(QString &connectionName, QSettings &settings, const QString &group,
                                           const QString &title)
{
    const QSqlError error = ::openDataBaseBySettings(connectionName, settings, group, title);
    if (!error.isValid())
        return true;
    pLog->Message(tr("Cannot open database %1: %2").arg(title, error.text()));
    return false;
}

void TServerPlugin::SetAction(const QByteArray &action, const QByteArray &message, const QByteArray &data,
                              const QColor &colour, int IDConnection)
{
    m_connector->writeToAdmin(bus::encode(bus::Action{action, message, data, colour, IDConnection}));
}

void TServerPlugin::SendBusMessage(const QByteArray &iface, const QByteArray &data, int idConnect)
{
    m_connector->writeToAdmin(bus::encode(bus::BusMessage{iface, data, idConnect}));
}

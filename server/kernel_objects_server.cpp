#include "server/kernel_objects_server.h"

#include "access/access_commands.h"
#include "bus/connector.h"
#include "keystone/log.h"
#include "keystone/settings_files.h"
#include "registry/registry_commands.h"
#include "server/event_log.h"
#include "server/schema_upgrade.h"
#include "templates/template_commands.h"

#include <QDateTime>
#include <QSettings>

TKernelObjectsServer::TKernelObjectsServer(QObject *parent)
    : TServerPlugin(parent)
    , m_dispatcher({operators::operatorCommands(), registry::registryCommands(), operators::accessCommands(),
                    templates::templateCommands()},
                   m_database, *this)
{
    connect(connector(), &TConnector::NewCommand, this, &TKernelObjectsServer::AdminCommand);
    connect(connector(), &TConnector::arrivalHandled, this, [this] { m_database.forgetAhead(); });
    m_database.onOpened([this] {
        if (m_upgradePending)
            upgradeConnections();
    });
    m_database.onWait([this] { this->connector()->sendGathered(); });
    m_database.onLost([] { logMessage(TServerPlugin::tr("Database connection lost")); });
    m_database.onUnavailable([](const QSqlError &error) {
        logMessage(TServerPlugin::tr("Cannot open database %1: %2").arg(QString(), error.text()));
    });
}

bool TKernelObjectsServer::LoadSettings(QString path)
{
    if (path.isEmpty())
        path = getIniNameDefault(false);
    TServerPlugin::LoadSettings(path);
    QSettings settings(path, QSettings::IniFormat);
    rebuildSettingsByTemplate(settings, *prepareTemplateSettings());
    m_connectionName = QStringLiteral("Browser1");
    m_database.setName(m_connectionName);
    m_database.setStatementTimeout(
        std::chrono::milliseconds(settings.value(QStringLiteral("Base/DbStatementTimeout"), 0).toInt()));
    if (!openDataBaseBySettings(m_connectionName, settings, QStringLiteral("Base"), QString())) {
        m_upgradePending = true;
        m_database.outageIsKnown();
        return false;
    }
    upgradeConnections();
    return true;
}

void TKernelObjectsServer::upgradeConnections()
{
    m_upgradePending = !server::upgradeConnections(m_database.qtDatabase());
}

void TKernelObjectsServer::WriteToLog(const QByteArray &text, unsigned char level)
{
    const auto now = static_cast<quint32>(QDateTime::currentSecsSinceEpoch());
    connector()->SetDataAll(server::kEventLogKind, server::eventLogRecord(now, text, level));
}

void TKernelObjectsServer::AdminCommand(QByteArray &command, QByteArray &data, int IDConnection, TMyLocalSocket *)
{
    m_dispatcher.dispatch(command, data, IDConnection, connector()->following());
}

void TKernelObjectsServer::sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data,
                                      const QColor &colour, int idConnection)
{
    SetAction(action, message, data, colour, idConnection);
}

void TKernelObjectsServer::sendAnswer(const QByteArray &frame)
{
    connector()->writeToAdmin(frame);
}

void TKernelObjectsServer::writeToLog(const QByteArray &text, quint8 level)
{
    WriteToLog(text, level);
}

void TKernelObjectsServer::stop(int code)
{
    connector()->stop(code);
}

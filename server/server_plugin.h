#pragma once

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

class QSettings;
class TConnector;
class TLog;

/// What every module on the bus of an installation needs: its links, its settings, its local log.
class TServerPlugin : public QObject
{
    Q_OBJECT

public:
    explicit TServerPlugin(QObject *parent);

    /// Removes the file of the template settings where prepareTemplateSettings() was called.
    ~TServerPlugin() override;

    /// For modules that have work to begin; this service has none.
    virtual void Start();

    /// Reads group "Base" of the settings file `path` (empty: the default file), creates pLog and hands the bus names
    /// to the connector. Missing keys are logged and replaced; always true.
    virtual bool LoadSettings(QString path);

    /// An answer (`IDConnection` of the asker) or a notice (-1), on the administration link.
    void SetAction(const QByteArray &action, const QByteArray &message, const QByteArray &data, const QColor &colour,
                   int IDConnection);

    /// A bus message on the administration link.
    void SendBusMessage(const QByteArray &iface, const QByteArray &data, int idConnect);

protected:
    [[nodiscard]] TConnector *connector() const { return m_connector; }

    /// The settings that a settings file is brought into line with; created once, owned by the plugin.
    QSettings *prepareTemplateSettings();

    /// Opens the database; a failure is logged with the server's reason and gives false.
    bool openDataBaseBySettings(QString &connectionName, QSettings &settings, const QString &group,
                                const QString &title);

private:
    void loadLogSettings(const QSettings &settings);
    void loadBusNames(const QSettings &settings);
    void loadSocketMode(const QSettings &settings);

    TConnector *m_connector;
    QList<TLog *> m_logs; ///< one per load; none is ever deleted, since whoever holds an earlier one may still write
    std::unique_ptr<QSettings> m_templateSettings;
};

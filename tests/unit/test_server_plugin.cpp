#include "bus/connector.h"
#include "bytes.h"
#include "keystone/log.h"
#include "keystone/settings_files.h"
#include "server/event_log.h"
#include "server/server_plugin.h"

#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimerEvent>

using namespace support;

namespace {

/// A module of its own, as others than this service may be.
class Module : public TServerPlugin
{
public:
    Module()
        : TServerPlugin(nullptr)
    {}
    using TServerPlugin::connector;
    using TServerPlugin::prepareTemplateSettings;
};

} // namespace

class TestServerPlugin : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void removesTheTemplateFileWhenItEnds()
    {
        const QString file = getIniNameDefault(true);
        QFile beside(getIniNameDefault(false));
        if (!file.startsWith(QCoreApplication::applicationDirPath())) {
            beside.setFileName(QCoreApplication::applicationDirPath() + "/unit_server_plugin.ini");
            QVERIFY(beside.open(QIODevice::WriteOnly));
        }
        QFile settingsTemplate(getIniNameDefault(true));
        QVERIFY(settingsTemplate.open(QIODevice::WriteOnly));
        settingsTemplate.close();
        {
            Module untouched;
        }
        QVERIFY(settingsTemplate.exists());
        {
            Module module;
            QSettings *settings = module.prepareTemplateSettings();
            QCOMPARE(module.prepareTemplateSettings(), settings);
            QVERIFY(!settings->fallbacksEnabled());
        }
        QVERIFY(!settingsTemplate.exists());
        QVERIFY(beside.remove());
    }

    void sendsBusMessagesToTheAdministration()
    {
        QLocalServer admin;
        QVERIFY(admin.listen(m_folder.filePath("admin")));
        Module module;
        module.SendBusMessage("lost", "", 1);
        module.connector()->SetAdminServerName(admin.fullServerName().toUtf8());
        module.connector()->SetServerName(m_folder.filePath("own"));
        QTimerEvent tick(0);
        QCoreApplication::sendEvent(module.connector(), &tick);
        QVERIFY(admin.waitForNewConnection(5000));
        QLocalSocket *link = admin.nextPendingConnection();
        module.SendBusMessage("iface", "data", 9);
        const QByteArray expected =
            greeting(m_folder.filePath("own").toUtf8()) +
            hex("00 00 00 16 CC 00 00 00 05 69 66 61 63 65 00 00 00 04 64 61 74 61 00 00 00 09");
        QTRY_COMPARE(link->bytesAvailable(), expected.size());
        QCOMPARE(link->readAll(), expected);
        module.Start();
    }

    void buildsAnEventRecord()
    {
        QCOMPARE(server::eventLogRecord(0x01020304, "ab", 1),
                 hex("00000000 00000000 00000000 00000000 00000000 01020304 00000000 00000002 61 62 01"));
        QCOMPARE(server::eventLogRecord(0, QByteArray(), 255),
                 hex("00000000 00000000 00000000 00000000 00000000 00000000 00000000 FFFFFFFF FF"));
    }
};

QTEST_GUILESS_MAIN(TestServerPlugin)
#include "test_server_plugin.moc"

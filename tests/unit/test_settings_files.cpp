#include "keystone/settings_files.h"
#include "keystone/settings_text.h"

#include <QCoreApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class TestSettingsFiles : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    QString write(const char *name, const QByteArray &text)
    {
        const QString path = m_folder.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        file.write(text);
        return path;
    }

private slots:
    void defaultFileIsBesideTheProgramWhereThereIsOne()
    {
        const QString beside = QCoreApplication::applicationDirPath() + "/unit_settings_files.ini";
        QFile::remove(beside);
        QCOMPARE(getIniNameDefault(false), QString("/etc/objects_server/unit_settings_files.ini"));
        QCOMPARE(getIniNameDefault(true), QString("/etc/objects_server/unit_settings_files.template.ini"));
        QFile file(beside);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(getIniNameDefault(false), beside);
        QCOMPARE(getIniNameDefault(true), beside.chopped(4) + ".template.ini");
        QVERIFY(file.remove());
    }

    void addsWhatTheTemplateHasAndTheSettingsLack()
    {
        const QString path = write("a.ini", "[Base]\nLog=2\nDbPassword=p;w\nDbHost=a,b\n");
        QSettings pattern(write("a.template.ini", "[Base]\nLog=1\nDbName=new\nDbOptions=a=1;b=2\n[More]\nx=y\n"),
                          QSettings::IniFormat);
        {
            QSettings settings(path, QSettings::IniFormat);
            rebuildSettingsByTemplate(settings, pattern);
        }
        const QSettings rebuilt(path, QSettings::IniFormat);
        QCOMPARE(settingText(rebuilt, "Base/Log", ""), QString("2"));
        QCOMPARE(settingText(rebuilt, "Base/DbName", ""), QString("new"));
        QCOMPARE(settingText(rebuilt, "More/x", ""), QString("y"));
        QCOMPARE(settingText(rebuilt, "Base/DbOptions", ""), QString("a=1;b=2"));
        QCOMPARE(settingText(rebuilt, "Base/DbPassword", ""), QString("p;w"));
        QCOMPARE(settingText(rebuilt, "Base/DbHost", ""), QString("a,b"));
    }

    void writesNothingWhereTheTemplateIsMissingOrAddsNothing()
    {
        const QByteArray text = "; kept\n[Base]\nLog=2\nDbPassword=p;w\n";
        const QString path = write("b.ini", text);
        for (const QString &name : {m_folder.filePath("missing"), write("b.template.ini", "[Base]\nLog=9\n")}) {
            QSettings pattern(name, QSettings::IniFormat);
            QSettings settings(path, QSettings::IniFormat);
            rebuildSettingsByTemplate(settings, pattern);
            settings.sync();
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), text);
        }
        QVERIFY(!QFile::exists(m_folder.filePath("missing")));
    }
};

QTEST_GUILESS_MAIN(TestSettingsFiles)
#include "test_settings_files.moc"

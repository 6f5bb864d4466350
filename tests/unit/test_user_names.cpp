#include "database/user_names.h"
#include "keystone/database.h"
#include "pg_server.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace support;

class TestUserNames : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

private slots:
    void findsTheLoginOfAnAccount()
    {
        const auto database = PgServer::shared().cloneDatabase();
        database->run(R"(insert into "Connections" ("Id", "Login") values (4, 'ivanov'), (5, null))");
        QFile file(m_folder.filePath("settings.ini"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Base]\n" + database->settings());
        file.close();
        QSettings settings(file.fileName(), QSettings::IniFormat);
        QString name = "names";
        QVERIFY(!openDataBaseBySettings(name, settings, "Base", "").isValid());

        database::Connection db;
        db.setName(name);
        db.beginCommand();
        QCOMPARE(userNameByID(4, db), QString("ivanov"));
        QCOMPARE(userNameByID(5, db), QString());
        QCOMPARE(userNameByID(6, db), QString());
        QCOMPARE(userNameByID(static_cast<unsigned int>(-1), db), QString());
        QVERIFY(!db.lastError().isValid());

        database->run(R"(drop table "Connections")");
        QCOMPARE(userNameByID(4, db), QString());
        QVERIFY(db.lastError().isValid());
        QSqlDatabase::removeDatabase(name);
    }
};

QTEST_GUILESS_MAIN(TestUserNames)
#include "test_user_names.moc"

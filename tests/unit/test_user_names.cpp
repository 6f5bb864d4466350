#include "keystone/database.h"
#include "keystone/user_names.h"
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

        QSqlError error;
        QSqlDatabase db = QSqlDatabase::database(name);
        QCOMPARE(userNameByID(4, db, &error), QString("ivanov"));
        QVERIFY(!error.isValid());
        QCOMPARE(userNameByID(5, db, &error), QString());
        QCOMPARE(userNameByID(6, db, &error), QString());
        QCOMPARE(userNameByID(static_cast<unsigned int>(-1), db, nullptr), QString());
        QVERIFY(!error.isValid());

        db.close();
        QCOMPARE(userNameByID(4, db, &error), QString());
        QVERIFY(error.isValid());
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
    }
};

QTEST_GUILESS_MAIN(TestUserNames)
#include "test_user_names.moc"

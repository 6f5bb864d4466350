#include "keystone/settings_text.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class TestSettingsText : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_files = 0;

    QString read(const QByteArray &ini, const QString &key = QStringLiteral("Base/Key"))
    {
        const QString path = m_folder.filePath(QString::number(++m_files));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot write %s", qPrintable(path));
        file.write(ini);
        file.close();
        return settingText(QSettings(path, QSettings::IniFormat), key, "absent");
    }

private slots:
    void readsAValueWhole_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QString>("text");
        QTest::newRow("plain") << QByteArray("plain") << "plain";
        QTest::newRow("empty") << QByteArray("") << "";
        QTest::newRow("comma") << QByteArray("h1,h2") << "h1,h2";
        QTest::newRow("quoted comma") << QByteArray("\"h1,h2\"") << "h1,h2";
        QTest::newRow("comma and blank") << QByteArray("a, b ,c") << "a, b ,c";
        QTest::newRow("semicolon") << QByteArray("p;w") << "p;w";
        QTest::newRow("quoted semicolon") << QByteArray("\"p;w\"") << "p;w";
        QTest::newRow("options") << QByteArray("sslmode=disable;connect_timeout=3")
                                 << "sslmode=disable;connect_timeout=3";
        QTest::newRow("both") << QByteArray("a,b;c") << "a,b;c";
        QTest::newRow("only a semicolon") << QByteArray(";") << ";";
        QTest::newRow("quoted, then bare") << QByteArray("\"a;b\";c") << "a;b;c";
        QTest::newRow("backslash before a semicolon") << QByteArray("a\\\\;b") << "a\\;b";
        QTest::newRow("quote inside") << QByteArray("a\\\"b;c") << "a\"b;c";
        QTest::newRow("Russian") << QByteArray("пароль;№1") << QStringLiteral("пароль;№1");
        QTest::newRow("code of a letter") << QByteArray("\\x418;x") << QStringLiteral("И;x");
        QTest::newRow("hash") << QByteArray("a#b") << "a#b";
        QTest::newRow("blanks around") << QByteArray("  a;b  ") << "a;b";
    }

    void readsAValueWhole()
    {
        QFETCH(QByteArray, value);
        QFETCH(QString, text);
        QCOMPARE(read("[Base]\nOther=1\nKey=" + value + "\nLast=2\n"), text);
        QCOMPARE(read("[Base]\r\nKey = " + value + "\r\n"), text);
        QCOMPARE(read("[Other]\nKey=no;no\n[Base]\nKey=" + value), text);
    }

    void givesTheFallbackForAnAbsentKey()
    {
        QCOMPARE(read("[Base]\nOther=x;y\n"), QString("absent"));
        QCOMPARE(read("[Bases]\nKey=x;y\n"), QString("absent"));
        QCOMPARE(read("[Base]\n;Key=x;y\n"), QString("absent"));
        QCOMPARE(read(""), QString("absent"));
    }

    void findsTheKeyWhereQSettingsDoes_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::newRow("byte order mark") << QByteArray("\xEF\xBB\xBF[Base]\nKey=a;b\n");
        QTest::newRow("more brackets") << QByteArray("[Base]]\nKey=a;b\n");
        QTest::newRow("comment behind the section") << QByteArray("[Base] ; [Other]\nKey=a;b\n");
        QTest::newRow("comment before a line") << QByteArray("[Base]\n; \"\n;Key=x;y\n Key=a;b\n");
        QTest::newRow("blanks in the section") << QByteArray("[ Base ]\nKey=a;b\n");
        QTest::newRow("section without an end") << QByteArray("[Base\nKey=a;b\n");
        QTest::newRow("code in the section") << QByteArray("[%42as%U0065]\nKey=a;b\n");
        QTest::newRow("code in the key") << QByteArray("[Base]\nK%65y=a;b\n");
        QTest::newRow("quoted line feed before it") << QByteArray("[Base]\nOther=\"\nKey=x\"\nKey=a;b\n");
        QTest::newRow("escaped line feed before it") << QByteArray("[Base]\nOther=x\\\nKey=c\nKey=a;b\n");
        QTest::newRow("another in a comment") << QByteArray("[Base]\nKey=a;b\nOther;Key=c;d\n");
        QTest::newRow("old Macintosh") << QByteArray("[Base]\rKey=a;b\rLast=1\r");
    }

    void findsTheKeyWhereQSettingsDoes()
    {
        QFETCH(QByteArray, ini);
        QCOMPARE(read(ini), QString("a;b"));
        // QSettings itself finds it there: a value without ";" is its own.
        QByteArray simple = ini;
        QCOMPARE(read(simple.replace("a;b", "plain")), QString("plain"));
    }

    void takesTheLastOfTwoValues()
    {
        QCOMPARE(read("[Base]\nKey=a;b\nKey=c\n"), QString("c"));
        QCOMPARE(read("[Base]\nKey=c\nKey=a;b\n"), QString("a;b"));
    }
};

QTEST_GUILESS_MAIN(TestSettingsText)
#include "test_settings_text.moc"

#include <QTest>
#include <QTranslator>

#include <algorithm>

namespace {

qsizetype placeholders(const QString &text)
{
    return text.count(u'%');
}

} // namespace

class TestTranslation : public QObject
{
    Q_OBJECT

private slots:
    void hasEveryTextInRussian_data()
    {
        QTest::addColumn<QByteArray>("context");
        QTest::addColumn<QByteArray>("text");
        const auto row = [](const char *context, const char *text) {
            QTest::newRow(text) << QByteArray(context) << QByteArray(text);
        };
        row("TServerPlugin", "Cannot open database %1: %2");
        row("TServerPlugin", "Database connection lost");
        row("TServerPlugin", "Error load settings AdminServerName: NoName ");
        row("TServerPlugin", "Error load settings ServerName: NoName ");
        row("TServerPlugin", "Warrning: No Connections ");
        row("TServerPlugin", "Error load settings SocketMode: \"%1\" is neither user nor group, user is taken");
        row("TConnector", "Start server: %1 Ok!!!! \n");
        row("TConnector", "Start Error: %1\n");
        row("TConnector", "Server name taken over: another process listens on %0\n");
        row("TConnector", "Server name lost: new connections to %0 go to another process\n");
        row("TConnector", "New In Connection %0\n");
        row("TConnector", "New Out Connnection\n");
        row("TConnector", "Connnection Out Error: %1 %2\n");
        row("TConnector", "Connnection Disconnect: %0\n");
        row("TConnector", "Connection In Error: %0\n");
        row("TConnector", "Connection in disconnection: %0\n");
        row("TConnector", "Connection cut off: %0 leaves %1 bytes unread\n");
        row("TConnector", "Connections refused: %0 are open\n");
        row("TConnector", "Connection cut off: %0 has %1 bytes of a frame unfinished\n");
        row("TConnector", "Frame not sent: %0 bytes are too many\n");
        row("TConnector", "Admin connection is closed. Stopping application.");
    }

    void hasEveryTextInRussian()
    {
        QFETCH(QByteArray, context);
        QFETCH(QByteArray, text);
        QTranslator translator;
        QVERIFY(translator.load(TRANSLATION_PATH));
        const QString russian = translator.translate(context.constData(), text.constData());
        QVERIFY(
            std::any_of(russian.begin(), russian.end(), [](QChar c) { return c.script() == QChar::Script_Cyrillic; }));
        QCOMPARE(placeholders(russian), placeholders(QString::fromUtf8(text)));
        QCOMPARE(russian.endsWith(u'\n'), text.endsWith('\n'));
    }
};

QTEST_GUILESS_MAIN(TestTranslation)
#include "test_translation.moc"

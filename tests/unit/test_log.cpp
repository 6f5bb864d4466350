#include "keystone/log.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

QStringList linesOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    lines.removeLast();
    return lines;
}

QString textOf(const QString &line)
{
    return line.section(u' ', 1);
}

} // namespace

class TestLog : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;

    [[nodiscard]] QString path(const char *name) const { return m_folder.filePath(name); }

private slots:
    void writesALineWithItsTimeInUtc()
    {
        TLog log(path("a.log"));
        log.Enabled(true);
        const QDateTime before = QDateTime::currentDateTimeUtc();
        log.Message("Привет %1 {} {0}");
        const QDateTime after = QDateTime::currentDateTimeUtc();
        const QString line = linesOf(path("a.log")).value(0);
        static const QRegularExpression form(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z Привет %1 \{\} \{0\}$)");
        QVERIFY2(form.match(line).hasMatch(), qPrintable(line));
        const QDateTime time = QDateTime::fromString(line.section(u' ', 0, 0), Qt::ISODateWithMs);
        QVERIFY(time >= before.addMSecs(-1) && time <= after);
    }

    void dropsOneTrailingLineFeedAndKeepsOthersAsText()
    {
        TLog log(path("b.log"));
        log.Enabled(true);
        log.Message("one\n");
        log.Message("two\n\n");
        log.Message("a\nb ");
        log.Message("");
        const QStringList lines = linesOf(path("b.log"));
        QCOMPARE(lines.size(), 4);
        QCOMPARE(textOf(lines[0]), QString("one"));
        QCOMPARE(textOf(lines[1]), QString("two\\n"));
        QCOMPARE(textOf(lines[2]), QString("a\\nb "));
        QCOMPARE(textOf(lines[3]), QString(""));
    }

    void makesNoFileWhileDisabled()
    {
        TLog log(path("c.log"));
        log.Message("never");
        QVERIFY(!QFile::exists(path("c.log")));
        log.Enabled(true);
        log.Message("now");
        log.Enabled(false);
        log.Message("not any more");
        QCOMPARE(linesOf(path("c.log")).size(), 1);
    }

    void addsToAFileThatIsThere()
    {
        for (int i = 0; i < 2; ++i) {
            TLog log(path("d.log"));
            log.Enabled(true);
            log.Message("line");
        }
        QCOMPARE(linesOf(path("d.log")).size(), 2);
    }

    void takesAFolderForItsFile()
    {
        QVERIFY(QDir(m_folder.path()).mkpath("there"));
        QCOMPARE(TLog(path("there")).filePath(), path("there/unit_log.log"));
        QCOMPARE(TLog(path("not_yet/")).filePath(), path("not_yet/unit_log.log"));
        QCOMPARE(TLog(path("not_yet")).filePath(), path("not_yet"));
    }

    void makesTheFolderOfItsFile()
    {
        TLog log(path("deep/er/e.log"));
        log.Enabled(true);
        log.Message("line");
        QCOMPARE(linesOf(path("deep/er/e.log")).size(), 1);
    }

    void goesOnWhenTheFileCannotBeWritten()
    {
        QFile file(path("file"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        TLog log(path("file/below.log"));
        log.Enabled(true);
        log.Message("lost");
        log.Message("lost too");
        QVERIFY(!QFile::exists(path("file/below.log")));
    }

    void rotatesBySize()
    {
        TLog log(path("f.log"));
        log.Enabled(true);
        const QString megabyte(1024 * 1024, u'x');
        for (int i = 0; i < 20; ++i)
            log.Message(megabyte);
        QVERIFY(QFile::exists(path("f.1.log")));
        QVERIFY(QFile(path("f.log")).size() < 17 * 1024 * 1024);
    }

    void defaultFolderIsTheSystemsOrTheUsersOwn()
    {
        qputenv("HOME", m_folder.path().toLocal8Bit());
        QVERIFY(!QDir("/var/log/no_such_program").exists());
        const QString folder = TLog::getDirPathDefault("no_such_program");
        QCOMPARE(folder, path(".local/state/no_such_program"));
        QVERIFY(QDir(folder).exists());
    }

    void keepsItsLevel()
    {
        QVERIFY(!logHasLevel(0));
        pLog = new TLog(path("g.log"));
        pLog->setLevel(2);
        QVERIFY(logHasLevel(2));
        QVERIFY(!logHasLevel(3));
    }
};

QTEST_GUILESS_MAIN(TestLog)
#include "test_log.moc"

#include "hub/hub.h"
#include "tests/ctl/fake_service.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using testing::FakeService;

/// objectsctl as a process: standard input and output, exit codes.
class TestCtlProcess : public QObject
{
    Q_OBJECT

private slots:
    void readsACardFromItsStandardInput();
    void leavesWithTheExitCode();

private:
    static int runProcess(QProcess &process, const QStringList &arguments, const QByteArray &input = {});
};

int TestCtlProcess::runProcess(QProcess &process, const QStringList &arguments, const QByteArray &input)
{
    process.start(QStringLiteral(OBJECTSCTL_PATH), arguments);
    process.write(input);
    process.closeWriteChannel();
    // Not waitForFinished(): the hub and the service live in this event loop.
    if (!QTest::qWaitFor([&process] { return process.state() == QProcess::NotRunning; }, 20'000))
        return -1;
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void TestCtlProcess::readsACardFromItsStandardInput()
{
    const QTemporaryDir folder;
    hub::Hub hub;
    QCOMPARE(hub.listen(folder.filePath(u"services"_qs), folder.filePath(u"clients"_qs)), QString());
    FakeService service(folder.filePath(u"services"_qs));
    QTRY_COMPARE(hub.serviceCount(), 1);
    const QStringList options = {u"--hub"_qs, folder.filePath(u"clients"_qs), u"--operator"_qs, u"4"_qs};
    QProcess process;
    const QByteArray card =
        R"({"card": [{"name": "name", "description": "", "type": 10, "value": "Газель", "visible": "t"}]})";
    QCOMPARE(runProcess(process, options + QStringList{u"card"_qs, u"save"_qs, u"17"_qs}, card), 0);
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), u"object 17: 1 property saved\n"_qs);
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(service.cards[17].first().value, "Газель");
    QCOMPARE(service.requests.first().idConnection, 4);
    QCOMPARE(runProcess(process, options + QStringList{u"card"_qs, u"set"_qs, u"17"_qs, u"имя"_qs, u"x"_qs}), 1);
    QVERIFY(QString::fromUtf8(process.readAllStandardError()).contains(u"has no property \"имя\""));
}

void TestCtlProcess::leavesWithTheExitCode()
{
    QProcess process;
    QCOMPARE(runProcess(process, {u"--help"_qs}), 0);
    QCOMPARE(runProcess(process, {u"--hub"_qs, u"/no/such/hub"_qs, u"about"_qs}), 1);
    QCOMPARE(QString::fromUtf8(process.readAllStandardError()),
             u"objectsctl: no hub at /no/such/hub: start it with ./run or build/bin/admin_hub\n"_qs);
    QCOMPARE(runProcess(process, {u"bogus"_qs}), 2);
}

QTEST_GUILESS_MAIN(TestCtlProcess)
#include "test_ctl_process.moc"

#include "bus/frame.h"
#include "keystone/log.h"
#include "registry/command_call.h"
#include "registry/dispatcher.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using registry::CommandCall;
using registry::CommandRow;
using registry::Reply;

namespace {

void answering(CommandCall &call)
{
    call.out << call.in.read<qint32>();
}

void silent(CommandCall &call)
{
    call.out << 1;
}

void empty(CommandCall &) {}

void counting(CommandCall &call)
{
    const auto count = call.in.recordCount();
    if (count)
        call.out << *count;
}

void failing(CommandCall &call)
{
    (void)call.db.query("select 1");
}

void shadowed(CommandCall &call)
{
    call.out << 99;
}

constexpr CommandRow kFirst[] = {{"Answering", answering, Reply::Sent}, {"Silent", silent, Reply::None}};
constexpr CommandRow kSecond[] = {{"Answering", shadowed, Reply::Sent},
                                  {"Empty", empty, Reply::Sent},
                                  {"Counting", counting, Reply::Sent},
                                  {"Failing", failing, Reply::None}};

/// Keeps what the dispatcher says as texts.
class Outside : public registry::Announcer
{
public:
    QStringList said;

    void sendAction(const QByteArray &action, const QByteArray &message, const QByteArray &data, const QColor &colour,
                    int idConnection) override
    {
        said.append(QStringLiteral("%1 %2 %3 %4 %5")
                        .arg(QString::fromUtf8(action), QString::fromUtf8(message),
                             data.isNull() ? QStringLiteral("null") : QString::fromLatin1(data.toHex()), colour.name())
                        .arg(idConnection));
    }
    void sendAnswer(const QByteArray &frame) override
    {
        const bus::Frame sent = bus::decode(frame.sliced(sizeof(qint32)));
        const auto &answer = std::get<bus::Action>(sent);
        sendAction(answer.action, answer.message, answer.data, answer.colour, answer.idConnection);
    }
    void writeToLog(const QByteArray &text, quint8) override { said.append(QString::fromUtf8(text)); }
    void stop(int code) override { said.append(QStringLiteral("stop %1").arg(code)); }
};

} // namespace

class TestDispatcher : public QObject
{
    Q_OBJECT

    QTemporaryDir m_folder;
    int m_logs = 0;
    database::Connection m_database;
    Outside m_outside;
    registry::Dispatcher m_dispatcher{{kFirst, kSecond}, m_database, m_outside};

    void startLog(int level)
    {
        delete pLog;
        pLog = new TLog(m_folder.filePath(QString::number(++m_logs)));
        pLog->Enabled(true);
        pLog->setLevel(level);
    }

    static QStringList logLines()
    {
        QFile file(pLog->filePath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
        for (QString &line : lines)
            line = line.section(u' ', 1);
        return lines;
    }

private slots:
    void init()
    {
        m_outside.said.clear();
        startLog(1);
    }

    void sendsTheReplyUnderTheCommandsName()
    {
        m_dispatcher.dispatch("Answering", QByteArray("\0\0\0\x05", 4), 7);
        QCOMPARE(m_outside.said, QStringList({"Answering Answering 00000005 #0000ff 7"}));
    }

    void sendsAReplyThatNothingWasWrittenTo()
    {
        m_dispatcher.dispatch("Empty", "x", 7);
        QCOMPARE(m_outside.said, QStringList({"Empty Empty null #0000ff 7"}));
    }

    void sendsNoReplyForAChange()
    {
        m_dispatcher.dispatch("Silent", "", 7);
        QVERIFY(m_outside.said.isEmpty());
    }

    void dropsUnknownNamesWithoutAWord_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("unknown") << QByteArray("Nothing");
        QTest::newRow("other case") << QByteArray("answering");
        QTest::newRow("longer") << QByteArray("Answering ");
        QTest::newRow("with a zero") << QByteArray("Answering\0", 10);
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("null") << QByteArray();
    }

    void dropsUnknownNamesWithoutAWord()
    {
        QFETCH(QByteArray, name);
        startLog(3);
        m_dispatcher.dispatch(name, "", 7);
        QVERIFY(m_outside.said.isEmpty());
        QVERIFY(logLines().isEmpty());
    }

    void refusesAnAbsurdCountWithOneLineAndAnEmptyAnswer()
    {
        m_dispatcher.dispatch("Counting", QByteArray("\x7F\xFF\xFF\xFF", 4), 7);
        QCOMPARE(m_outside.said, QStringList({"Counting Counting null #0000ff 7"}));
        QCOMPARE(logLines(), QStringList({"Counting of 7 refused: 2147483647 records promised, 0 bytes left"}));
    }

    void tellsAFailedStatementFromLevelTwoOn()
    {
        m_dispatcher.dispatch("Failing", "", 7);
        QVERIFY(logLines().isEmpty());
        startLog(2);
        m_dispatcher.dispatch("Failing", "", 7);
        QCOMPARE(logLines(), QStringList({"Failing: the database is not open"}));
    }

    void tellsEveryCommandFromLevelThreeOn()
    {
        startLog(2);
        m_dispatcher.dispatch("Silent", "abc", 7);
        QVERIFY(logLines().isEmpty());
        startLog(3);
        m_dispatcher.dispatch("Silent", "abc", 7);
        static const QRegularExpression form("^Silent of 7: \\d+ us, 3 bytes in, 4 out$");
        QCOMPARE(logLines().size(), 1);
        QVERIFY2(form.match(logLines()[0]).hasMatch(), qPrintable(logLines()[0]));
    }
};

QTEST_GUILESS_MAIN(TestDispatcher)
#include "test_dispatcher.moc"

#include "access/access_commands.h"
#include "registry/registry_commands.h"
#include "templates/template_commands.h"
#include "tests/ctl/sample_registry.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

using testing::SampleRegistry;

namespace {

/// How a verb of objectsctl is tried on the sample registry.
struct Trial
{
    QStringList words;
    QStringList input; ///< the words whose output it gets as its input
};

/// By the verb as docs/commands.md names it. Those that need a number that another makes follow it there.
const QMap<QString, Trial> &trials()
{
    static const QMap<QString, Trial> table{
        {"about", {{"about"}, {}}},
        {"quit", {{"quit"}, {}}},
        {"card show", {{"card", "show", "1"}, {}}},
        {"card save", {{"card", "save", "1"}, {"--json", "card", "show", "1"}}},
        {"card set", {{"card", "set", "1", "name", "Заря"}, {}}},
        {"card fix set", {{"card", "fix", "set", "--objects", "1,2", "--name", "colour", "--value", "красный"}, {}}},
        {"card fix remove", {{"card", "fix", "remove", "--objects", "1,2", "--name", "colour"}, {}}},
        {"object create", {{"object", "create", "--name", "Новый"}, {}}},
        {"object rename", {{"object", "rename", "43", "Новее"}, {}}},
        {"object delete", {{"object", "delete", "43"}, {}}},
        {"sensors show", {{"sensors", "show", "1"}, {}}},
        {"sensors save", {{"sensors", "save", "1"}, {"--json", "sensors", "show", "1"}}},
        {"sensors fix set", {{"sensors", "fix", "set", "--objects", "1,2"}, {"sensor"}}},
        {"sensors fix remove", {{"sensors", "fix", "remove", "--objects", "1,2", "--name", "Топливо"}, {}}},
        {"commands show", {{"commands", "show", "1"}, {}}},
        {"commands save", {{"commands", "save", "1"}, {"--json", "commands", "show", "1"}}},
        {"commands fix set", {{"commands", "fix", "set", "--objects", "1,2"}, {"command"}}},
        {"commands fix remove", {{"commands", "fix", "remove", "--objects", "1,2", "--name", "sleep"}, {}}},
        {"tree show", {{"--operator", "3", "tree", "show"}, {}}},
        {"tree show --full", {{"tree", "show", "--full"}, {}}},
        {"tree save", {{"tree", "save"}, {"--json", "tree", "show", "--full"}}},
        {"examples props", {{"examples", "props"}, {}}},
        {"examples sensors", {{"examples", "sensors"}, {}}},
        {"examples controls", {{"examples", "controls"}, {}}},
        {"user list", {{"user", "list"}, {}}},
        {"user add", {{"user", "add", "--login", "nina"}, {}}},
        {"user set", {{"user", "set", "6", "--admin", "yes"}, {}}},
        {"user delete", {{"user", "delete", "6"}, {}}},
        {"props", {{"props"}, {}}},
        {"setup show", {{"setup", "show", "3"}, {}}},
        {"setup set", {{"setup", "set", "3", "--section", "4", "--objects", "0,7", "--on", "211"}, {}}},
        {"setup copy", {{"setup", "copy", "3", "--section", "1", "--to", "5"}, {}}},
        {"search", {{"--operator", "3", "search", "Рубин"}, {}}},
        {"find", {{"find", "%Рубин%"}, {}}},
        {"query", {{"query", "SELECT 1"}, {}}},
        {"objects", {{"objects"}, {}}},
        {"allowed", {{"--operator", "2", "allowed", "1", "2"}, {}}},
        {"params show", {{"params", "show", "1"}, {}}},
        {"params save", {{"params", "save", "1"}, {"--json", "params", "show", "1"}}},
        {"template list", {{"template", "list"}, {}}},
        {"template create", {{"template", "create", "Новый"}, {}}},
        {"template rename", {{"template", "rename", "5", "Новее"}, {}}},
        {"template delete", {{"template", "delete", "5"}, {}}},
        {"template copy", {{"template", "copy", "-1", "Копия"}, {}}},
        {"template card show", {{"template", "card", "show", "-1"}, {}}},
        {"template card save", {{"template", "card", "save", "1"}, {"--json", "template", "card", "show", "1"}}},
        {"template sensors show", {{"template", "sensors", "show", "-1"}, {}}},
        {"template sensors save",
         {{"template", "sensors", "save", "1"}, {"--json", "template", "sensors", "show", "1"}}},
        {"template controls show", {{"template", "controls", "show", "-1"}, {}}},
        {"template controls save",
         {{"template", "controls", "save", "1"}, {"--json", "template", "controls", "show", "1"}}},
        {"object create --template",
         {{"object", "create", "--template", "1", "--name", "Заря", "--modem", "79990000001"}, {}}},
    };
    return table;
}

const QMap<QString, QByteArray> &documents()
{
    static const QMap<QString, QByteArray> table{
        {"sensor", R"({"name": "Топливо", "measure": "л", "quality": 1, "type": 77, "vid": "a", "labels": [],
                       "calculate": "x", "rate": ""})"},
        {"command", R"({"name": "sleep", "description": "", "operation": 2, "exec_by": "", "params": []})"},
    };
    return table;
}

} // namespace

/// The service's command table beside docs/commands.md and objectsctl: every command stands in the document, every
/// verb that stands there is a verb of objectsctl, works on the sample registry and makes the service run its command.
class TestCtlEveryCommand : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { m_site.reset(); }
    void everyCommandIsDocumented();
    void everyVerbSendsItsCommand();
    void everyTrialIsDocumented();

private:
    /// A line of the document's table: the names of commands, and the verbs that send one of them.
    struct Line
    {
        QSet<QString> commands;
        QStringList verbs;
    };
    void readDocument();
    void tryLine(const Line &line);
    void tryVerb(const Line &line, const QString &verb);

    std::unique_ptr<SampleRegistry> m_site;
    QList<Line> m_lines;
    QMap<QString, QSet<QString>> m_sentBy; ///< the commands that the service has run, by the verb
    QSet<QString> m_sent;
};

void TestCtlEveryCommand::initTestCase()
{
    m_site = std::make_unique<SampleRegistry>();
    const QString failure = m_site->begin("Log=3\n");
    QVERIFY2(failure.isEmpty(), qPrintable(failure));
    readDocument();
}

void TestCtlEveryCommand::readDocument()
{
    QFile document(QStringLiteral(COMMANDS_PATH));
    QVERIFY(document.open(QIODevice::ReadOnly));
    const QRegularExpression quoted("\"(\\w+)\"");
    const QRegularExpression verb("`([^`]+)`");
    for (QByteArray text = document.readLine(); !text.isEmpty(); text = document.readLine()) {
        const QStringList cells = QString::fromUtf8(text).split(" |");
        if (!text.startsWith("| \"") || cells.size() < 7)
            continue;
        Line line;
        for (const auto &match : quoted.globalMatch(cells[0]))
            line.commands.insert(match.captured(1));
        for (const auto &match : verb.globalMatch(cells[5]))
            line.verbs.append(match.captured(1));
        m_lines.append(line);
    }
}

void TestCtlEveryCommand::everyCommandIsDocumented()
{
    QStringList documented;
    for (const Line &line : std::as_const(m_lines))
        documented += line.commands.values();
    QStringList served;
    for (const auto table : {operators::operatorCommands(), registry::registryCommands(), operators::accessCommands(),
                             templates::templateCommands()}) {
        for (const registry::CommandRow &row : table)
            served.append(QString::fromLatin1(row.name));
    }
    documented.sort();
    served.sort();
    QCOMPARE(documented, served);
    QCOMPARE(served.size(), 43);
}

void TestCtlEveryCommand::tryVerb(const Line &line, const QString &verb)
{
    QVERIFY2(trials().contains(verb), qPrintable("nobody tries `" + verb + '`'));
    const Trial trial = trials().value(verb);
    QByteArray input;
    if (trial.input.size() == 1) {
        input = documents().value(trial.input.first());
    } else if (!trial.input.isEmpty()) {
        QCOMPARE(m_site->run(trial.input), 0);
        input = m_site->out.toUtf8();
    }
    const qsizetype before = m_site->service.logTexts().size();
    QVERIFY2(m_site->run(trial.words, input) == 0, qPrintable(trial.words.join(' ') + ": " + m_site->err));
    // A command without an answer may be run after objectsctl has ended.
    const auto isRun = [&] {
        static const QRegularExpression ran("^(\\w+) of \\d+: ");
        for (const QString &text : m_site->service.logTexts().sliced(before)) {
            if (const auto match = ran.match(text); match.hasMatch())
                m_sentBy[verb].insert(match.captured(1));
        }
        return m_sentBy[verb].intersects(line.commands);
    };
    QVERIFY2(support::ServiceProcess::waitUntil(isRun),
             qPrintable(verb + " does not send " + line.commands.values().join(" or ")));
}

/// Each verb is tried where it stands first; the numbers of what it makes are known there.
void TestCtlEveryCommand::tryLine(const Line &line)
{
    QVERIFY2(!line.verbs.isEmpty(), qPrintable(line.commands.values().join(' ')));
    QSet<QString> sent;
    for (const QString &verb : line.verbs) {
        if (!m_sentBy.contains(verb))
            tryVerb(line, verb);
        if (QTest::currentTestFailed())
            return;
        QVERIFY2(m_sentBy[verb].intersects(line.commands), qPrintable(verb));
        sent += m_sentBy[verb];
    }
    QVERIFY2(sent.contains(line.commands), qPrintable(line.commands.values().join(' ')));
    m_sent += line.commands;
}

void TestCtlEveryCommand::everyVerbSendsItsCommand()
{
    const auto ends = [](const Line &line) { return line.verbs.contains("quit"); };
    std::stable_partition(m_lines.begin(), m_lines.end(), [&](const Line &line) { return !ends(line); });
    for (const Line &line : std::as_const(m_lines)) {
        tryLine(line);
        if (QTest::currentTestFailed())
            return;
    }
    QCOMPARE(m_sent.size(), 43);
    QVERIFY(ends(m_lines.last()));
    QCOMPARE(m_site->service.exitCode(), std::optional<int>(0));
}

void TestCtlEveryCommand::everyTrialIsDocumented()
{
    QStringList documented;
    for (const Line &line : std::as_const(m_lines))
        documented += line.verbs;
    for (const QString &verb : trials().keys())
        QVERIFY2(documented.contains(verb), qPrintable(verb));
}

QTEST_GUILESS_MAIN(TestCtlEveryCommand)
#include "test_ctl_every_command.moc"

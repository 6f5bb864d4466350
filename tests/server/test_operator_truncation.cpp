// Requests of operators that end early, promise what they do not hold, ask for immense changes, or are noise.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

using support::accountRequest;
using support::bytes;
using support::emptyAnswer;
using support::hex;
using support::i32;
using support::numbers;
using support::savedPersonConfig;
using support::savedUser;
using support::setupChange;
using support::setupCopy;
using support::text;

namespace {

constexpr int kOperator = 4;
constexpr qint64 kMiB = 1 << 20;
constexpr int kQuickMs = 5000; // far above what a refusal takes and far below a loop over 2^31 records
const QByteArray kUser = "Fix_user";
const QByteArray kChange = "Fix_personal_setup_changes";
const QByteArray kCopy = "Copy_personal_setup";
const QByteArray kSave = "Save_params";

QByteArray wholeAccount(int id)
{
    return accountRequest(id, {"login", "password", "description", "email", "phone", 1});
}

QByteArray wholeChange()
{
    return setupChange(1, 7, {17, 18}, {1}, {2, 3});
}

QByteArray wholeCopy()
{
    return setupCopy(1, 7, {8, 9});
}

QByteArray wholeSave()
{
    return i32(0) + i32(9) + i32(2) + bytes("a") + bytes("new") + bytes("b") + bytes("newer");
}

QByteArrayList changeSaid(const QByteArray &name)
{
    return {emptyAnswer(name, kOperator), savedPersonConfig()};
}

} // namespace

class TestOperatorTruncation : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void everyBeginningIsSurvived_data();
    void everyBeginningIsSurvived();
    void shortNumberCreatesAnAccountWithoutName_data();
    void shortNumberCreatesAnAccountWithoutName();
    void shortCreationLeavesFieldsEmpty();
    void shortUpdateLeavesFieldsEmpty();
    void shortReadsAskForNumberZero();
    void shortSearchesAreEmptySearches();
    void shortQueryAnswersNothing();
    void shortChangeReadsListsAsEmpty();
    void shortCopyReadsTheListAsEmpty();
    void shortSaveOwesEmptyPairs();
    void refusesCountBeyondPayload_data();
    void refusesCountBeyondPayload();
    void owesPairsForCountALittleTooLarge();
    void listCountBeyondPayloadChangesNothing_data();
    void listCountBeyondPayloadChangesNothing();
    void lyingLengthsReadAsEmpty_data();
    void lyingLengthsReadAsEmpty();
    void immenseChangeDoesNotExhaustTheProcess_data();
    void immenseChangeDoesNotExhaustTheProcess();
    void immenseCopyDoesNotExhaustTheProcess();
    void longListsAreTaken();
    void survivesNoise();

private:
    QByteArrayList replies(const QByteArray &name, const QByteArray &request) { return m_site.replies(name, request); }
    /// Every row that any of these commands may change.
    QStringList everything();
    QStringList accounts();
    QStringList setup();
    QStringList values();
    /// Sends the command and an "About" behind it and waits for its answer, watching how the process grows. True when
    /// it came in time.
    bool watchedWhile(const QByteArray &name, const QByteArray &request, qint64 &peakGrowth);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    qint64 m_residentBefore = 0;
    qint64 m_allowedGrowth = 0;
    QElapsedTimer m_clock;
};

void TestOperatorTruncation::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
    m_site.database->run("ALTER SEQUENCE \"Connections_Id_seq\" RESTART WITH 1000");
}

void TestOperatorTruncation::init()
{
    m_site.beginFunction();
    for (const char *statement :
         {"INSERT INTO \"Connections\" VALUES (7,'petrov','old','old','old','old',false)",
          "INSERT INTO \"Objects\" (\"Id\") VALUES (17), (18)",
          "INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\",\"Type\") VALUES (17,'name','old',10), "
          "(0,'name','zero',10)",
          "INSERT INTO \"Person_Setup\" VALUES (1,7,17,1), (1,8,17,5), (0,0,0,0), (1,4,17,201), (1,4,17,202)",
          "INSERT INTO \"Commands\" (\"Id\",\"Id_object\",\"Name\",\"Operation\") VALUES (9,17,'c',2)",
          "INSERT INTO \"Params\" (\"Id_command\",\"Name\",\"Value\") VALUES (9,'a','old'), (9,'b','old'), "
          "(9,'','old'), "
          "(0,'zero','old')",
          "INSERT INTO \"Groups\" VALUES (1,'old',true)"})
        m_site.database->run(statement);
    m_residentBefore = m_site.service.residentBytes();
    m_allowedGrowth = 16 * kMiB + support::kSanitizerBytes;
    m_clock.start();
}

void TestOperatorTruncation::cleanup()
{
    const QString leftover = m_site.leftover(int(m_site.newLogLines().size()));
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
    const qint64 growth = m_site.service.residentBytes() - m_residentBefore;
    QVERIFY2(growth < m_allowedGrowth, qPrintable(QString::number(growth)));
}

QStringList TestOperatorTruncation::everything()
{
    QStringList result;
    for (const char *table :
         {"Connections", "Objects", "Objects_property", "Person_Setup", "Commands", "Params", "Groups"})
        result +=
            m_site.database->rows(QStringLiteral("SELECT * FROM \"%1\" AS r ORDER BY r::text").arg(table)).join("; ");
    return result;
}

QStringList TestOperatorTruncation::accounts()
{
    return m_site.database->rows(
        "SELECT coalesce(\"Login\",''), coalesce(\"Password\",'') AS p, coalesce(\"Description\",'') AS d, "
        "coalesce(\"Email\",'') AS e, coalesce(\"Phone\",'') AS f, \"Admin\" FROM \"Connections\" WHERE \"Id\" <> 4 "
        "ORDER BY \"Id\"");
}

QStringList TestOperatorTruncation::setup()
{
    return m_site.database->rows(
        "SELECT \"Type\", \"Id_connect\", \"Id_object\", \"Id_PersProp\" FROM \"Person_Setup\" "
        "WHERE \"Id_connect\" IN (7, 8, 9) ORDER BY 1, 2, 3, 4");
}

QStringList TestOperatorTruncation::values()
{
    return m_site.database->rows("SELECT \"Id_command\", \"Name\", coalesce(encode(\"Value\", 'escape'), '') AS v FROM "
                                 "\"Params\" ORDER BY \"Id\"");
}

bool TestOperatorTruncation::watchedWhile(const QByteArray &name, const QByteArray &request, qint64 &peakGrowth)
{
    m_admin.send(support::command(name, request, kOperator) + support::commandWithNoData("About", 77));
    peakGrowth = 0;
    while (m_clock.elapsed() < 100000) {
        peakGrowth = qMax(peakGrowth, m_site.service.residentBytes() - m_residentBefore);
        while (!m_admin.isSilent()) {
            const QByteArray said = m_admin.nextFrame();
            if (said.isEmpty())
                return false;
            if (support::isAbout(said, 77))
                return true;
        }
        QTest::qSleep(10);
    }
    return false;
}

void TestOperatorTruncation::everyBeginningIsSurvived_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    QTest::addColumn<int>("answers");
    const auto row = [](const char *title, const QByteArray &name, const QByteArray &request, int answers) {
        QTest::newRow(title) << name << request << answers;
    };
    row("create", kUser, wholeAccount(0), 2);
    row("update", kUser, wholeAccount(7), 2);
    row("delete", kUser, i32(-7), 2);
    row("catalogue", "Get_persprop4objects_desc", i32(7), 1);
    row("read setup", "Get_personalsetup4objects_X", i32(7), 1);
    row("change setup", kChange, wholeChange(), 2);
    row("copy setup", kCopy, wholeCopy(), 2);
    row("by condition", "Get_objs_by_condition_v2", text("ol%") + text("name"), 1);
    row("by query", "Get_objs_by_query_v2", text("SELECT 17"), 1);
    row("search", "Advanced_search", text("old"), 1);
    row("accounts", "Get_user_list", i32(7), 1);
    row("accounts again", "Get_users_list", i32(7), 1);
    row("names", "Get_objects", i32(7), 1);
    row("allowed", "Get_object_command", i32(17) + i32(2), 1);
    row("parameters", "Get_command_params", i32(9), 1);
    row("save parameters", kSave, wholeSave(), 1);
    row("tree", "Get_objects_tree", i32(7), 1);
    row("full tree", "Get_full_objects_tree", i32(7), 1);
}

void TestOperatorTruncation::everyBeginningIsSurvived()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    QFETCH(int, answers);
    for (int size = 0; size <= request.size(); ++size) {
        const QByteArrayList said = replies(name, request.left(size));
        QVERIFY2(!said.contains("no answer to \"About\""), qPrintable(QString::number(size)));
        QCOMPARE(said.size(), answers);
        const QByteArray start = support::i8(202) + bytes(name) + bytes(name);
        const bool answered = said.first().mid(4, start.size()) == start || said.last().mid(4, start.size()) == start;
        QVERIFY2(answered, qPrintable(support::describe(said.first())));
        // The next command works.
        m_admin.send(support::command("Get_command_params", i32(4711), kOperator));
        SAYS(m_admin, support::answer("Get_command_params", i32(0), kOperator));
        static_cast<void>(m_site.recordedLines());
    }
}

void TestOperatorTruncation::shortNumberCreatesAnAccountWithoutName_data()
{
    QTest::addColumn<QByteArray>("request");
    QTest::newRow("update") << wholeAccount(7);
    QTest::newRow("delete") << i32(-7);
    QTest::newRow("no byte is zero") << hex("7F FF FF FF");
}

void TestOperatorTruncation::shortNumberCreatesAnAccountWithoutName()
{
    QFETCH(QByteArray, request);
    for (int size = 0; size < 4; ++size) {
        init();
        QCOMPARE(replies(kUser, request.left(size)), QByteArrayList({savedUser(0), emptyAnswer(kUser, kOperator)}));
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' create new user ''"});
        QCOMPARE(accounts(), QStringList({"petrov|old|old|old|old|false", "|||||false"}));
    }
}

void TestOperatorTruncation::shortCreationLeavesFieldsEmpty()
{
    // Where each of the five texts ends.
    const QList<int> ends = {4 + 14, 4 + 14 + 20, 4 + 14 + 20 + 26, 4 + 14 + 20 + 26 + 14, 4 + 14 + 20 + 26 + 14 + 14};
    const QStringList fields = {"login", "password", "description", "email", "phone"};
    const QByteArray whole = wholeAccount(0);
    QCOMPARE(whole.size(), ends.last() + 1);
    for (int size = 4; size <= whole.size(); ++size) {
        init();
        QCOMPARE(replies(kUser, whole.left(size)), QByteArrayList({savedUser(0), emptyAnswer(kUser, kOperator)}));
        QStringList expected;
        for (int i = 0; i < 5; ++i)
            expected.append(size >= ends[i] ? fields[i] : QString());
        QCOMPARE(m_site.recordedLines(),
                 QByteArrayList{"User 'ivanov' create new user '" + expected[0].toUtf8() + "'"});
        expected.append(size == whole.size() ? "true" : "false");
        QCOMPARE(accounts(), QStringList({"petrov|old|old|old|old|false", expected.join('|')}));
    }
}

void TestOperatorTruncation::shortUpdateLeavesFieldsEmpty()
{
    const QByteArray whole = wholeAccount(7);
    for (int size = 4; size < whole.size(); ++size) {
        init();
        QCOMPARE(replies(kUser, whole.left(size)), QByteArrayList({savedUser(7), emptyAnswer(kUser, kOperator)}));
        const QByteArray login = size >= 18 ? "login" : "";
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' update user '" + login + "'"});
        const QStringList fields = accounts().value(0).split('|');
        QCOMPARE(fields.value(0), QString(login));
        QCOMPARE(fields.value(1), size >= 38 ? "password" : "");
        QCOMPARE(fields.value(4), size >= 92 ? "phone" : "");
        QCOMPARE(fields.value(5), "false");
    }
}

void TestOperatorTruncation::shortReadsAskForNumberZero()
{
    for (int size = 0; size < 4; ++size) {
        const QByteArray request = i32(-1).left(size);
        const QByteArray none = i32(3) + i32(0) + i32(0) + i32(17) + i32(0) + i32(18) + i32(0);
        m_admin.send(support::command("Get_personalsetup4objects_X", request, kOperator) +
                     support::command("Get_command_params", request, kOperator) +
                     support::command("Get_object_command", request, kOperator) +
                     support::command("Get_object_command", i32(17) + request, kOperator));
        SAYS(m_admin, support::answer("Get_personalsetup4objects_X", none + none + none, kOperator));
        SAYS(m_admin, support::answer("Get_command_params",
                                      i32(1) + bytes("zero") + support::null() + i32(0) + bytes("old"), kOperator));
        SAYS(m_admin, support::answer("Get_object_command", i32(0) + i32(0) + i32(0), kOperator));
        SAYS(m_admin, support::answer("Get_object_command", i32(17) + i32(0) + i32(0), kOperator));
    }
}

void TestOperatorTruncation::shortSearchesAreEmptySearches()
{
    const QByteArray condition = text("ol%") + text("name");
    for (int size = 0; size <= condition.size(); ++size) {
        // Without its pattern nothing is looked for; without its name every property of the two types is looked at.
        const QList<int> expected = size < 10 ? QList<int>{} : QList<int>{17};
        m_admin.send(support::command("Get_objs_by_condition_v2", condition.left(size), kOperator));
        SAYS(m_admin, support::answer("Get_objs_by_condition_v2", numbers(expected), kOperator));
    }
    const QByteArray wanted = text("old");
    for (int size = 0; size < wanted.size(); ++size) {
        m_admin.send(support::command("Advanced_search", wanted.left(size), kOperator));
        SAYS(m_admin,
             support::answer("Advanced_search",
                             hex("01 00000001 00000011") + bytes("old") + support::null().repeated(3), kOperator));
    }
    QVERIFY(m_site.newLogLines().isEmpty());
}

void TestOperatorTruncation::shortQueryAnswersNothing()
{
    const QByteArray whole = text("SELECT 17");
    for (int size = 0; size < whole.size(); ++size) {
        m_admin.send(support::command("Get_objs_by_query_v2", whole.left(size), kOperator));
        SAYS(m_admin, support::answer("Get_objs_by_query_v2", i32(0), kOperator));
    }
}

void TestOperatorTruncation::shortChangeReadsListsAsEmpty()
{
    const QByteArray whole = wholeChange();
    const int objectsEnd = 8 + 4 + 8;
    const int offEnd = objectsEnd + 4 + 4;
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(replies(kChange, whole.left(size)), changeSaid(kChange));
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' update personal configuration"});
        const QStringList expected = size < offEnd ? QStringList({"1|7|17|1", "1|8|17|5"})
                                     : size < whole.size()
                                         ? QStringList({"1|8|17|5"})
                                         : QStringList({"1|7|17|2", "1|7|17|3", "1|7|18|2", "1|7|18|3", "1|8|17|5"});
        QCOMPARE(setup(), expected);
    }
}

void TestOperatorTruncation::shortCopyReadsTheListAsEmpty()
{
    const QByteArray whole = wholeCopy();
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(replies(kCopy, whole.left(size)), changeSaid(kCopy));
        QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' update personal configuration"});
        QCOMPARE(setup(), size < whole.size() ? QStringList({"1|7|17|1", "1|8|17|5"})
                                              : QStringList({"1|7|17|1", "1|8|17|1", "1|9|17|1"}));
    }
}

void TestOperatorTruncation::shortSaveOwesEmptyPairs()
{
    const QByteArray whole = wholeSave();
    const int firstName = 12 + 5;
    const int firstValue = firstName + 7;
    const int secondName = firstValue + 5;
    for (int size = 0; size <= whole.size(); ++size) {
        init();
        QCOMPARE(replies(kSave, whole.left(size)), QByteArrayList{emptyAnswer(kSave, kOperator)});
        // A pair that is not there has an empty name and an empty value; so has a name without a value.
        const QString a = size < firstName ? "old" : size < firstValue ? "" : "new";
        const QString b = size < secondName ? "old" : size < whole.size() ? "" : "newer";
        // A length without a single byte behind it reads as null, which is nobody's name.
        const QString nameless = size < 12 || size >= secondName - 1 ? "old" : "";
        QCOMPARE(values(), QStringList({"9|a|" + a, "9|b|" + b, "9||" + nameless, "0|zero|old"}));
        QVERIFY(m_site.newLogLines().isEmpty());
    }
}

void TestOperatorTruncation::refusesCountBeyondPayload_data()
{
    QTest::addColumn<QByteArray>("request");
    const QByteArray pair = bytes("a") + bytes("new");
    QTest::newRow("1025 without a byte") << i32(0) + i32(9) + i32(1025);
    QTest::newRow("1025 beyond the bytes") << i32(0) + i32(9) + i32(pair.size() + 1025) + pair;
    QTest::newRow("a million") << i32(0) + i32(9) + i32(1000000) + pair;
    QTest::newRow("2^31 - 1") << i32(0) + i32(9) + i32(0x7FFFFFFF) + pair;
}

void TestOperatorTruncation::refusesCountBeyondPayload()
{
    QFETCH(QByteArray, request);
    const QStringList before = everything();
    const QByteArrayList said = replies(kSave, request);
    QVERIFY2(said.isEmpty() || said == QByteArrayList{emptyAnswer(kSave, kOperator)},
             qPrintable(support::describe(said.value(0))));
    QCOMPARE(everything(), before);
    QCOMPARE(m_site.newLogLines().size(), 1);
    QVERIFY2(m_site.newLogLines().value(0).contains(kSave), qPrintable(m_site.newLogLines().value(0)));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestOperatorTruncation::owesPairsForCountALittleTooLarge()
{
    const QByteArray pair = bytes("a") + bytes("new");
    QCOMPARE(replies(kSave, i32(0) + i32(9) + i32(pair.size() + 1024) + pair),
             QByteArrayList{emptyAnswer(kSave, kOperator)});
    QCOMPARE(values(), QStringList({"9|a|new", "9|b|old", "9||", "0|zero|old"}));
    QVERIFY(m_site.newLogLines().isEmpty());
}

void TestOperatorTruncation::listCountBeyondPayloadChangesNothing_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("request");
    const QByteArray head = i32(1) + i32(7);
    for (const qint64 count :
         {qint64(3), qint64(5000), qint64(0x7FFFFFFF), qint64(0x80000000), qint64(0xFFFFFFFE), qint64(0xFFFFFFFF)}) {
        const auto row = [count](const char *title, const QByteArray &name, const QByteArray &request) {
            QTest::addRow("%s, %lld", title, static_cast<long long>(count)) << name << request;
        };
        const QByteArray lie = i32(count) + i32(17) + i32(18);
        row("objects", kChange, head + lie);
        row("objects before the rest", kChange, head + i32(count) + i32(17));
        row("switch off", kChange, head + numbers({17}) + lie);
        row("switch on", kChange, head + numbers({17}) + numbers({}) + lie);
        row("copy", kCopy, head + lie);
    }
}

void TestOperatorTruncation::listCountBeyondPayloadChangesNothing()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, request);
    const QStringList before = everything();
    const QByteArrayList said = replies(name, request);
    // Either an empty list, which changes nothing, or a refusal.
    QVERIFY2(said.isEmpty() || said == changeSaid(name), qPrintable(support::describe(said.value(0))));
    static_cast<void>(m_site.recordedLines());
    QCOMPARE(everything(), before);
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestOperatorTruncation::lyingLengthsReadAsEmpty_data()
{
    QTest::addColumn<QByteArray>("lie");
    QTest::newRow("2 GiB") << hex("7F FF FF FE 00 61");
    QTest::newRow("4 GiB") << hex("FF FF FF FE 00 61");
    QTest::newRow("odd") << hex("00 00 00 03 00 61 00");
}

void TestOperatorTruncation::lyingLengthsReadAsEmpty()
{
    QFETCH(QByteArray, lie);
    QCOMPARE(replies(kUser, i32(0) + lie), QByteArrayList({savedUser(0), emptyAnswer(kUser, kOperator)}));
    QCOMPARE(m_site.recordedLines(), QByteArrayList{"User 'ivanov' create new user ''"});
    QCOMPARE(accounts(), QStringList({"petrov|old|old|old|old|false", "|||||false"}));
    QCOMPARE(replies("Get_objs_by_condition_v2", lie),
             QByteArrayList{support::answer("Get_objs_by_condition_v2", i32(0), kOperator)});
    QCOMPARE(replies("Get_objs_by_query_v2", lie),
             QByteArrayList{support::answer("Get_objs_by_query_v2", i32(0), kOperator)});
    QCOMPARE(replies(kSave, i32(0) + i32(9) + i32(1) + lie), QByteArrayList{emptyAnswer(kSave, kOperator)});
    QCOMPARE(values().mid(0, 2), QStringList({"9|a|old", "9|b|old"}));
    QVERIFY(m_clock.elapsed() < kQuickMs);
}

void TestOperatorTruncation::immenseChangeDoesNotExhaustTheProcess_data()
{
    QTest::addColumn<int>("objects");
    QTest::addColumn<int>("properties");
    QTest::newRow("400 million pairs") << 20000 << 20000;
    QTest::newRow("10^12 pairs") << 1000000 << 1000000;
}

void TestOperatorTruncation::immenseChangeDoesNotExhaustTheProcess()
{
    QFETCH(int, objects);
    QFETCH(int, properties);
    // A list of zeros: the numbers do not matter.
    const QByteArray request = i32(1) + i32(9) + i32(objects) + QByteArray(4 * objects, '\0') + i32(0) +
                               i32(properties) + QByteArray(4 * properties, '\0');
    qint64 peak = 0;
    QVERIFY2(watchedWhile(kChange, request, peak), qPrintable(m_site.service.story()));
    QVERIFY2(peak < 1024 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(peak)));
    static_cast<void>(m_site.recordedLines());
    m_allowedGrowth += 256 * kMiB;
    // Neither half of it is there.
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\" WHERE \"Id_connect\" = 9").toInt(), 0);
}

void TestOperatorTruncation::immenseCopyDoesNotExhaustTheProcess()
{
    constexpr int targets = 1000000;
    QByteArray request = i32(1) + i32(7) + i32(targets);
    request.reserve(request.size() + 4 * targets);
    for (int i = 0; i < targets; ++i)
        request += i32(1000 + i);
    qint64 peak = 0;
    QVERIFY2(watchedWhile(kCopy, request, peak), qPrintable(m_site.service.story()));
    QVERIFY2(peak < 1024 * kMiB + support::kSanitizerBytes, qPrintable(QString::number(peak)));
    static_cast<void>(m_site.recordedLines());
    m_allowedGrowth += 256 * kMiB;
}

void TestOperatorTruncation::longListsAreTaken()
{
    QList<int> objects;
    for (int i = 1; i <= 100000; ++i)
        objects.append(i);
    QCOMPARE(replies(kChange, setupChange(3, 7, objects, {}, {1})), changeSaid(kChange));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\" WHERE \"Type\" = 3").toInt(), 100000);
    QCOMPARE(replies(kChange, setupChange(3, 7, objects, {1}, {})), changeSaid(kChange));
    QCOMPARE(m_site.database->value("SELECT count(*) FROM \"Person_Setup\" WHERE \"Type\" = 3").toInt(), 0);
    static_cast<void>(m_site.recordedLines());
    m_allowedGrowth += 64 * kMiB;
}

void TestOperatorTruncation::survivesNoise()
{
    QRandomGenerator random(20260131);
    const QByteArrayList names = {kUser,
                                  kChange,
                                  kCopy,
                                  kSave,
                                  "Advanced_search",
                                  "Get_objs_by_condition_v2",
                                  "Get_personalsetup4objects_X",
                                  "Get_object_command"};
    const QByteArrayList whole = {wholeAccount(7), wholeChange(),   wholeCopy(),
                                  wholeSave(),     text("old"),     text("ol%") + text("name"),
                                  i32(7),          i32(17) + i32(2)};
    for (int round = 0; round < 800; ++round) {
        const int which = round % int(names.size());
        QByteArray request = whole[which];
        for (int change = random.bounded(1, 5); change > 0; --change)
            request[random.bounded(int(request.size()))] = char(random.bounded(256));
        const QByteArrayList said = replies(names[which], request);
        QVERIFY2(!said.contains("no answer to \"About\""), request.toHex(' ').constData());
        static_cast<void>(m_site.recordedLines());
    }
}

QTEST_GUILESS_MAIN(TestOperatorTruncation)
#include "test_operator_truncation.moc"

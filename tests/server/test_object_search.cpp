// The three searches: by condition, by a statement of the client, and among the caller's own objects.

#include "conversation.h"
#include "operator_bytes.h"
#include "registry_bytes.h"
#include "registry_site.h"
#include "table_lock.h"

using support::bytes;
using support::givingProperty;
using support::hex;
using support::i32;
using support::i8;
using support::numbers;
using support::text;
using support::textOrNull;

namespace {

constexpr int kOperator = 4;
const QByteArray kByCondition = "Get_objs_by_condition_v2";
const QByteArray kByQuery = "Get_objs_by_query_v2";
const QByteArray kAdvanced = "Advanced_search";

QByteArray byCondition(const QString &pattern, const QString &name)
{
    return support::command(kByCondition, textOrNull(pattern) + textOrNull(name), kOperator);
}

QByteArray conditionMet(const QList<int> &objects)
{
    return support::answer(kByCondition, numbers(objects), kOperator);
}

QByteArray byQuery(const QString &statement)
{
    return support::command(kByQuery, textOrNull(statement), kOperator);
}

QByteArray queried(const QList<int> &objects)
{
    return support::answer(kByQuery, numbers(objects), kOperator);
}

QByteArray advanced(const QString &wanted, int caller = kOperator)
{
    return support::command(kAdvanced, textOrNull(wanted), caller);
}

QByteArray found(const QByteArrayList &rows, int caller = kOperator)
{
    return support::answer(kAdvanced, i8(1) + i32(rows.size()) + rows.join(), caller);
}

/// A row of the search with an empty text: the object and its name; the other fields have no column.
QByteArray namedRow(int object, const QByteArray &name)
{
    return i32(object) + bytes(name) + support::null() + support::null() + support::null();
}

QByteArray matchRow(int object, const QByteArray &name, const QByteArray &value, const QString &description,
                    const QByteArray &property)
{
    return i32(object) + bytes(name) + bytes(value) + textOrNull(description) + bytes(property);
}

/// The text of an answer that says "failed"; nothing when the answer is another one.
QString failure(const QByteArray &said)
{
    const QByteArray start = support::i8(202) + bytes(kAdvanced) + bytes(kAdvanced);
    const qsizetype head = 4 + start.size() + 4;
    if (said.mid(4, start.size()) != start || said.mid(head, 1) != i8(0))
        return {};
    const QByteArray letters = said.mid(head + 5, said.size() - head - 5 - 15);
    QString result;
    for (qsizetype i = 0; i + 1 < letters.size(); i += 2)
        result += QChar(quint8(letters[i]) << 8 | quint8(letters[i + 1]));
    return support::answer(kAdvanced, i8(0) + text(result), kOperator) == said ? result : QString();
}

} // namespace

class TestObjectSearch : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void conditionHasTheKnownBytes();
    void emptyPatternFindsNothingWithoutAsking_data();
    void emptyPatternFindsNothingWithoutAsking();
    void patternWithoutNameLooksIntoTwoTypesOnly();
    void patternWithNameLooksIntoThatPropertyOfAnyType();
    void nullNameIsNoName();
    void patternIsComparedWhole_data();
    void patternIsComparedWhole();
    void patternArrivesAsItIs_data();
    void patternArrivesAsItIs();
    void nameArrivesAsItIs_data();
    void nameArrivesAsItIs();
    void objectsWithTwoMatchesAreListedTwice();
    void brokenPatternFindsNothing_data();
    void brokenPatternFindsNothing();
    void textBehindAQuoteBecomesPartOfTheStatement();
    void refusedConditionFindsNothing();

    void queryHasTheKnownBytes();
    void queryAnswersItsFirstColumn_data();
    void queryAnswersItsFirstColumn();
    void queryChangesRows();
    void queryThatFailsAnswersNothing_data();
    void queryThatFailsAnswersNothing();
    void queryAnswersManyRows();

    void searchHasTheKnownBytes();
    void emptySearchListsTheCallersObjects();
    void emptySearchListsDistinctNames();
    void nullSearchIsEmptySearch();
    void searchAnswersFiveFields();
    void searchSeesTheFirstSectionOnly();
    void searchLeavesPicturesAndColoursOut();
    void searchNeedsANameAndAValue();
    void searchListsEveryNameAndEveryMatchOnce();
    void searchIsOrderedByObject();
    void searchTextArrivesAsItIs_data();
    void searchTextArrivesAsItIs();
    void searchTextBehindAQuoteBecomesPartOfTheStatement();
    void brokenSearchAnswersTheError_data();
    void brokenSearchAnswersTheError();
    void refusedSearchAnswersTheError_data();
    void refusedSearchAnswersTheError();
    void searchWithoutAResultCountsZero();

private:
    void give(int object, const QString &name, const QByteArray &value, int type = 10, const QString &description = "");
    void giveSight(const QString &tuples);

    support::RegistrySite m_site;
    support::AdminPeer &m_admin = m_site.admin;
    int m_failedStatements = 0;
};

void TestObjectSearch::initTestCase()
{
    m_site.begin("Log=2\n");
    QVERIFY2(m_site.isUp(), qPrintable(m_site.service.story()));
}

void TestObjectSearch::init()
{
    m_site.beginFunction();
    m_failedStatements = 0;
}

void TestObjectSearch::cleanup()
{
    // No search announces anything or writes a line into the event log.
    const QString leftover = m_site.leftover(m_failedStatements);
    QVERIFY2(leftover.isEmpty(), qPrintable(leftover));
}

void TestObjectSearch::give(int object, const QString &name, const QByteArray &value, int type,
                            const QString &description)
{
    m_site.database->run(givingProperty(object, name, value, type, description));
}

void TestObjectSearch::giveSight(const QString &tuples)
{
    m_site.database->run("INSERT INTO \"Person_Setup\" VALUES " + tuples);
}

void TestObjectSearch::conditionHasTheKnownBytes()
{
    give(17, "n", "v");
    give(18, "n", "w");
    m_admin.send(
        hex("00 00 00 31 CB 00 00 00 18 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 63 6F 6E 64 69 74 69 6F 6E 5F 76 32"
            "00 00 00 0C 00 00 00 02 00 76 00 00 00 02 00 6E 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 54 CA 00 00 00 18 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 63 6F 6E 64 69 74 69 6F 6E 5F 76 32"
             "00 00 00 18 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 63 6F 6E 64 69 74 69 6F 6E 5F 76 32"
             "00 00 00 08 00 00 00 01 00 00 00 11 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectSearch::emptyPatternFindsNothingWithoutAsking_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::newRow("no name") << ""
                             << "";
    QTest::newRow("a name") << ""
                            << "name";
    QTest::newRow("a broken name") << ""
                                   << "it's";
    QTest::newRow("null") << QString() << "name";
    QTest::newRow("both null") << QString() << QString();
}

void TestObjectSearch::emptyPatternFindsNothingWithoutAsking()
{
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    give(17, "name", "");
    // A statement would wait for the lock.
    support::TableLock lock(*m_site.database, "\"Objects_property\"", "ACCESS EXCLUSIVE");
    m_admin.send(byCondition(pattern, name));
    SAYS(m_admin, conditionMet({}));
}

void TestObjectSearch::patternWithoutNameLooksIntoTwoTypesOnly()
{
    for (int type = 0; type <= 12; ++type)
        give(100 + type, "any", "v", type);
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Value\") VALUES (99,'any','v')");
    m_admin.send(byCondition("v", ""));
    SAYS(m_admin, conditionMet({102, 110}));
}

void TestObjectSearch::patternWithNameLooksIntoThatPropertyOfAnyType()
{
    give(17, "phone", "v", 1);
    give(18, "phone", "v", 10);
    give(19, "Phone", "v", 10);
    give(20, "phone ", "v", 10);
    give(21, "name", "v", 10);
    m_admin.send(byCondition("v", "phone") + byCondition("v", "%") + byCondition("v", "phon_"));
    SAYS(m_admin, conditionMet({17, 18}));
    SAYS(m_admin, conditionMet({}));
    SAYS(m_admin, conditionMet({}));
}

void TestObjectSearch::nullNameIsNoName()
{
    give(17, "modem", "v", 1);
    give(18, "modem", "v", 10);
    m_admin.send(byCondition("v", {}));
    SAYS(m_admin, conditionMet({18}));
}

void TestObjectSearch::patternIsComparedWhole_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QList<int>>("objects");
    QTest::newRow("exact") << "abc" << QList<int>{1};
    QTest::newRow("part") << "b" << QList<int>{};
    QTest::newRow("other case") << "ABC" << QList<int>{};
    QTest::newRow("beginning") << "ab%" << QList<int>{1, 2};
    QTest::newRow("end") << "%c" << QList<int>{1};
    QTest::newRow("inside") << "%b%" << QList<int>{1, 2};
    QTest::newRow("everything") << "%" << QList<int>{1, 2, 3, 4, 5};
    QTest::newRow("one byte") << "a_c" << QList<int>{1};
    QTest::newRow("a Russian letter is two bytes") << "_" << QList<int>{5};
    QTest::newRow("two bytes") << "__" << QList<int>{3};
    QTest::newRow("a Russian letter") << QString::fromUtf8("Я") << QList<int>{3};
    QTest::newRow("blank") << " " << QList<int>{5};
}

void TestObjectSearch::patternIsComparedWhole()
{
    QFETCH(QString, pattern);
    QFETCH(QList<int>, objects);
    give(1, "p", "abc");
    give(2, "p", "abd");
    give(3, "p", "Я");
    give(4, "p", "");
    give(5, "p", " ");
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\",\"Type\") VALUES (6,'p',10)");
    m_admin.send(byCondition(pattern, "p") + byCondition(pattern, ""));
    SAYS(m_admin, conditionMet(objects));
    SAYS(m_admin, conditionMet(objects));
}

void TestObjectSearch::patternArrivesAsItIs_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QByteArray>("hit");
    QTest::addColumn<QByteArray>("miss");
    const auto row = [](const char *pattern, const char *hit, const char *miss) {
        QTest::newRow(pattern) << QString::fromUtf8(pattern) << QByteArray(hit) << QByteArray(miss);
    };
    row("%0", "x0", "x1");
    row("%1", "x1", "x0");
    row("%0%1", "a0b1", "a1b0");
    row("%%1%%", "212", "222");
    row("%L1", "xL1", "L2");
    row(":Id_connect", ":Id_connect", "4");
    row(":x = ?", ":x = ?", "?");
    row("?", "?", "");
    row("$1", "$1", "");
    row("it''s", "it's", "it''s");
    row("\"q\"", "\"q\"", "q");
    row("a_b", "a_b", "a_bb");
    row("a;b", "a;b", "a");
    row("a--b", "a--b", "a");
    row("/* a */", "/* a */", "");
    row("\\\\\\\\", "\\", "\\\\");
    row("50\\\\%", "50%", "500");
    row("a\\\\_b", "a_b", "axb");
    row("\\101", "A", "\\101");
    row("\\x41", "A", "\\x41");
}

void TestObjectSearch::patternArrivesAsItIs()
{
    QFETCH(QString, pattern);
    QFETCH(QByteArray, hit);
    QFETCH(QByteArray, miss);
    give(17, "p", hit);
    give(18, "p", miss);
    give(19, "%0", hit);
    m_admin.send(byCondition(pattern, "p") + byCondition(pattern, "") + byCondition(pattern, "%0"));
    SAYS(m_admin, conditionMet({17}));
    SAYS(m_admin, conditionMet({17, 19}));
    SAYS(m_admin, conditionMet({19}));
}

void TestObjectSearch::nameArrivesAsItIs_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("stored");
    QTest::newRow("%0") << "%0"
                        << "%0";
    QTest::newRow("%1") << "%1"
                        << "%1";
    QTest::newRow("?") << "?"
                       << "?";
    QTest::newRow(":x") << ":x"
                        << ":x";
    QTest::newRow("doubled quote") << "it''s"
                                   << "it's";
    QTest::newRow("backslash") << "a\\b"
                               << "a\\b";
    QTest::newRow("Russian") << QString::fromUtf8("Имя") << QString::fromUtf8("Имя");
    QTest::newRow("two statements") << "a;b"
                                    << "a;b";
}

void TestObjectSearch::nameArrivesAsItIs()
{
    QFETCH(QString, name);
    QFETCH(QString, stored);
    QString quoted = stored;
    give(17, quoted.replace('\'', "''"), "%1");
    give(18, "p", "%1");
    m_admin.send(byCondition("%1", name) + byCondition("%0", name));
    SAYS(m_admin, conditionMet({17}));
    SAYS(m_admin, conditionMet({}));
}

void TestObjectSearch::objectsWithTwoMatchesAreListedTwice()
{
    give(17, "a", "v");
    give(17, "b", "v", 2);
    give(18, "a", "v");
    give(18, "a", "v");
    m_admin.send(byCondition("v", "") + byCondition("v", "a"));
    SAYS(m_admin, conditionMet({17, 17, 18, 18}));
    SAYS(m_admin, conditionMet({17, 18, 18}));
}

void TestObjectSearch::brokenPatternFindsNothing_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<QString>("name");
    QTest::newRow("quote in the pattern") << "it's"
                                          << "p";
    QTest::newRow("quote in the pattern without a name") << "it's"
                                                         << "";
    QTest::newRow("quote in the name") << "v"
                                       << "it's";
    QTest::newRow("one backslash") << "a\\b"
                                   << "p";
    QTest::newRow("half a byte") << "\\x4"
                                 << "p";
    QTest::newRow("no character") << QStringLiteral("v") + QChar(0) << "p";
}

void TestObjectSearch::brokenPatternFindsNothing()
{
    QFETCH(QString, pattern);
    QFETCH(QString, name);
    give(17, "p", "v");
    m_admin.send(byCondition(pattern, name));
    SAYS(m_admin, conditionMet({}));
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains(kByCondition), qPrintable(m_site.newLogLines().value(0)));
}

void TestObjectSearch::textBehindAQuoteBecomesPartOfTheStatement()
{
    give(17, "p", "v");
    give(18, "q", "w", 3);
    m_admin.send(byCondition("x' OR '1' = '1", "p") + byCondition("v", "x' OR \"Name\" = 'p") +
                 byCondition("x' UNION SELECT 4711 WHERE '%1' = '%1", "p"));
    SAYS(m_admin, conditionMet({17, 18}));
    SAYS(m_admin, conditionMet({17}));
    SAYS(m_admin, conditionMet({4711}));
}

void TestObjectSearch::refusedConditionFindsNothing()
{
    give(17, "p", "v");
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Objects_property\"");
    m_admin.send(byCondition("v", "p") + byCondition("v", ""));
    SAYS(m_admin, conditionMet({}));
    SAYS(m_admin, conditionMet({}));
    m_failedStatements = 2;
}

void TestObjectSearch::queryHasTheKnownBytes()
{
    m_admin.send(hex("00 00 00 37 CB 00 00 00 14 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 71 75 65 72 79 5F 76 32"
                     "00 00 00 16 00 00 00 12 00 73 00 65 00 6C 00 65 00 63 00 74 00 20 00 31 00 37 00 00 00 04"));
    SAYS(m_admin, hex("00 00 00 4C CA 00 00 00 14 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 71 75 65 72 79 5F 76 32"
                      "00 00 00 14 47 65 74 5F 6F 62 6A 73 5F 62 79 5F 71 75 65 72 79 5F 76 32"
                      "00 00 00 08 00 00 00 01 00 00 00 11 01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectSearch::queryAnswersItsFirstColumn_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QList<int>>("objects");
    QTest::newRow("rows in their order") << "SELECT * FROM (VALUES (3),(1),(2),(1)) AS v" << QList<int>{3, 1, 2, 1};
    QTest::newRow("further columns") << "SELECT 17, 18, 'x'" << QList<int>{17};
    QTest::newRow("no rows") << "SELECT 17 WHERE false" << QList<int>{};
    QTest::newRow("smallest and greatest")
        << "VALUES (-2147483648), (2147483647)" << QList<int>{int(0x80000000), 2147483647};
    QTest::newRow("bigint") << "SELECT 17::bigint" << QList<int>{17};
    QTest::newRow("text of a number") << "SELECT '17'::text" << QList<int>{17};
    QTest::newRow("text of no number") << "SELECT 'seventeen'::text" << QList<int>{0};
    QTest::newRow("NULL") << "SELECT NULL::integer UNION ALL SELECT 5" << QList<int>{0, 5};
    QTest::newRow("semicolon at the end") << "SELECT 17;" << QList<int>{17};
    QTest::newRow("comment") << "SELECT 17 -- ;" << QList<int>{17};
    QTest::newRow("line feeds and blanks") << "\n \tSELECT\n17\n" << QList<int>{17};
    QTest::newRow("placeholders of all kinds")
        << "SELECT CASE WHEN '%0 %1 ? :x' = '%' || '0 ' || '%' || '1 ' || chr(63) || ' ' || chr(58) || 'x' THEN 17 END"
        << QList<int>{17};
    QTest::newRow("operators and casts of the same letters")
        << "SELECT CASE WHEN '{\"a\":1}'::jsonb ? 'a' THEN 17 END::integer" << QList<int>{17};
    QTest::newRow("Russian") << QString::fromUtf8("SELECT length('Лада')") << QList<int>{4};
    QTest::newRow("WITH") << "WITH v AS (SELECT 17 AS i) SELECT i FROM v" << QList<int>{17};
    QTest::newRow("parenthesis") << "(SELECT 17)" << QList<int>{17};
    QTest::newRow("SHOW") << "SHOW server_version_num" << QList<int>{};
}

void TestObjectSearch::queryAnswersItsFirstColumn()
{
    QFETCH(QString, statement);
    QFETCH(QList<int>, objects);
    if (statement.startsWith("SHOW"))
        objects = {m_site.database->value(statement).toInt()};
    m_admin.send(byQuery(statement));
    SAYS(m_admin, queried(objects));
}

void TestObjectSearch::queryChangesRows()
{
    m_admin.send(
        byQuery("INSERT INTO \"Params\" (\"Id_command\") VALUES (18), (17) RETURNING \"Id_command\"") +
        byQuery("INSERT INTO \"Params\" (\"Id_command\") VALUES (19)") +
        byQuery("UPDATE \"Params\" SET \"Name\" = 'x' WHERE \"Id_command\" = 18 RETURNING \"Id_command\" + 100"));
    SAYS(m_admin, queried({18, 17}));
    SAYS(m_admin, queried({}));
    SAYS(m_admin, queried({118}));
    QCOMPARE(m_site.database->rows("SELECT \"Id_command\", \"Name\" FROM \"Params\" ORDER BY 1"),
             QStringList({"17|NULL", "18|x", "19|NULL"}));
}

void TestObjectSearch::queryThatFailsAnswersNothing_data()
{
    QTest::addColumn<QString>("statement");
    QTest::newRow("syntax") << "SELEC 17";
    QTest::newRow("no such table") << "SELECT 17 FROM nowhere";
    QTest::newRow("no right") << "SELECT count(*) FROM pg_authid";
    QTest::newRow("while rows come") << "SELECT 10 / (3 - i) FROM generate_series(1, 5) AS i";
    QTest::newRow("an open quote") << "SELECT 'a";
}

void TestObjectSearch::queryThatFailsAnswersNothing()
{
    QFETCH(QString, statement);
    m_admin.send(byQuery(statement));
    SAYS(m_admin, queried({}));
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains(kByQuery), qPrintable(m_site.newLogLines().value(0)));
}

void TestObjectSearch::queryAnswersManyRows()
{
    QList<int> expected(1000000);
    for (int i = 0; i < expected.size(); ++i)
        expected[i] = i + 1;
    m_admin.send(byQuery("SELECT generate_series(1, 1000000), repeat('x', 10)"));
    SAYS(m_admin, queried(expected));
}

void TestObjectSearch::searchHasTheKnownBytes()
{
    give(17, "name", "A");
    m_site.database->run("UPDATE \"Objects_property\" SET \"Description\" = 'd'");
    giveSight("(1,4,17,1)");
    m_admin.send(hex("00 00 00 22 CB 00 00 00 0F 41 64 76 61 6E 63 65 64 5F 73 65 61 72 63 68"
                     "00 00 00 06 00 00 00 02 00 41 00 00 00 04"));
    SAYS(m_admin,
         hex("00 00 00 5B CA 00 00 00 0F 41 64 76 61 6E 63 65 64 5F 73 65 61 72 63 68"
             "00 00 00 0F 41 64 76 61 6E 63 65 64 5F 73 65 61 72 63 68 00 00 00 21"
             "01 00 00 00 01 00 00 00 11 00 00 00 01 41 00 00 00 01 41 00 00 00 02 00 64 00 00 00 04 6E 61 6D 65"
             "01 FF FF 00 00 00 00 FF FF 00 00 00 00 00 04"));
}

void TestObjectSearch::emptySearchListsTheCallersObjects()
{
    for (const int object : {300, 17, 18, 19, 20, 21})
        give(object, "name", "n" + QByteArray::number(object));
    give(17, "modem", "v");
    give(22, "modem", "without a name");
    giveSight("(1,4,300,1),(1,4,17,9),(1,4,17,201),(1,5,18,1),(3,4,19,1),(4,4,20,201),(1,4,22,1),(1,4,0,1)");
    m_admin.send(advanced("") + advanced("", 5) + advanced("", 6));
    SAYS(m_admin, found({namedRow(17, "n17"), namedRow(300, "n300")}));
    SAYS(m_admin, found({namedRow(18, "n18")}, 5));
    SAYS(m_admin, found({}, 6));
}

void TestObjectSearch::emptySearchListsDistinctNames()
{
    give(17, "name", "a");
    give(17, "name", "a");
    give(18, "name", "");
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (19,'name')");
    give(20, "name", support::everyByte());
    giveSight("(1,4,17,1),(1,4,18,1),(1,4,19,1),(1,4,20,1)");
    m_admin.send(advanced(""));
    SAYS(m_admin, found({namedRow(17, "a"), namedRow(20, support::everyByte())}));
    give(17, "name", "b");
    m_admin.send(advanced(""));
    const QByteArray said = m_admin.nextFrame();
    const QByteArray last = namedRow(20, support::everyByte());
    QVERIFY2(said == found({namedRow(17, "a"), namedRow(17, "b"), last}) ||
                 said == found({namedRow(17, "b"), namedRow(17, "a"), last}),
             qPrintable(support::describe(said)));
}

void TestObjectSearch::nullSearchIsEmptySearch()
{
    give(17, "name", "a");
    giveSight("(1,4,17,1)");
    m_admin.send(advanced({}) + support::commandWithNoData(kAdvanced, kOperator));
    SAYS(m_admin, found({namedRow(17, "a")}));
    SAYS(m_admin, found({namedRow(17, "a")}));
}

void TestObjectSearch::searchAnswersFiveFields()
{
    give(17, "name", "Лада");
    give(17, "Ключ", "a " + support::everyByte(), 3, "Описание");
    give(18, "name", "B");
    give(18, "k", "xay");
    m_site.database->run("UPDATE \"Objects_property\" SET \"Description\" = NULL WHERE \"Id_objects\" = 18");
    giveSight("(1,4,17,1),(1,4,18,1)");
    m_admin.send(advanced("a"));
    SAYS(m_admin, found({matchRow(17, "Лада", "a " + support::everyByte(), QString::fromUtf8("Описание"), "Ключ"),
                         matchRow(18, "B", "xay", {}, "k")}));
}

void TestObjectSearch::searchSeesTheFirstSectionOnly()
{
    for (const int object : {17, 18, 19, 20}) {
        give(object, "name", "n");
        give(object, "k", "v");
    }
    giveSight("(1,4,17,302),(3,4,18,1),(4,4,19,201),(1,5,20,1),(2,4,20,1)");
    m_admin.send(advanced("v") + advanced("v", 5) + advanced("v", 0));
    SAYS(m_admin, found({matchRow(17, "n", "v", "", "k")}));
    SAYS(m_admin, found({matchRow(20, "n", "v", "", "k")}, 5));
    SAYS(m_admin, found({}, 0));
}

void TestObjectSearch::searchLeavesPicturesAndColoursOut()
{
    give(17, "name", "n");
    for (const char *name : {"pic", "font_color", "background_color", "fontXcolor"})
        give(17, name, "v");
    giveSight("(1,4,17,1)");
    m_admin.send(advanced("v"));
    SAYS(m_admin, found({matchRow(17, "n", "v", "", "fontXcolor")}));
}

void TestObjectSearch::searchNeedsANameAndAValue()
{
    give(17, "k", "v");
    give(18, "name", "");
    give(18, "k", "v");
    m_site.database->run("INSERT INTO \"Objects_property\" (\"Id_objects\",\"Name\") VALUES (18,'null')");
    give(18, "empty", "");
    giveSight("(1,4,17,1),(1,4,18,1)");
    m_admin.send(advanced("v") + advanced("%"));
    // An object without a name is not found, one with an empty name is; empty values never are.
    SAYS(m_admin, found({matchRow(18, "", "v", "", "k")}));
    SAYS(m_admin, found({matchRow(18, "", "v", "", "k")}));
}

void TestObjectSearch::searchListsEveryNameAndEveryMatchOnce()
{
    give(17, "name", "n");
    give(17, "k", "v");
    give(17, "k", "v");
    giveSight("(1,4,17,1),(1,4,17,2),(1,4,17,2)");
    m_admin.send(advanced("v"));
    SAYS(m_admin, found({matchRow(17, "n", "v", "", "k")}));
    give(17, "name", "m");
    m_admin.send(advanced("v"));
    const QByteArray said = m_admin.nextFrame();
    const QByteArray m = matchRow(17, "m", "v", "", "k");
    const QByteArray n = matchRow(17, "n", "v", "", "k");
    QVERIFY2(said == found({m, n}) || said == found({n, m}), qPrintable(support::describe(said)));
}

void TestObjectSearch::searchIsOrderedByObject()
{
    QByteArrayList rows;
    for (const int object : {300, 17, -5, 18}) {
        give(object, "name", "n");
        give(object, "k", "v");
        giveSight(QStringLiteral("(1,4,%1,1)").arg(object));
    }
    for (const int object : {-5, 17, 18, 300})
        rows.append(matchRow(object, "n", "v", "", "k"));
    m_admin.send(advanced("v"));
    SAYS(m_admin, found(rows));
}

void TestObjectSearch::searchTextArrivesAsItIs_data()
{
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QByteArray>("hit");
    QTest::addColumn<QByteArray>("miss");
    const auto row = [](const char *wanted, const char *hit, const char *miss) {
        QTest::newRow(wanted) << QString::fromUtf8(wanted) << QByteArray(hit) << QByteArray(miss);
    };
    row("bc", "abcd", "acbd");
    row("12%", "x12", "x21");
    row("1_2", "x1y2", "12");
    row("%0", "x0x", "x1x");
    row("%1", "x1x", "x0x");
    row(":Id_connect", "a :Id_connect b", "a 4 b");
    row("?", "a?b", "ab");
    row("? :Id_connect ?", "? :Id_connect ?", "? 4 ?");
    row("$1", "a $1 b", "a 4 b");
    row("it''s", "it's", "it''s");
    row("''", "'", "\"");
    row("\"", "a \" b", "a b");
    row("::", "a::b", "a:b");
    row(";", "a;b", "ab");
    row("--", "a--b", "a-b");
    row("Лада", "ВАЗ Лада", "ВАЗ лада");
    row("50\\\\%", "50%", "500");
    row("\\101", "xAx", "\\101");
}

void TestObjectSearch::searchTextArrivesAsItIs()
{
    QFETCH(QString, wanted);
    QFETCH(QByteArray, hit);
    QFETCH(QByteArray, miss);
    give(17, "name", "n");
    give(18, "name", "n");
    give(17, "k", hit);
    give(18, "k", miss);
    giveSight("(1,4,17,1),(1,4,18,1)");
    m_admin.send(advanced(wanted));
    SAYS(m_admin, found({matchRow(17, "n", hit, "", "k")}));
}

void TestObjectSearch::searchTextBehindAQuoteBecomesPartOfTheStatement()
{
    give(17, "name", "n");
    give(17, "k", "first");
    give(18, "name", "n");
    give(18, "k", "second");
    giveSight("(1,4,17,1),(1,4,18,1)");
    m_admin.send(advanced("first' AND ob.\"Name\" = 'k' AND ob.\"Value\" LIKE '"));
    SAYS(m_admin, found({matchRow(17, "n", "first", "", "k")}));
}

void TestObjectSearch::brokenSearchAnswersTheError_data()
{
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("says");
    QTest::newRow("quote") << "it's"
                           << "syntax error";
    QTest::newRow("quote alone") << "'"
                                 << "syntax error";
    QTest::newRow("one backslash") << "a\\b"
                                   << "invalid input syntax for type bytea";
    QTest::newRow("no such column") << "' AND nowhere = '"
                                    << "nowhere";
    QTest::newRow("no character") << QStringLiteral("v") + QChar(0) << "";
}

void TestObjectSearch::brokenSearchAnswersTheError()
{
    QFETCH(QString, wanted);
    QFETCH(QString, says);
    give(17, "name", "n");
    give(17, "k", "v");
    giveSight("(1,4,17,1)");
    m_admin.send(advanced(wanted));
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(!failure(said).isEmpty(), qPrintable(support::describe(said)));
    QVERIFY2(failure(said).contains(says), qPrintable(failure(said)));
    // The database's own words, not those about a statement that could not be made.
    QVERIFY2(!failure(said).contains("EXECUTE"), qPrintable(failure(said)));
    m_admin.send(advanced("v"));
    SAYS(m_admin, found({matchRow(17, "n", "v", "", "k")}));
    m_failedStatements = 1;
}

void TestObjectSearch::refusedSearchAnswersTheError_data()
{
    QTest::addColumn<QString>("wanted");
    QTest::newRow("empty") << "";
    QTest::newRow("text") << "v";
}

void TestObjectSearch::refusedSearchAnswersTheError()
{
    QFETCH(QString, wanted);
    const support::RightTaken taken(*m_site.database, "SELECT", "\"Person_Setup\"");
    m_admin.send(advanced(wanted));
    const QByteArray said = m_admin.nextFrame();
    QVERIFY2(failure(said).contains("permission denied for table Person_Setup"), qPrintable(support::describe(said)));
    m_failedStatements = 1;
    QVERIFY2(m_site.newLogLines().value(0).contains(kAdvanced), qPrintable(m_site.newLogLines().value(0)));
}

void TestObjectSearch::searchWithoutAResultCountsZero()
{
    give(17, "name", "n");
    giveSight("(1,4,17,1)");
    m_admin.send(advanced("nothing like it"));
    SAYS(m_admin, found({}));
}

QTEST_GUILESS_MAIN(TestObjectSearch)
#include "test_object_search.moc"

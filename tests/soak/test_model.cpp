// The model that a soak holds the database against: what it lets pass, and what it does not.

#include "made_records.h"
#include "model.h"

#include <QTest>

using soak::Model;
using soak::Places;

namespace {

constexpr bool kSure = true;
const QString kCard = QStringLiteral("card 17");

bool every(const QString &)
{
    return true;
}

QString other(const QString &)
{
    return "other";
}

} // namespace

class TestModel : public QObject
{
    Q_OBJECT

private slots:
    void rowThatMustBeThereMayNotMiss();
    void rowThatNobodyWroteMayNotBeThere();
    void rowMayNotStandTwice();
    void orderCountsWhereAPlaceHasOne();
    void unsureRowMayBeThereOrMiss();
    void unsureRemovalLeavesBoth();
    void unsureChangeLeavesEither();
    void sureRowIsNotTakenForAnUnsureOne();
    void deletionHappensWholeOrNotAtAll();
    void objectIsNamedByItsCard();
    void objectWithoutACardIsOneThatMayHaveBeenCreated();
};

void TestModel::rowThatMustBeThereMayNotMiss()
{
    Model model;
    model.add(kCard, {"a", "b"}, kSure);
    QCOMPARE(model.differences({{kCard, {"a", "b"}}}), QStringList());
    QCOMPARE(model.differences({{kCard, {"b"}}}), QStringList{"card 17 has not got a"});
    QCOMPARE(model.differences({}), (QStringList{"card 17 has not got a", "card 17 has not got b"}));
}

void TestModel::rowThatNobodyWroteMayNotBeThere()
{
    Model model;
    model.add(kCard, {"a"}, kSure);
    QCOMPARE(model.differences({{kCard, {"a", "b"}}}), QStringList{"card 17 holds b"});
    QCOMPARE(model.differences({{kCard, {"a"}}, {"card 18", {"c"}}}), QStringList{"card 18 holds c"});
}

void TestModel::rowMayNotStandTwice()
{
    Model model;
    model.add("groups", {"a"}, kSure);
    QCOMPARE(model.differences({{"groups", {"a", "a"}}}), QStringList{"groups holds a"});
}

void TestModel::orderCountsWhereAPlaceHasOne()
{
    Model model;
    model.add(kCard, {"a", "b"}, kSure);
    model.add("groups", {"a", "b"}, kSure);
    QCOMPARE(model.differences({{kCard, {"b", "a"}}, {"groups", {"b", "a"}}}),
             (QStringList{"card 17 has not got a", "card 17 holds a"}));
}

void TestModel::unsureRowMayBeThereOrMiss()
{
    Model model;
    model.add(kCard, {"a"}, !kSure);
    QCOMPARE(model.differences({}), QStringList());
    QCOMPARE(model.differences({{kCard, {"a"}}}), QStringList());
    QCOMPARE(model.differences({{kCard, {"b"}}}), QStringList{"card 17 holds b"});
}

void TestModel::unsureRemovalLeavesBoth()
{
    Model model;
    model.add(kCard, {"a", "b"}, kSure);
    model.remove(
        kCard, [](const QString &row) { return row == "a"; }, !kSure);
    QCOMPARE(model.differences({{kCard, {"a", "b"}}}), QStringList());
    QCOMPARE(model.differences({{kCard, {"b"}}}), QStringList());
    QCOMPARE(model.differences({{kCard, {"a"}}}), QStringList{"card 17 has not got b"});
}

void TestModel::unsureChangeLeavesEither()
{
    Model model;
    model.add(kCard, {"a"}, kSure);
    model.change(kCard, every, other, !kSure);
    QCOMPARE(model.differences({{kCard, {"a"}}}), QStringList());
    QCOMPARE(model.differences({{kCard, {"other"}}}), QStringList());
    QCOMPARE(model.differences({}), QStringList{"card 17 has not got a or other"});
    model.change(kCard, every, other, kSure);
    QCOMPARE(model.differences({{kCard, {"a"}}}), (QStringList{"card 17 has not got other", "card 17 holds a"}));
}

void TestModel::sureRowIsNotTakenForAnUnsureOne()
{
    Model model;
    model.add("groups", {"a"}, !kSure);
    model.add("groups", {"a"}, kSure);
    QCOMPARE(model.differences({{"groups", {"a"}}}), QStringList());
    QCOMPARE(model.differences({{"groups", {"a", "a"}}}), QStringList());
    QCOMPARE(model.differences({}), QStringList{"groups has not got a"});
}

void TestModel::deletionHappensWholeOrNotAtAll()
{
    const auto model = [] {
        Model result;
        result.add("object 17", {"o"}, kSure);
        result.add(kCard, {"a"}, kSure);
        result.mayHaveEmptied("object 17", [](Model &changed) {
            changed.clear("object 17", kSure);
            changed.clear(kCard, kSure);
        });
        return result;
    };
    QCOMPARE(model().differences({{"object 17", {"o"}}, {kCard, {"a"}}}), QStringList());
    QCOMPARE(model().differences({}), QStringList());
    QCOMPARE(model().differences({{"object 17", {"o"}}}), QStringList{"card 17 has not got a"});
    QCOMPARE(model().differences({{kCard, {"a"}}}), QStringList{"card 17 holds a"});
}

void TestModel::objectIsNamedByItsCard()
{
    Model model;
    const QString name = soak::propertyRow({-1, "name", "", 10, "key and more", 't'});
    model.add("object ?key", {"o"}, kSure);
    model.add("card ?key", {name}, kSure);
    QCOMPARE(model.differences({{"object 17", {"o"}}, {kCard, {name}}}), QStringList());
    QCOMPARE(model.differences({}), (QStringList{"card 17 has not got " + name, "object 17 has not got o"}));
}

void TestModel::objectWithoutACardIsOneThatMayHaveBeenCreated()
{
    Model model;
    model.add("object ?key", {"o"}, !kSure);
    QCOMPARE(model.differences({{"object 17", {"o"}}, {"object 18", {"o"}}}).size(), 1);
}

QTEST_APPLESS_MAIN(TestModel)
#include "test_model.moc"

// Accounts, personal setups, the tree of objects.

#include "fields.h"
#include "made_records.h"
#include "operator_bytes.h"
#include "shared_orders.h"

#include <algorithm>

namespace soak {

using support::bytes;
using support::i32;

namespace {

const QList<int> kProperties = {201, 202, 203, 204, 211, 212, 1, 2};
const QList<int> kSections = {1, 3, 4};
constexpr int kGroups = 4;

support::AccountFields accountOf(const QString &key, int number)
{
    const QString digits = QString::number(number);
    return {key + " вход " + digits, "пароль " + digits, "d" + digits,
            digits + "@example.org", "7" + digits,       number % 2};
}

QString accountRow(const support::AccountFields &account)
{
    return QStringList{account.login, account.password, account.description,
                       account.email, account.phone,    account.admin != 0 ? "t" : "f"}
        .join(u'|');
}

support::AccountFields accountIn(const QString &row)
{
    return {cell(row, 0), cell(row, 1), cell(row, 2), cell(row, 3), cell(row, 4), cell(row, 5) == "t" ? 1 : 0};
}

Order createAccount(const Step &step)
{
    Thing *const thing = &step.account();
    const QString key = QStringLiteral("u%1-%2").arg(step.area.client).arg(step.number);
    const support::AccountFields account = accountOf(key, step.number);
    Order order{.name = "Fix_user",
                .request = support::accountRequest(0, account),
                .isAnswered = true,
                .records = 1,
                .userNotices = 1};
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        *thing = {.key = key, .isDoubtful = !outcome.isSure};
        model.add("account " + key, {accountRow(account)}, outcome.isSure);
        return QString();
    };
    return order;
}

QString takeNumbers(Area &area, const QByteArray &data)
{
    Fields list(data);
    QHash<QString, int> numbers;
    for (int left = list.number(); left > 0 && !list.atEnd(); --left) {
        const int number = list.number();
        numbers.insert(keyIn(list.text()), number);
        (void)list.text();
        (void)list.text();
        (void)list.take(1);
        (void)list.text();
        (void)list.text();
    }
    for (Thing &thing : area.accounts) {
        if (thing.isFree() || thing.isDoubtful || thing.number > 0)
            continue;
        thing.number = numbers.value(thing.key);
        if (thing.number == 0)
            return " does not list " + thing.key;
    }
    return {};
}

Order listAccounts(const Step &step)
{
    Order order{.name = step.draw.has(3, 0) ? "Get_users_list" : "Get_user_list", .isAnswered = true};
    QMap<QByteArray, QByteArray> records; // in the order of their logins
    for (const Thing &thing : step.area.accounts) {
        if (!thing.isUsable())
            continue;
        const support::AccountFields account = accountIn(textsIn(step.model, "account " + thing.key).value(0));
        records.insert(account.login.toUtf8(), support::accountRecord(thing.number, account));
    }
    order.parts = records.values();
    order.conclude = [&area = step.area](const Outcome &outcome) {
        return outcome.isSure ? takeNumbers(area, outcome.data.value_or(QByteArray())) : QString();
    };
    return order;
}

Order changeAccount(const Step &step)
{
    const Thing &thing = step.account();
    const support::AccountFields account = accountOf(thing.key, step.number);
    Order order{.name = "Fix_user",
                .request = support::accountRequest(thing.number, account),
                .isAnswered = true,
                .records = 1,
                .userNotices = 1};
    order.conclude = [=, place = "account " + thing.key, &model = step.model](const Outcome &outcome) {
        model.change(
            place, [](const QString &) { return true; }, [&](const QString &) { return accountRow(account); },
            outcome.isSure);
        return QString();
    };
    return order;
}

Order removeAccount(const Step &step)
{
    Thing *const thing = &step.account();
    Order order{.name = "Fix_user", .request = i32(-thing->number), .isAnswered = true, .records = 1, .userNotices = 1};
    order.conclude = [=, one = *thing, &model = step.model](const Outcome &outcome) {
        const auto change = [one](Model &changed) {
            changed.clear("account " + one.key, true);
            for (const QString &place : changed.placesUnder(QStringLiteral("setup %1 ").arg(one.number)))
                changed.clear(place, true);
        };
        thing->isDoubtful = true;
        if (!outcome.isSure) {
            model.mayHaveEmptied("account " + one.key, change);
            return QString();
        }
        change(model);
        *thing = {};
        return QString();
    };
    return order;
}

template <Order (*make)(const Step &)>
Order onAccount(const Step &step)
{
    if (step.account().isUsable())
        return make(step);
    return step.account().isFree() ? createAccount(step) : listAccounts(step);
}

/// The properties whose bits are set.
QList<int> someProperties(const Step &step, int which)
{
    QList<int> result;
    for (int i = 0; i < kProperties.size(); ++i) {
        if (step.draw.has(which, i))
            result += kProperties[i];
    }
    return result;
}

QString setupPlace(int account, int section, int object)
{
    return QStringLiteral("setup %1 %2 %3").arg(account).arg(section).arg(object);
}

/// Of the client's own operator, or of an account that it has made.
Order changeSetup(const Step &step)
{
    const int section = kSections[step.draw.pick(3, int(kSections.size()))];
    const int account = step.account().isUsable() && step.draw.has(4, 20) ? step.account().number : step.area.caller;
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(5, 64))) + QList<int>{0};
    const QList<int> off = someProperties(step, 6);
    const QList<int> on = someProperties(step, 7);
    Order order{.name = "Fix_personal_setup_changes", .isAnswered = true, .records = 1, .setupNotices = 1};
    order.request = support::setupChange(section, account, objects, off, on);
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        const auto isTouched = [&](const QString &row) { return (off + on).contains(row.toInt()); };
        for (const int object : objects) {
            const QString place = setupPlace(account, section, object);
            model.remove(place, isTouched, outcome.isSure);
            for (const int property : on)
                model.add(place, {QString::number(property)}, outcome.isSure);
        }
        return QString();
    };
    return order;
}

/// To one account, or to all that the client has made.
Order copySetup(const Step &step)
{
    const int section = kSections[step.draw.pick(3, int(kSections.size()))];
    QList<int> targets;
    for (const Thing &thing : step.area.accounts) {
        if (thing.isUsable() && (step.draw.has(4, 0) || targets.isEmpty()))
            targets += thing.number;
    }
    Order order{.name = "Copy_personal_setup", .isAnswered = true, .records = 1, .setupNotices = 1};
    order.request = support::setupCopy(section, step.area.caller, targets);
    order.conclude = [=, caller = step.area.caller, &model = step.model](const Outcome &outcome) {
        const auto begin = [section](int account) { return QStringLiteral("setup %1 %2 ").arg(account).arg(section); };
        for (const int target : targets) {
            for (const QString &place : model.placesUnder(begin(target)))
                model.clear(place, outcome.isSure);
            for (const QString &place : model.placesUnder(begin(caller))) {
                QStringList rows = textsIn(model, place);
                if (targets.size() > 1)
                    rows.removeDuplicates();
                model.add(begin(target) + place.section(u' ', 3), rows, outcome.isSure);
            }
        }
        return QString();
    };
    return order;
}

Order getSetup(const Step &step)
{
    Order order{.name = "Get_personalsetup4objects_X", .request = i32(step.area.caller), .isAnswered = true};
    QList<int> objects = step.area.objectNumbers();
    std::sort(objects.begin(), objects.end());
    for (const int section : kSections) {
        for (const int object : objects) {
            QList<int> properties;
            for (const QString &row : textsIn(step.model, setupPlace(step.area.caller, section, object)))
                properties += row.toInt();
            std::sort(properties.begin(), properties.end());
            order.parts += support::setupRow(object, properties);
        }
    }
    return order;
}

struct Tree
{
    QByteArray groups;
    QStringList rows;
    QStringList nesting;
};

Tree makeTree(const Step &step)
{
    Tree tree;
    for (int group = 1; group <= kGroups; ++group) {
        const int parent = step.draw.pick(3, group);
        const QString name = QStringLiteral("группа %1 %2").arg(group).arg(step.number);
        tree.groups += i32(group) + i32(parent) + bytes(name.toUtf8());
        tree.rows += QStringLiteral("%1|%2|%3").arg(QString::number(group), name, parent == 0 ? "t" : "f");
        if (parent != 0)
            tree.nesting += QStringLiteral("%1|%2").arg(parent).arg(group);
    }
    return tree;
}

/// The whole tree belongs to one client.
Order saveTree(const Step &step)
{
    const Tree tree = makeTree(step);
    const QList<int> objects = step.area.objectNumbers(quint32(step.draw.pick(4, 64)));
    const int group = 1 + step.draw.pick(5, kGroups);
    Order order{.name = "Save_objects_tree", .request = i32(kGroups) + tree.groups + i32(objects.size()), .records = 1};
    for (const int object : objects)
        order.request += i32(group) + i32(object);
    order.conclude = [=, &model = step.model](const Outcome &outcome) {
        for (const QString &place : QStringList{"groups", "nesting"} + model.placesUnder("placed "))
            model.clear(place, outcome.isSure);
        model.add("groups", tree.rows, outcome.isSure);
        model.add("nesting", tree.nesting, outcome.isSure);
        for (const int object : objects)
            model.add(placeOf("placed", object), {QString::number(group)}, outcome.isSure);
        return QString();
    };
    return order;
}

Order saveTreeOrGetSetup(const Step &step)
{
    return step.area.client == 0 ? saveTree(step) : getSetup(step);
}

} // namespace

QList<Kind> operatorKinds()
{
    return {{3, listAccounts},      {3, onAccount<changeAccount>}, {1, onAccount<removeAccount>},
            {6, changeSetup},       {3, onAccount<copySetup>},     {3, getSetup},
            {6, saveTreeOrGetSetup}};
}

} // namespace soak

#include "model.h"

#include "made_records.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace soak {

namespace {

/// The rows here are told apart by their order as well.
bool isOrdered(const QString &place)
{
    return place != kLeftOverParameters && (place.startsWith("card ") || place.startsWith("sensors ") ||
                                            place.startsWith("commands ") || place.startsWith("template "));
}

bool isOne(const Model::Row &row, const QString &found)
{
    return row.texts.contains(found);
}

/// What differs in one place; each row found is taken for the first that it can be.
QStringList compare(const QString &place, Model::Rows rows, const QStringList &found)
{
    QStringList result;
    const auto miss = [&](const Model::Row &row) {
        if (row.isSure)
            result += place + " has not got " + row.texts.join(" or ");
    };
    // Where the same text may stand twice, the row that must be there is found first.
    if (!isOrdered(place))
        std::stable_partition(rows.begin(), rows.end(), [](const Model::Row &row) { return row.isSure; });
    for (const QString &text : found) {
        const auto fits = [&](const Model::Row &row) { return isOne(row, text); };
        const auto row = std::find_if(rows.begin(), rows.end(), fits);
        if (row == rows.end()) {
            result += place + " holds " + text;
            continue;
        }
        if (isOrdered(place)) {
            std::for_each(rows.begin(), row, miss);
            rows.erase(rows.begin(), row + 1);
        } else {
            rows.erase(row);
        }
    }
    std::for_each(rows.cbegin(), rows.cend(), miss);
    return result;
}

} // namespace

void Model::adopt(const Places &found)
{
    m_places.clear();
    m_deletions.clear();
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        for (const QString &row : *place)
            m_places[place.key()].append({{row}, true});
    }
}

QStringList Model::placesUnder(const QString &begin) const
{
    QStringList result;
    for (auto place = m_places.cbegin(); place != m_places.cend(); ++place) {
        if (place.key().startsWith(begin))
            result += place.key();
    }
    return result;
}

void Model::add(const QString &place, const QStringList &rows, bool isSure)
{
    for (const QString &row : rows)
        m_places[place].append({{row}, isSure});
}

void Model::remove(const QString &place, const Match &match, bool isSure)
{
    const auto found = m_places.find(place);
    if (found == m_places.end())
        return;
    const auto matches = [&](const Row &row) { return std::any_of(row.texts.begin(), row.texts.end(), match); };
    if (isSure)
        found->removeIf(matches);
    else
        for (Row &row : *found)
            row.isSure = row.isSure && !matches(row);
    if (found->isEmpty())
        m_places.erase(found);
}

void Model::clear(const QString &place, bool isSure)
{
    remove(
        place, [](const QString &) { return true; }, isSure);
}

void Model::change(const QString &place, const Match &match, const Change &change, bool isSure)
{
    const auto found = m_places.find(place);
    if (found == m_places.end())
        return;
    for (Row &row : *found) {
        QStringList texts;
        for (const QString &text : std::as_const(row.texts)) {
            if (!isSure || !match(text))
                texts += text;
            if (match(text))
                texts += change(text);
        }
        texts.removeDuplicates();
        row.texts = texts;
    }
}

void Model::mayHaveEmptied(const QString &place, std::function<void(Model &)> change)
{
    m_deletions.append({place, std::move(change)});
}

void Model::nameObject(const QString &key, int number)
{
    const QString end = " ?" + key;
    for (const QString &place : m_places.keys()) {
        if (place.endsWith(end))
            m_places[place.chopped(end.size()) + ' ' + QString::number(number)] = m_places.take(place);
    }
}

/// An object of unknown number is the one whose card begins with its key.
void Model::nameFoundObjects(const Places &found)
{
    QSet<QString> keys;
    for (const QString &place : placesUnder("object ?"))
        keys.insert(place.section(u'?', 1));
    if (keys.isEmpty())
        return;
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        if (!place.key().startsWith("card ") || cell(place->first(), 0) != "name")
            continue;
        const QString key =
            QString::fromUtf8(QByteArray::fromHex(cell(place->first(), 3).toLatin1())).section(u' ', 0, 0);
        if (keys.contains(key))
            nameObject(key, place.key().section(u' ', 1).toInt());
    }
}

/// A creation that was cut off behind its first statement leaves an object without a card.
void Model::allowNamelessObjects(const Places &found)
{
    QStringList nameless;
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        if (place.key().startsWith("object ") && !m_places.contains(place.key()))
            nameless += place.key();
    }
    for (const QString &place : placesUnder("object ?")) {
        if (nameless.isEmpty() || m_places[place].first().isSure)
            continue;
        m_places[nameless.takeFirst()] = m_places.take(place);
    }
}

QStringList Model::differences(const Places &found)
{
    for (const Deletion &deletion : std::exchange(m_deletions, {})) {
        if (!found.contains(deletion.place))
            deletion.change(*this);
    }
    nameFoundObjects(found);
    allowNamelessObjects(found);
    QStringList result;
    for (auto place = m_places.cbegin(); place != m_places.cend(); ++place)
        result += compare(place.key(), *place, found.value(place.key()));
    for (auto place = found.cbegin(); place != found.cend(); ++place) {
        if (!m_places.contains(place.key()))
            result += compare(place.key(), {}, *place);
    }
    result.sort();
    return result;
}

} // namespace soak

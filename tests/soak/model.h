#pragma once

#include <QHash>
#include <QList>
#include <QStringList>

#include <functional>

namespace soak {

/// What the database holds: rows by their place ("card 17"), in their order where the place has one.
using Places = QHash<QString, QStringList>;

/// Where parameters are whose command has gone with its object.
inline const QString kLeftOverParameters = QStringLiteral("commands gone");

/// What the database must hold, and what it may: a row whose statement may have failed is not sure, and one that may
/// have been changed has several texts.
///
/// The places of an object whose number is not known yet end in '?' and its key ("card ?o3-17").
class Model
{
public:
    using Match = std::function<bool(const QString &row)>;
    using Change = std::function<QString(const QString &row)>;
    struct Row
    {
        QStringList texts;
        bool isSure = true;
    };
    using Rows = QList<Row>;

    /// Takes over what is there as what must be there.
    void adopt(const Places &found);

    [[nodiscard]] Rows rows(const QString &place) const { return m_places.value(place); }
    [[nodiscard]] qsizetype count(const QString &place) const { return m_places.value(place).size(); }
    /// The places that begin so.
    [[nodiscard]] QStringList placesUnder(const QString &begin) const;

    // Each as a statement does it that has succeeded, or, where that is not sure, that may have.
    void add(const QString &place, const QStringList &rows, bool isSure);
    void addRow(const QString &place, const Row &row) { m_places[place].append(row); }
    void remove(const QString &place, const Match &match, bool isSure);
    void clear(const QString &place, bool isSure);
    void change(const QString &place, const Match &match, const Change &change, bool isSure);
    /// `change` happened whole or not at all: it did if the database has nothing in `place` any more.
    void mayHaveEmptied(const QString &place, std::function<void(Model &)> change);

    /// The object of this key has this number.
    void nameObject(const QString &key, int number);

    /// Where `found` differs from what must and what may be; nothing when it does not.
    [[nodiscard]] QStringList differences(const Places &found);

private:
    struct Deletion
    {
        QString place;
        std::function<void(Model &)> change;
    };
    void nameFoundObjects(const Places &found);
    void allowNamelessObjects(const Places &found);

    QHash<QString, Rows> m_places;
    QList<Deletion> m_deletions;
};

} // namespace soak

#pragma once

#include "peers.h"
#include "pg_server.h"

#include <QHash>
#include <QSet>

#include <optional>
#include <random>

namespace support {

/// A stream of changes out of a seeded generator, and a model of what they may have left in the database. Each change
/// is followed by an "About", so one that came back was answered.
///
/// Most commands announce an object only after the statements for it have succeeded: such a change must be in the
/// database, whole and once, whatever happened to the database since. A card's field is announced in any case; one
/// that is not there is counted and named.
class ChangeStream
{
public:
    enum class Kind { Sensor, Command, NewObject, Field };

    ChangeStream(AdminPeer &admin, quint32 seed);

    /// Makes the objects whose fields change.
    static void prepare(TestDatabase &database);

    /// Sends one change, of any kind where none is given, and takes what is said about it. Says what was wrong with
    /// that, nothing when it was as it must be.
    [[nodiscard]] QString next(std::optional<Kind> kind = std::nullopt);
    /// Whether the last change was announced whole.
    [[nodiscard]] bool lastWasAnnounced() const { return m_lastWasAnnounced; }

    /// Where the database differs from what was announced after success; nothing when it does not. The model then takes
    /// over what it could not know.
    [[nodiscard]] QStringList differences(TestDatabase &database);

    [[nodiscard]] quint32 random(quint32 below) { return quint32(m_generator() % below); }
    [[nodiscard]] int changes() const { return m_changes; }
    /// Announcements made after success, one an object.
    [[nodiscard]] int announced() const { return m_announced; }
    /// Changes that were not announced, or not for all their objects.
    [[nodiscard]] int unannounced() const { return m_unannounced; }
    /// Those of them that were announced for some of their objects.
    [[nodiscard]] int cut() const { return m_cut; }
    /// Fields that were announced and that the database has not got.
    [[nodiscard]] QStringList lostFields() const { return m_lostFields; }
    /// The longest time from a change being sent to "About" being answered.
    [[nodiscard]] qint64 longestMs() const { return m_longestMs; }

private:
    [[nodiscard]] QList<int> someObjects();
    [[nodiscard]] QByteArrayList send(const QByteArray &command, QString &wrong);
    [[nodiscard]] QString changeOnMany(Kind kind);
    [[nodiscard]] QString createObject();
    [[nodiscard]] QString changeField();
    void note(const QString &place, const QString &value, bool isKnown);

    AdminPeer &m_admin;
    std::mt19937 m_generator;
    QHash<QString, QSet<QString>> m_model; ///< what may stand in a place; the empty text: nothing
    QHash<QString, QString> m_fields;      ///< announced last
    QStringList m_lostFields;
    int m_changes = 0;
    int m_announced = 0;
    int m_unannounced = 0;
    int m_cut = 0;
    qint64 m_longestMs = 0;
    bool m_lastWasAnnounced = false;
};

} // namespace support

#pragma once

#include "order.h"

#include <QHash>

#include <array>

namespace soak {

/// Something that a client has made. Its key is the first word of its name, which never changes; its number is the
/// database's, 0 until the client has read it.
struct Thing
{
    QString key;
    int number = 0;
    bool isDoubtful = false; ///< whether it is there shows only when the database is read
    int command = 0;         ///< of an object: one of its commands that the client has read, 0: none
    QString commandRow{};    ///< that command's description

    [[nodiscard]] bool isFree() const { return key.isEmpty(); }
    [[nodiscard]] bool isUsable() const { return number > 0 && !isDoubtful; }
};

/// What one client works on; no other client touches it.
struct Area
{
    int client = 0;
    int caller = 0; ///< the client's operator
    std::array<Thing, 6> objects;
    std::array<Thing, 3> templates;
    std::array<Thing, 3> accounts;

    /// Numbers of the objects that may be used; of all, or of those whose bit is set.
    [[nodiscard]] QList<int> objectNumbers(quint32 which = ~0U) const;
    /// Forgets what is not there and ends all doubts.
    void takeOver(const Places &found);
};

/// What the maker of an order may use. Keys and values are made of `number`, of which no other step has any.
struct Step
{
    Area &area;
    Model &model;
    const Draw &draw;
    int number;

    [[nodiscard]] Thing &object() const { return area.objects[size_t(draw.pick(2, int(area.objects.size())))]; }
    [[nodiscard]] Thing &templateThing() const
    {
        return area.templates[size_t(draw.pick(2, int(area.templates.size())))];
    }
    [[nodiscard]] Thing &account() const { return area.accounts[size_t(draw.pick(2, int(area.accounts.size())))]; }
    /// `count` numbers for records.
    [[nodiscard]] QList<int> values(int count) const;
};

/// A command that is sent `weight` times as often as one of weight 1.
struct Kind
{
    int weight;
    Order (*make)(const Step &);
};

/// By what they work on.
[[nodiscard]] QList<Kind> objectKinds();
[[nodiscard]] QList<Kind> recordKinds();
[[nodiscard]] QList<Kind> commandKinds();
[[nodiscard]] QList<Kind> operatorKinds();
[[nodiscard]] QList<Kind> templateKinds();
[[nodiscard]] QList<Kind> searchKinds();

/// Makes the object of a slot that has none, or reads its number.
[[nodiscard]] Order obtainObject(const Step &step);

} // namespace soak

#pragma once

#include "ctl/tree_records.h"

/// The tree of groups as a person writes it, to be saved whole.
namespace ctl {

/// A group and its place.
struct DocumentGroup
{
    qint32 id = 0;     ///< not 0
    qint32 parent = 0; ///< 0: at the top
    QString name;
};

struct TreeDocument
{
    QList<DocumentGroup> groups;
    QList<TreePlacement> placements;
};

/// Reads {"groups": [{"id", "parent", "name"}], "placements": [{"group", "object"}]}; other members are refused but for
/// "objects", which names the objects for people and is not looked at. What is no tree is refused: a group number given
/// twice or 0, a parent or a placement in a group that is not there, groups that hold one another.
[[nodiscard]] Result<TreeDocument> readTreeJson(const QByteArray &text);

/// A request of "Save_objects_tree".
[[nodiscard]] QByteArray treeRequest(const TreeDocument &document);

/// Nothing when `stored` is what was sent; else what differs first, in words. Placements of objects that have no name
/// are not looked at: the service does not tell them.
[[nodiscard]] std::optional<QString> treeDifference(const TreeDocument &sent, const ObjectTree &stored);

/// The objects that are placed but not listed in `stored`, since they have no name; ascending.
[[nodiscard]] QList<qint32> unlistedObjects(const TreeDocument &sent, const ObjectTree &stored);

} // namespace ctl

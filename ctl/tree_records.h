#pragma once

#include "ctl/result.h"

#include <QByteArray>
#include <QColor>
#include <QList>
#include <QSize>

/// The tree of groups and objects as operators see it, as the service sends it.
namespace ctl {

struct TreeObject
{
    qint32 object = 0;
    QByteArray name;   ///< UTF-8
    QSize picture;     ///< of the picture; invalid where there is none
    QColor font;       ///< invalid where none is set
    QColor background; ///< invalid where none is set
};

struct TreeGroup
{
    qint32 group = 0;
    QByteArray name; ///< UTF-8
};

/// That `group` stands in the group `parent`.
struct TreeNesting
{
    qint32 group = 0;
    qint32 parent = 0;
};

struct TreePlacement
{
    qint32 group = 0;
    qint32 object = 0;
};

/// Links may name groups and objects that are not listed, and an object may be listed several times.
struct ObjectTree
{
    QList<TreeObject> objects;
    QList<TreeGroup> groups;
    QList<TreeNesting> nesting;
    QList<TreePlacement> placements;
    QStringList unread; ///< what of these the service could not read from its database, in words
};

/// Decodes an answer of "Get_objects_tree" or "Get_full_objects_tree".
///
/// Stored pictures and colours stand in it as they are, with no length: one that clients have stored wrongly makes all
/// that follows unreadable. The failure then names the object at which that was seen.
[[nodiscard]] Result<ObjectTree> decodeTree(const QByteArray &reply);

/// {"objects": [...], "groups": [...], "placements": [...]}: what "tree save" reads, as long as no group stands in
/// several groups.
[[nodiscard]] QString treeJson(const ObjectTree &tree);

} // namespace ctl

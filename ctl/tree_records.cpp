#include "ctl/tree_records.h"

#include "ctl/json_text.h"
#include "ctl/packed_values.h"
#include "ctl/reply_reader.h"

#include <QHash>

namespace ctl {
namespace {

constexpr int kSmallestObject = 34; ///< number, empty name, no picture, two colours
constexpr int kSmallestTreeGroup = 8;
constexpr int kLinkBytes = 8;

/// Nothing when a stored value is none of its kind.
std::optional<TreeObject> readObject(ReplyReader &in)
{
    TreeObject object;
    in.stream() >> object.object >> object.name;
    const auto picture = readPicture(in.stream());
    const auto font = picture ? readColour(in.stream()) : std::nullopt;
    const auto background = font ? readColour(in.stream()) : std::nullopt;
    if (!background)
        return std::nullopt;
    object.picture = *picture;
    object.font = *font;
    object.background = *background;
    return object;
}

/// Objects come in the order of their numbers: another order shows that a value before was read wrongly.
void refuseObject(ReplyReader &in, const QList<TreeObject> &before, qint32 index)
{
    const QString place = before.isEmpty() ? QStringLiteral("of the first object")
                                           : QStringLiteral("after object %1").arg(before.last().object);
    in.refuse(QStringLiteral("the values %1 (entry %2) are none of a tree. A \"pic\", \"font_color\" or "
                             "\"background_color\" on the card there or before was stored in another form than clients "
                             "store it; \"card show\" shows it, \"card fix remove\" removes it")
                  .arg(place)
                  .arg(index + 1));
}

/// As countOrFailed(), noting what could not be read.
qint32 countOf(ReplyReader &in, int minBytes, const char *things, ObjectTree &tree)
{
    const qint32 count = in.countOrFailed(minBytes, things);
    if (count < 0)
        tree.unread.append(QLatin1String(things));
    return count;
}

void readObjects(ReplyReader &in, ObjectTree &tree)
{
    const qint32 count = countOf(in, kSmallestObject, "objects", tree);
    for (qint32 index = 0; index < count && !in.failed(); ++index) {
        const auto object = readObject(in);
        if (!object || (!tree.objects.isEmpty() && object->object < tree.objects.last().object)) {
            refuseObject(in, tree.objects, index);
            return;
        }
        tree.objects.append(*object);
    }
}

void readLinks(ReplyReader &in, ObjectTree &tree)
{
    const qint32 groups = countOf(in, kSmallestTreeGroup, "groups", tree);
    for (qint32 index = 0; index < groups && !in.failed(); ++index) {
        const auto group = in.read<qint32>();
        tree.groups.append({group, in.read<QByteArray>()});
    }
    const qint32 nestings = countOf(in, kLinkBytes, "places of groups in groups", tree);
    for (qint32 index = 0; index < nestings && !in.failed(); ++index) {
        const auto group = in.read<qint32>(); // the inner one comes first
        tree.nesting.append({group, in.read<qint32>()});
    }
    const qint32 placements = countOf(in, kLinkBytes, "places of objects in groups", tree);
    for (qint32 index = 0; index < placements && !in.failed(); ++index) {
        const auto group = in.read<qint32>();
        tree.placements.append({group, in.read<qint32>()});
    }
}

QString colourJson(const QColor &colour)
{
    return jsonText(colour.isValid() ? colourName(colour) : QString());
}

QString objectJson(const TreeObject &object)
{
    const QSize size = object.picture;
    return jsonObject(
        {{QStringLiteral("object"), QString::number(object.object)},
         {QStringLiteral("name"), jsonBytes(object.name)},
         {QStringLiteral("picture"),
          jsonText(size.isValid() ? QStringLiteral("%1x%2").arg(size.width()).arg(size.height()) : QString())},
         {QStringLiteral("font_color"), colourJson(object.font)},
         {QStringLiteral("background_color"), colourJson(object.background)}});
}

QString groupJson(qint32 group, qint32 parent, const QByteArray &name)
{
    return jsonObject({{QStringLiteral("id"), QString::number(group)},
                       {QStringLiteral("parent"), QString::number(parent)},
                       {QStringLiteral("name"), jsonBytes(name)}});
}

/// A group stands there once for each group that holds it, at least once.
QStringList groupsJson(const ObjectTree &tree)
{
    QMultiHash<qint32, qint32> parents;
    for (const TreeNesting &link : tree.nesting)
        parents.insert(link.group, link.parent);
    QStringList lines;
    for (const TreeGroup &group : tree.groups) {
        QList<qint32> places = parents.values(group.group);
        if (places.isEmpty())
            places.append(0);
        for (const qint32 parent : std::as_const(places))
            lines.append(groupJson(group.group, parent, group.name));
    }
    return lines;
}

} // namespace

Result<ObjectTree> decodeTree(const QByteArray &reply)
{
    ReplyReader in(reply);
    ObjectTree tree;
    readObjects(in, tree);
    const bool objectsRead = !in.failed();
    readLinks(in, tree);
    Outcome failure = in.end();
    if (!failure)
        return tree;
    if (objectsRead)
        failure->message += QStringLiteral(" (a picture or colour that is stored wrongly leads to this, too)");
    return *failure;
}

QString treeJson(const ObjectTree &tree)
{
    QStringList objects;
    for (const TreeObject &object : tree.objects)
        objects.append(objectJson(object));
    const QStringList groups = groupsJson(tree);
    QStringList placements;
    for (const TreePlacement &link : tree.placements)
        placements.append(jsonObject({{QStringLiteral("group"), QString::number(link.group)},
                                      {QStringLiteral("object"), QString::number(link.object)}}));
    return jsonObject({{QStringLiteral("objects"), jsonLines(objects)},
                       {QStringLiteral("groups"), jsonLines(groups)},
                       {QStringLiteral("placements"), jsonLines(placements)}});
}

} // namespace ctl

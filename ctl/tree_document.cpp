#include "ctl/tree_document.h"

#include "ctl/json_fields.h"
#include "ctl/same_values.h"
#include "ctl/text.h"
#include "keystone/byte_writer.h"

#include <QHash>
#include <QMap>
#include <QSet>

#include <utility>

namespace ctl {
namespace {

using Link = std::pair<qint32, qint32>;

const QString kGroups = QStringLiteral("groups");
const QString kPlacements = QStringLiteral("placements");

DocumentGroup readGroup(JsonFields &fields)
{
    DocumentGroup group;
    const QString id = QStringLiteral("id");
    const QString name = QStringLiteral("name");
    group.id = fields.int32(id);
    group.parent = fields.int32(QStringLiteral("parent"));
    group.name = fields.text(name);
    fields.refuseOthers();
    fields.refuseNul(name, group.name);
    if (group.id == 0)
        fields.note(id, QStringLiteral("no group can have the number 0, which stands for the top of the tree"));
    return group;
}

TreePlacement readPlacement(JsonFields &fields)
{
    TreePlacement placement;
    placement.group = fields.int32(QStringLiteral("group"));
    placement.object = fields.int32(QStringLiteral("object"));
    fields.refuseOthers();
    return placement;
}

template <typename Record>
QList<Record> readRows(JsonFields &fields, const QString &name, JsonProblem &problem, Record (*readRow)(JsonFields &))
{
    const QJsonArray values = fields.array(name);
    QList<Record> records;
    for (qsizetype index = 0; index < values.size() && !problem.found(); ++index) {
        JsonFields row(values[index], fields.elementPath(name, index), problem);
        records.append(readRow(row));
    }
    return records;
}

QString fieldPath(const QString &list, qsizetype index, const char *field)
{
    return QStringLiteral("%1[%2].%3").arg(list, QString::number(index), QLatin1String(field));
}

/// Group numbers with their places in the document. Notes a number that is given twice.
QHash<qint32, qsizetype> groupPlaces(const QList<DocumentGroup> &groups, JsonProblem &problem)
{
    QHash<qint32, qsizetype> places;
    for (qsizetype index = 0; index < groups.size(); ++index) {
        const auto [place, isNew] = std::pair(places.value(groups[index].id, -1), !places.contains(groups[index].id));
        if (!isNew)
            problem.note(fieldPath(kGroups, index, "id"),
                         QStringLiteral("%1 is also the number of groups[%2]").arg(groups[index].id).arg(place));
        places.insert(groups[index].id, index);
    }
    return places;
}

void refuseUnknownGroups(const TreeDocument &document, const QHash<qint32, qsizetype> &places, JsonProblem &problem)
{
    const auto unknown = [](qint32 group) { return QStringLiteral("there is no group %1").arg(group); };
    for (qsizetype index = 0; index < document.groups.size(); ++index) {
        const qint32 parent = document.groups[index].parent;
        if (parent != 0 && !places.contains(parent))
            problem.note(fieldPath(kGroups, index, "parent"), unknown(parent));
    }
    for (qsizetype index = 0; index < document.placements.size(); ++index) {
        const qint32 group = document.placements[index].group;
        if (!places.contains(group))
            problem.note(fieldPath(kPlacements, index, "group"),
                         unknown(group) + QStringLiteral(" (an object outside of all groups has no placement)"));
    }
}

/// Every group must lead to the top. The parents must be known.
void refuseCircles(const QList<DocumentGroup> &groups, const QHash<qint32, qsizetype> &places, JsonProblem &problem)
{
    QSet<qint32> leadToTop = {0};
    for (const DocumentGroup &start : groups) {
        QSet<qint32> way;
        qint32 group = start.id;
        while (!leadToTop.contains(group)) {
            const qsizetype place = places.value(group);
            if (way.contains(group)) {
                problem.note(fieldPath(kGroups, place, "parent"),
                             QStringLiteral("group %1 would stand below itself").arg(group));
                return;
            }
            way.insert(group);
            group = groups[place].parent;
        }
        leadToTop.unite(way);
    }
}

/// The bytes of a text for the service; null stays null.
QByteArray nameBytes(const QString &name)
{
    if (name.isNull())
        return {};
    const QByteArray bytes = name.toUtf8();
    return bytes.isNull() ? QByteArray("") : bytes;
}

std::optional<QString> groupDifference(const TreeDocument &sent, const ObjectTree &stored)
{
    QHash<qint32, QByteArray> names;
    for (const TreeGroup &group : stored.groups)
        names.insert(group.group, group.name);
    for (const DocumentGroup &group : sent.groups) {
        if (!names.contains(group.id) || !sameBytes(names.value(group.id), nameBytes(group.name)))
            return QStringLiteral("group %1 (\"%2\") as it was sent")
                .arg(QString::number(group.id), printable(group.name));
    }
    if (stored.groups.size() != sent.groups.size())
        return QStringLiteral("the groups as sent: there are %1 instead of %2")
            .arg(stored.groups.size())
            .arg(sent.groups.size());
    return std::nullopt;
}

std::optional<QString> nestingDifference(const TreeDocument &sent, const ObjectTree &stored)
{
    QMultiHash<qint32, qint32> parents;
    for (const TreeNesting &link : stored.nesting)
        parents.insert(link.group, link.parent);
    for (const DocumentGroup &group : sent.groups) {
        const QList<qint32> expected = group.parent == 0 ? QList<qint32>() : QList<qint32>{group.parent};
        if (parents.values(group.id) != expected)
            return QStringLiteral("the place of group %1").arg(group.id);
    }
    return std::nullopt;
}

std::optional<QString> placementDifference(const TreeDocument &sent, const ObjectTree &stored)
{
    QSet<qint32> listed;
    for (const TreeObject &object : stored.objects)
        listed.insert(object.object);
    // An object that is listed twice has its places told twice: how often does not count.
    QMap<Link, bool> links; // whether it was sent
    for (const TreePlacement &link : stored.placements)
        links.insert({link.group, link.object}, false);
    for (const TreePlacement &link : sent.placements) {
        if (!listed.contains(link.object))
            continue;
        const auto found = links.find({link.group, link.object});
        if (found == links.end())
            return QStringLiteral("the place of object %1 in group %2").arg(link.object).arg(link.group);
        *found = true;
    }
    for (auto link = links.cbegin(); link != links.cend(); ++link) {
        if (!*link)
            return QStringLiteral("the placements as sent: object %1 is still in group %2")
                .arg(link.key().second)
                .arg(link.key().first);
    }
    return std::nullopt;
}

} // namespace

Result<TreeDocument> readTreeJson(const QByteArray &text)
{
    Result<QJsonObject> json = parseJsonObject(text);
    if (!json)
        return json.failure();
    JsonProblem problem;
    JsonFields fields(*json, QString(), problem);
    TreeDocument document;
    document.groups = readRows(fields, kGroups, problem, readGroup);
    document.placements = readRows(fields, kPlacements, problem, readPlacement);
    if (const QString objects = QStringLiteral("objects"); fields.has(objects))
        (void)fields.array(objects);
    fields.refuseOthers();
    const auto places = groupPlaces(document.groups, problem);
    refuseUnknownGroups(document, places, problem);
    if (!problem.found())
        refuseCircles(document.groups, places, problem);
    if (problem.found())
        return *problem.failure();
    return document;
}

QByteArray treeRequest(const TreeDocument &document)
{
    QByteArray request;
    keystone::ByteWriter out(&request);
    out << qint32(document.groups.size());
    for (const DocumentGroup &group : document.groups)
        out << group.id << group.parent << nameBytes(group.name);
    out << qint32(document.placements.size());
    for (const TreePlacement &placement : document.placements)
        out << placement.group << placement.object;
    return request;
}

std::optional<QString> treeDifference(const TreeDocument &sent, const ObjectTree &stored)
{
    if (const auto what = groupDifference(sent, stored))
        return what;
    if (const auto what = nestingDifference(sent, stored))
        return what;
    return placementDifference(sent, stored);
}

QList<qint32> unlistedObjects(const TreeDocument &sent, const ObjectTree &stored)
{
    QSet<qint32> unlisted;
    for (const TreePlacement &link : sent.placements)
        unlisted.insert(link.object);
    for (const TreeObject &object : stored.objects)
        unlisted.remove(object.object);
    QList<qint32> objects = unlisted.values();
    std::sort(objects.begin(), objects.end());
    return objects;
}

} // namespace ctl

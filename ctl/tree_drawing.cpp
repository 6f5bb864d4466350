#include "ctl/tree_drawing.h"

#include "ctl/packed_values.h"
#include "ctl/text.h"

#include <QHash>
#include <QSet>

namespace ctl {
namespace {

constexpr int kDeepest = 50; ///< levels on one line; deeper groups go on further down

QString shownName(const QByteArray &name)
{
    return name.isEmpty() ? QStringLiteral("(no name)") : bytesForPeople(name);
}

QString escapeOf(int layer, const QColor &colour)
{
    if (!colour.isValid())
        return {};
    return QStringLiteral("\x1b[%1;2;%2;%3;%4m").arg(layer).arg(colour.red()).arg(colour.green()).arg(colour.blue());
}

/// "#000000 on #ffe9c7"
QString coloursInWords(const TreeObject &object)
{
    QStringList words;
    if (object.font.isValid())
        words.append(colourName(object.font));
    if (object.background.isValid())
        words.append(QStringLiteral("on ") + colourName(object.background));
    return words.join(u' ');
}

QString objectLabel(const TreeObject &object, bool inColours)
{
    constexpr int fontLayer = 38;
    constexpr int backgroundLayer = 48;
    const QString name = shownName(object.name);
    const QString number = QStringLiteral("object %1").arg(object.object);
    if (inColours) {
        const QString begin = escapeOf(fontLayer, object.font) + escapeOf(backgroundLayer, object.background);
        const QString end = begin.isEmpty() ? QString() : QStringLiteral("\x1b[0m");
        return begin + name + end + QStringLiteral(" (%1)").arg(number);
    }
    const QString words = coloursInWords(object);
    return name +
           (words.isEmpty() ? QStringLiteral(" (%1)").arg(number) : QStringLiteral(" (%1, %2)").arg(number, words));
}

class TreeDrawing
{
public:
    TreeDrawing(const ObjectTree &tree, bool inColours);

    [[nodiscard]] QString text() &&;

private:
    void addGroup(qint32 group);
    void addLinks(const ObjectTree &tree);
    [[nodiscard]] QString groupLabel(qint32 group) const;
    void drawRoot(qint32 group);
    void drawRoots(const QString &heading, const QList<qint32> &groups);
    void drawGroup(qint32 group, const QString &before, const QString &below, int depth);
    void drawContent(qint32 group, const QString &below, int depth);
    void drawObject(qint32 object, const QString &before);
    void drawLooseObjects(const ObjectTree &tree);

    bool m_inColours;
    QList<qint32> m_order; ///< all groups: those listed, then those that only links name
    QHash<qint32, QByteArray> m_names;
    QHash<qint32, TreeObject> m_objects;
    QHash<qint32, QList<qint32>> m_inner;
    QHash<qint32, QList<qint32>> m_members;
    QSet<qint32> m_held;   ///< groups that stand in a group
    QSet<qint32> m_placed; ///< objects that stand in a group
    QSet<qint32> m_known;
    QSet<qint32> m_drawn;
    QList<qint32> m_deeper;
    QString m_text;
};

TreeDrawing::TreeDrawing(const ObjectTree &tree, bool inColours)
    : m_inColours(inColours)
{
    for (const TreeObject &object : tree.objects)
        m_objects.insert(object.object, object);
    for (const TreeGroup &group : tree.groups) {
        m_names.insert(group.group, group.name);
        addGroup(group.group);
    }
    addLinks(tree);
    QList<qint32> roots;
    for (const qint32 group : std::as_const(m_order)) {
        if (!m_held.contains(group))
            roots.append(group);
    }
    drawRoots(QString(), roots);
    drawRoots(QStringLiteral("Groups that hold each other:"), m_order);
    drawLooseObjects(tree);
}

QString TreeDrawing::text() &&
{
    return std::move(m_text);
}

void TreeDrawing::addGroup(qint32 group)
{
    if (m_known.contains(group))
        return;
    m_known.insert(group);
    m_order.append(group);
}

void TreeDrawing::addLinks(const ObjectTree &tree)
{
    QSet<std::pair<qint32, qint32>> links;
    const auto isNew = [&links](qint32 outer, qint32 inner) {
        const auto before = links.size();
        links.insert({outer, inner});
        return links.size() > before;
    };
    for (const TreeNesting &link : tree.nesting) {
        if (!isNew(link.parent, link.group))
            continue;
        addGroup(link.parent);
        addGroup(link.group);
        m_inner[link.parent].append(link.group);
        m_held.insert(link.group);
    }
    links.clear();
    for (const TreePlacement &link : tree.placements) {
        // The operator's rights filter the objects, not the places.
        if (!m_objects.contains(link.object) || !isNew(link.group, link.object))
            continue;
        addGroup(link.group);
        m_members[link.group].append(link.object);
        m_placed.insert(link.object);
    }
}

QString TreeDrawing::groupLabel(qint32 group) const
{
    const auto name = m_names.constFind(group);
    if (name == m_names.constEnd())
        return QStringLiteral("(group %1, which is not in the registry)").arg(group);
    return QStringLiteral("%1 (group %2)").arg(shownName(*name)).arg(group);
}

void TreeDrawing::drawRoots(const QString &heading, const QList<qint32> &groups)
{
    bool isFirst = true;
    for (const qint32 group : groups) {
        if (m_drawn.contains(group))
            continue;
        if (isFirst && !heading.isEmpty())
            m_text += heading + u'\n';
        isFirst = false;
        drawRoot(group);
    }
}

void TreeDrawing::drawRoot(qint32 group)
{
    drawGroup(group, QString(), QString(), 0);
    while (!m_deeper.isEmpty()) {
        const qint32 deeper = m_deeper.takeFirst();
        if (!m_drawn.contains(deeper))
            drawGroup(deeper, QStringLiteral("... "), QString(), 0);
    }
}

void TreeDrawing::drawGroup(qint32 group, const QString &before, const QString &below, int depth)
{
    const bool isDrawn = m_drawn.contains(group);
    const bool isTooDeep = depth == kDeepest;
    const char *remark = isDrawn ? ", see above" : isTooDeep ? ", goes on below" : "";
    m_text += before + groupLabel(group) + QLatin1String(remark) + u'\n';
    if (isDrawn)
        return;
    if (isTooDeep) {
        m_deeper.append(group);
        return;
    }
    m_drawn.insert(group);
    drawContent(group, below, depth);
}

void TreeDrawing::drawContent(qint32 group, const QString &below, int depth)
{
    const QList<qint32> inner = m_inner.value(group);
    const QList<qint32> members = m_members.value(group);
    qsizetype left = inner.size() + members.size();
    const auto branch = [&left, &below] {
        return below + (--left == 0 ? QStringLiteral("└── ") : QStringLiteral("├── "));
    };
    for (const qint32 one : inner) {
        const QString before = branch();
        drawGroup(one, before, below + (left == 0 ? QStringLiteral("    ") : QStringLiteral("│   ")), depth + 1);
    }
    for (const qint32 object : members)
        drawObject(object, branch());
}

void TreeDrawing::drawObject(qint32 object, const QString &before)
{
    m_text += before + objectLabel(m_objects.value(object), m_inColours) + u'\n';
}

void TreeDrawing::drawLooseObjects(const ObjectTree &tree)
{
    QList<qint32> loose;
    for (const TreeObject &object : tree.objects) {
        if (m_placed.contains(object.object))
            continue;
        m_placed.insert(object.object); // an object may be listed several times
        loose.append(object.object);
    }
    if (loose.isEmpty())
        return;
    m_text +=
        tree.unread.isEmpty() ? QStringLiteral("In no group:\n") : QStringLiteral("In no group that could be read:\n");
    for (const qint32 object : std::as_const(loose))
        drawObject(object, object == loose.last() ? QStringLiteral("└── ") : QStringLiteral("├── "));
}

} // namespace

QString drawTree(const ObjectTree &tree, bool inColours)
{
    return TreeDrawing(tree, inColours).text();
}

} // namespace ctl
